#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QSize>
#include <QTimer>

#include <memory>

class QSocketNotifier;
class VNCConnection;

/// Watches the size of a VNC server's screen over a connection of its own, which asks for no pixels. A client
/// that was not told of a new size keeps seeing the old screen's corner, and VNCClient cannot be told: when
/// the size is known and whenever it changes is the time to connect it anew. Main thread.
class VNCSizeWatch : public QObject
{
    Q_OBJECT
    QML_ELEMENT

public:
    explicit VNCSizeWatch(QObject *parent = nullptr);
    ~VNCSizeWatch() override;

    /// Gives up the present connection. Returns at once; a server that cannot be reached has no size.
    Q_INVOKABLE void watch(const QString &host, qint64 port);
    Q_INVOKABLE void stop();

Q_SIGNALS:
    /// At first, and then for each change, but no more often than every 100 ms.
    void sizeKnown(QSize size);

private:
    void handleEvent();
    void report();

    std::unique_ptr<VNCConnection> m_connection;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QSize m_size;
    QSize m_reportedSize;
    QTimer m_pause; ///< runs after a report
};
