#include "UI/Components/Display/ScriptedServer.h"

#include <sys/socket.h>

ScriptedServer::ScriptedServer()
{
    if (!m_server.listen(QHostAddress::LocalHost))
        qFatal("No port left to listen on.");
    connect(&m_server, &QTcpServer::newConnection, this, &ScriptedServer::accept);
}

void ScriptedServer::accept()
{
    m_client = m_server.nextPendingConnection();
    m_client->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    m_received.clear();
    connect(m_client, &QTcpSocket::readyRead, this, [this] { m_received += m_client->readAll(); });
    connect(m_client, &QTcpSocket::disconnected, this, [this, client = m_client] {
        client->deleteLater();
        if (m_client == client)
            m_client = nullptr;
    });
    m_client->write(std::exchange(m_outgoing, {}));
}

void ScriptedServer::send(const QByteArray &bytes)
{
    if (!m_client) {
        m_outgoing += bytes;
        return;
    }
    m_client->write(bytes);
    m_client->flush();
}

void ScriptedServer::close()
{
    m_client->disconnectFromHost();
}

void ScriptedServer::reset()
{
    const linger immediately{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(static_cast<int>(m_client->socketDescriptor()), SOL_SOCKET, SO_LINGER, &immediately,
                 sizeof immediately);
    m_client->abort();
}
