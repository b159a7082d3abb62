#pragma once

#include "Platform/UniqueDescriptor.h"

#include <QByteArray>

#include <atomic>
#include <cstdint>
#include <thread>

/// A server on 127.0.0.1 with a thread of its own that sends one thing and then another over and over, as
/// fast as its client takes it and without ever listening to it.
class FloodingServer
{
public:
    FloodingServer(const QByteArray &first, const QByteArray &forever);
    ~FloodingServer();

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    /// How often the second thing was sent.
    [[nodiscard]] int rounds() const { return m_rounds; }

private:
    void run(const QByteArray &first, const QByteArray &forever);
    [[nodiscard]] bool send(int client, const QByteArray &bytes) const;

    UniqueDescriptor m_listener;
    std::uint16_t m_port = 0;
    std::atomic<bool> m_isEnding = false;
    std::atomic<int> m_rounds = 0;
    std::thread m_thread;
};
