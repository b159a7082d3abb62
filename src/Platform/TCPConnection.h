#pragma once

#include "Platform/UniqueDescriptor.h"

#include <QString>

#include <atomic>
#include <cstddef>
#include <mutex>
#include <span>
#include <vector>

struct addrinfo;

/// A TCP client for one thread, which opens it, receives and sends, and blocks in these calls until any other
/// thread cancels. What fails is thrown as a LocalizedError that names host and port.
class TCPConnection
{
public:
    static constexpr std::size_t maxPostedBytes = std::size_t{64} * 1024;

    /// `host` is a name or an address.
    TCPConnection(const QString &host, quint16 port);

    /// Connects to the first of the host's addresses that answers; false when cancelled. Looking up a name
    /// cannot be cancelled and lasts as long as the host's resolver likes.
    [[nodiscard]] bool open();
    /// Waits for as many bytes as `target` takes, or a large piece of them, and returns how many came, which
    /// may be fewer; 0 when the peer closed its side or after cancel().
    [[nodiscard]] std::size_t receive(std::span<std::byte> target);
    /// Sends all of `bytes`. Says nothing of a failure, which the next receive() meets as well.
    void send(std::span<const std::byte> bytes);
    /// Takes bytes that the thread sends while it waits for others. Nothing is taken, and false returned,
    /// when that would make more than maxPostedBytes wait. Any thread.
    bool post(std::span<const std::byte> bytes);
    /// Waits until the connection fails, which throws, or is cancelled. What still arrives stays unread.
    void waitForFailure();

    /// From now on nothing blocks. Any thread.
    void cancel();
    [[nodiscard]] bool isCancelled() const { return m_isCancelled; }

private:
    [[nodiscard]] int connectTo(const addrinfo &address);
    void wakeFor(std::size_t bytes);
    /// Waits for `events` (poll(2)) or the end of the connection; false when cancelled.
    [[nodiscard]] bool waitFor(short events);
    [[nodiscard]] bool hasPosted();
    void sendPosted();
    [[nodiscard]] QString endpoint() const;

    const QString m_host;
    const quint16 m_port;
    UniqueDescriptor m_wakeEvent;
    std::atomic<bool> m_isCancelled = false;
    UniqueDescriptor m_socket;
    int m_wakeBytes = 1; ///< SO_RCVLOWAT (socket(7))
    std::mutex m_postedMutex;
    std::vector<std::byte> m_posted;
};
