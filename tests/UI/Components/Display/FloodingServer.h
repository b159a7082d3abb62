#pragma once

#include <QTcpServer>
#include <QThread>

#include <atomic>
#include <chrono>

/// A server on 127.0.0.1 with a thread of its own that sends every client one thing and then another over and
/// over, as fast as the client takes it or with pauses between, whatever the client says.
class FloodingServer
{
public:
    FloodingServer(const QByteArray &first, const QByteArray &forever, std::chrono::milliseconds pause = {});
    ~FloodingServer();

    [[nodiscard]] quint16 port() const { return m_port; }
    /// How often the second thing was sent, to all clients.
    [[nodiscard]] int rounds() const { return m_rounds; }
    /// That are connected.
    [[nodiscard]] int clients() const { return m_clients; }

private:
    QThread m_thread;
    QTcpServer *m_server = new QTcpServer; ///< goes with its thread
    quint16 m_port = 0;
    std::atomic<int> m_rounds = 0;
    std::atomic<int> m_clients = 0;
};
