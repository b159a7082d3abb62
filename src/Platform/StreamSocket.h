#pragma once

#include "Platform/UniqueDescriptor.h"

#include <atomic>
#include <cstddef>
#include <mutex>
#include <span>
#include <vector>

/// A stream socket that one thread waits for. Other threads may give it bytes to send, wake it and end its
/// waiting; nothing else blocks.
class StreamSocket
{
public:
    /// What may wait for a peer that does not read.
    static constexpr std::size_t maxWaitingBytes = std::size_t{64} * 1024;

    /// Throws PlatformError when the process has no descriptors left.
    StreamSocket();

    /// Takes a socket, connected or not yet, in the place of the one before. Throws PlatformError.
    void reset(UniqueDescriptor socket);
    [[nodiscard]] int descriptor() const { return m_socket.get(); }

    /// Sends whole messages, at once or while the thread waits. False, and nothing is sent, when too much
    /// waits already. Any thread.
    bool post(std::span<const std::byte> messages);
    /// The same for what answers the peer, which is never refused: the peer is not heard until it reads.
    void answer(std::span<const std::byte> messages);
    /// Nothing waits to be sent. Any thread.
    [[nodiscard]] bool isIdle() const { return waitingBytes() == 0; }
    /// The peer has answers to read before it is heard again.
    [[nodiscard]] bool isHeldUp() const { return waitingBytes() > maxWaitingBytes; }

    /// True when one of `events` (poll(2)) or the end of the connection is there, and false when the thread
    /// was woken or something could be sent before. Throws PlatformError.
    [[nodiscard]] bool wait(short events);
    /// Any thread.
    void wake();
    /// From now on nothing is waited for. Any thread.
    void cancel();
    [[nodiscard]] bool isCancelled() const { return m_isCancelled; }

private:
    [[nodiscard]] std::size_t waitingBytes() const;
    void flush();

    UniqueDescriptor m_wakeEvent;
    std::atomic<bool> m_isCancelled = false;
    mutable std::mutex m_mutex; ///< never held for long
    UniqueDescriptor m_socket;
    std::vector<std::byte> m_waiting;
};
