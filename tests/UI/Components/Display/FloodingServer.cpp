#include "UI/Components/Display/FloodingServer.h"

#include <QTcpSocket>
#include <QTimer>

FloodingServer::FloodingServer(const QByteArray &first, const QByteArray &forever,
                               std::chrono::milliseconds pause)
{
    if (!m_server->listen(QHostAddress::LocalHost))
        qFatal("No port left to listen on.");
    m_port = m_server->serverPort();
    QObject::connect(m_server, &QTcpServer::newConnection, m_server, [this, first, forever, pause] {
        QTcpSocket *client = m_server->nextPendingConnection();
        ++m_clients;
        QObject::connect(client, &QTcpSocket::disconnected, client, [this, client] {
            --m_clients;
            client->deleteLater();
        });
        const auto sendAgain = [this, client, forever] {
            client->write(forever);
            ++m_rounds;
        };
        QObject::connect(client, &QTcpSocket::bytesWritten, client, [client, pause, sendAgain] {
            if (client->bytesToWrite() == 0)
                QTimer::singleShot(pause, client, sendAgain);
        });
        client->write(first);
    });
    QObject::connect(&m_thread, &QThread::finished, m_server, &QObject::deleteLater);
    m_server->moveToThread(&m_thread);
    m_thread.start();
}

FloodingServer::~FloodingServer()
{
    m_thread.quit();
    m_thread.wait();
}
