#pragma once

#include "Platform/UniqueDescriptor.h"

#include <QSize>

#include <atomic>
#include <chrono>
#include <optional>
#include <span>
#include <thread>
#include <vector>

/// An emulator's side of a display connection, on a thread: it looks for changes at a steady rate and sends
/// them when they were asked for.
class StandInDisplay
{
public:
    enum class Change
    {
        None,
        Line, ///< 1920x16 pixels
        Full,
        Answer ///< full, once for each key that goes down
    };

    StandInDisplay(const QSize &size, Change change, std::chrono::microseconds interval);
    ~StandInDisplay();

    /// The other end, once.
    [[nodiscard]] UniqueDescriptor takeClientEnd() { return std::move(m_clientEnd); }
    [[nodiscard]] double cpuSeconds();
    [[nodiscard]] qint64 updates() const { return m_updates; }
    [[nodiscard]] static std::size_t updateBytes(const QSize &size, Change change);

private:
    void run();
    void serve();
    /// Takes requests until `deadline`; false when the client is gone.
    [[nodiscard]] bool takeMessages(std::chrono::steady_clock::time_point deadline);
    [[nodiscard]] bool send(std::span<const std::byte> bytes) const;
    [[nodiscard]] std::vector<std::byte> update(int number) const;

    QSize m_size;
    Change m_change;
    std::chrono::microseconds m_interval;
    UniqueDescriptor m_socket;
    UniqueDescriptor m_clientEnd;
    bool m_isRequested = false;
    bool m_hasKey = false;
    std::vector<std::byte> m_received;
    std::atomic<qint64> m_updates = 0;
    std::thread m_thread;
};
