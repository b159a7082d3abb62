#pragma once

#include <QImage>
#include <QObject>
#include <QQmlEngine>
#include <QString>

#include <memory>

class QSocketNotifier;
class VNCConnection;

/// Shows the screen of a VNC server (RFB 3.8, RFC 6143) without operating it: it sends neither keys nor
/// pointer nor clipboard. Main thread.
class VNCClient : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    /// The last rectangle received, at its own size: Format_RGB32 or Format_RGBX8888, whose unused byte may
    /// hold anything. A null image before the first one and after disconnect(). It stands on the memory it
    /// was received into, which is used again when the last copy is gone.
    Q_PROPERTY(QImage image READ image NOTIFY imageChanged)
    /// True from the moment the TCP connection is there, before any handshake, until it fails or
    /// disconnect().
    Q_PROPERTY(bool isConnected READ isConnected NOTIFY isConnectedChanged)
    /// What went wrong last; null when nothing did. Stays until the next error replaces it.
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)

public:
    explicit VNCClient(QObject *parent = nullptr);
    ~VNCClient() override;

    [[nodiscard]] QImage image() const { return m_image; }
    [[nodiscard]] bool isConnected() const { return m_isConnected; }
    [[nodiscard]] QString errorMessage() const { return m_errorMessage; }

    /// Gives up the present connection and opens a new one. `host` is a name or an address; `port` is clamped
    /// to 0…65535. Returns at once.
    Q_INVOKABLE void connect(const QString &host, qint64 port);
    Q_INVOKABLE void disconnect();

Q_SIGNALS:
    void imageChanged();
    void isConnectedChanged();
    void errorMessageChanged();

private:
    void handleEvent();
    void setImage(QImage image);
    void setConnected(bool isConnected);
    void setErrorMessage(const QString &message);

    std::unique_ptr<VNCConnection> m_connection;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QImage m_image;
    bool m_isConnected = false;
    QString m_errorMessage;
};
