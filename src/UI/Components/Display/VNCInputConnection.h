#pragma once

#include <QObject>
#include <QQmlEngine>
#include <QSize>
#include <QTimer>

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

class QSocketNotifier;
class VNCConnection;

/// Carries keys and pointer to a VNC server over a connection of its own, which asks for no pixels, and
/// watches the size of the server's screen. A client that was not told of a new size keeps seeing the old
/// screen's corner, and VNCClient cannot be told: when the size is another than that of its picture is the
/// time to connect it anew. Main thread; never waits for the server.
class VNCInputConnection : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    /// What is sent goes to the server, at once or as soon as that has said that it takes keys by their scan
    /// codes.
    Q_PROPERTY(bool isAvailable READ isAvailable NOTIFY isAvailableChanged)
    /// The connection could not be made, or has ended.
    Q_PROPERTY(bool hasFailed READ hasFailed NOTIFY hasFailedChanged)

public:
    explicit VNCInputConnection(QObject *parent = nullptr);
    ~VNCInputConnection() override;

    [[nodiscard]] bool isAvailable() const { return m_isAvailable; }
    [[nodiscard]] bool hasFailed() const { return m_hasFailed; }

    /// Gives up the present connection. Returns at once.
    Q_INVOKABLE void connect(const QString &host, qint64 port);
    Q_INVOKABLE void disconnect();
    /// Whole client messages of RFB, which are dropped without a connection. A server that has taken none for
    /// so long that no more may wait is given up.
    void send(std::span<const std::byte> messages);

Q_SIGNALS:
    void isAvailableChanged();
    void hasFailedChanged();
    /// At first, and then for each change, but no more often than every 100 ms.
    void sizeKnown(QSize size);

private:
    void handleEvent();
    void giveUp();
    void reportSize();
    void setAvailable(bool isAvailable);
    void setFailed(bool hasFailed);

    std::unique_ptr<VNCConnection> m_connection;
    std::unique_ptr<QSocketNotifier> m_notifier;
    bool m_isAvailable = false;
    bool m_isReady = false;           ///< the server takes keys by their scan codes
    std::vector<std::byte> m_waiting; ///< until it does
    bool m_hasFailed = false;
    QSize m_size;
    QSize m_reportedSize;
    QTimer m_pause; ///< runs after a report
};
