#include "Platform/StreamSocket.h"

#include "Platform/PlatformError.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

using namespace Qt::StringLiterals;

StreamSocket::StreamSocket()
    : m_wakeEvent(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!m_wakeEvent.isValid())
        throw PlatformError(errno, u"open a connection"_s);
}

void StreamSocket::reset(UniqueDescriptor socket)
{
    const int flags = ::fcntl(socket.get(), F_GETFL);
    if (flags < 0 || ::fcntl(socket.get(), F_SETFL, flags | O_NONBLOCK) < 0)
        throw PlatformError(errno, u"open a connection"_s);
    const std::lock_guard lock(m_mutex);
    m_socket = std::move(socket);
}

bool StreamSocket::post(std::span<const std::byte> messages)
{
    const std::lock_guard lock(m_mutex);
    if (m_waiting.size() + messages.size() > maxWaitingBytes)
        return false;
    m_waiting.insert(m_waiting.end(), messages.begin(), messages.end());
    flush();
    if (!m_waiting.empty())
        wake();
    return true;
}

void StreamSocket::answer(std::span<const std::byte> messages)
{
    const std::lock_guard lock(m_mutex);
    m_waiting.insert(m_waiting.end(), messages.begin(), messages.end());
    flush();
}

std::size_t StreamSocket::waitingBytes() const
{
    const std::lock_guard lock(m_mutex);
    return m_waiting.size();
}

/// Sends what the socket takes at once. A failure is met by whoever receives.
void StreamSocket::flush()
{
    if (m_waiting.empty())
        return;
    const ssize_t count =
        ::send(m_socket.get(), m_waiting.data(), m_waiting.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (count > 0)
        m_waiting.erase(m_waiting.begin(), m_waiting.begin() + count);
}

bool StreamSocket::wait(short events)
{
    short interest = events;
    {
        const std::lock_guard lock(m_mutex);
        flush();
        if (m_waiting.size() > maxWaitingBytes)
            interest = static_cast<short>(interest & ~POLLIN);
        if (!m_waiting.empty())
            interest = static_cast<short>(interest | POLLOUT);
    }
    std::array waits{pollfd{.fd = m_socket.get(), .events = interest, .revents = 0},
                     pollfd{.fd = m_wakeEvent.get(), .events = POLLIN, .revents = 0}};
    if (::poll(waits.data(), waits.size(), -1) < 0 && errno != EINTR)
        throw PlatformError(errno, u"watch a connection"_s);
    eventfd_t wakes = 0;
    if (waits[1].revents != 0)
        ::eventfd_read(m_wakeEvent.get(), &wakes);
    return (waits[0].revents & (events | POLLERR | POLLHUP | POLLNVAL)) != 0;
}

void StreamSocket::wake()
{
    ::eventfd_write(m_wakeEvent.get(), 1);
}

void StreamSocket::cancel()
{
    m_isCancelled = true;
    wake();
}
