#pragma once

#include "Platform/UniqueDescriptor.h"

#include <QByteArray>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

/// A server on 127.0.0.1 with a thread for each client that sends one thing and then another over and over,
/// as fast as the client takes it or with pauses between, and without ever listening to it.
class FloodingServer
{
public:
    FloodingServer(const QByteArray &first, const QByteArray &forever, std::chrono::milliseconds pause = {});
    ~FloodingServer();

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// How often the second thing was sent, to all clients.
    [[nodiscard]] int rounds() const { return m_rounds; }
    /// That are connected.
    [[nodiscard]] int clients() const { return m_clients; }

private:
    void run();
    void serve(int client);
    [[nodiscard]] bool send(int client, const QByteArray &bytes) const;

    QByteArray m_first;
    QByteArray m_forever;
    std::chrono::milliseconds m_pause;
    UniqueDescriptor m_listener;
    std::uint16_t m_port = 0;
    std::atomic<bool> m_isEnding = false;
    std::atomic<int> m_rounds = 0;
    std::atomic<int> m_clients = 0;
    std::thread m_thread;
};
