#pragma once

#include "Platform/StreamSocket.h"

#include <QString>

#include <cstddef>
#include <span>

struct addrinfo;

/// A TCP client for one thread, which opens it, receives and sends, and blocks in these calls until any other
/// thread cancels. What fails is thrown as a LocalizedError that names host and port.
class TCPConnection
{
public:
    /// `host` is a name or an address.
    TCPConnection(const QString &host, quint16 port);

    /// Connects to the first of the host's addresses that answers; false when cancelled. Looking up a name
    /// cannot be cancelled and lasts as long as the host's resolver likes.
    [[nodiscard]] bool open();
    /// Waits for as many bytes as `target` takes, or a large piece of them, and returns how many came, which
    /// may be fewer; 0 when the peer closed its side or after cancel().
    [[nodiscard]] std::size_t receive(std::span<std::byte> target);
    /// Says nothing of a failure, which the next receive() meets as well.
    void send(std::span<const std::byte> bytes) { m_stream.answer(bytes); }
    /// See StreamSocket::post(). Any thread.
    bool post(std::span<const std::byte> bytes) { return m_stream.post(bytes); }
    /// Waits until the connection fails, which throws, or is cancelled. What still arrives stays unread.
    void waitForFailure();

    /// From now on nothing blocks. Any thread.
    void cancel() { m_stream.cancel(); }
    [[nodiscard]] bool isCancelled() const { return m_stream.isCancelled(); }

private:
    [[nodiscard]] int connectTo(const addrinfo &address);
    void wakeFor(std::size_t bytes);
    /// False when cancelled.
    [[nodiscard]] bool waitFor(short events);
    [[nodiscard]] QString endpoint() const;

    const QString m_host;
    const quint16 m_port;
    StreamSocket m_stream;
    int m_wakeBytes = 1; ///< SO_RCVLOWAT (socket(7))
};
