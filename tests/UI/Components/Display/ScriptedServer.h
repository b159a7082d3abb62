#pragma once

#include <QTcpServer>
#include <QTcpSocket>

/// A server on 127.0.0.1 that takes one client at a time and says what the test tells it to, on the test's
/// thread.
class ScriptedServer : public QObject
{
public:
    ScriptedServer();

    [[nodiscard]] quint16 port() const { return m_server.serverPort(); }
    /// All that the present client has sent.
    [[nodiscard]] const QByteArray &received() const { return m_received; }
    [[nodiscard]] bool hasClient() const { return m_client != nullptr; }

    /// Sends at once, or as soon as a client comes.
    void send(const QByteArray &bytes);
    /// Closes its side as a server does that is done.
    void close();
    /// Breaks the connection, so that the client's next read fails.
    void reset();

private:
    void accept();

    QTcpServer m_server;
    QTcpSocket *m_client = nullptr;
    QByteArray m_outgoing;
    QByteArray m_received;
};
