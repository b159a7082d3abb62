#include "Platform/TCPConnection.h"

#include "Platform/PlatformError.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

using AddressList = std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)>;

AddressList lookUp(const QString &host, quint16 port)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo *addresses = nullptr;
    const int result =
        ::getaddrinfo(host.toUtf8().constData(), QByteArray::number(port).constData(), &hints, &addresses);
    if (result == EAI_SYSTEM)
        throw PlatformError(errno, u"look up the host"_s, host);
    if (result != 0) {
        const QString reason = QString::fromLocal8Bit(::gai_strerror(result));
        throw LocalizedError(u"Could not look up the host “%1”: %2."_s.arg(host, reason));
    }
    return {addresses, &::freeaddrinfo};
}

int pendingError(int socket)
{
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

} // namespace

TCPConnection::TCPConnection(const QString &host, quint16 port)
    : m_host(host)
    , m_port(port)
    , m_wakeEvent(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (!m_wakeEvent.isValid())
        throw PlatformError(errno, u"connect to"_s, endpoint());
}

bool TCPConnection::open()
{
    const AddressList addresses = lookUp(m_host, m_port);
    int error = EHOSTUNREACH;
    for (const addrinfo *address = addresses.get(); address && !m_isCancelled; address = address->ai_next) {
        error = connectTo(*address);
        if (error == 0)
            return !m_isCancelled;
    }
    if (m_isCancelled)
        return false;
    throw PlatformError(error, u"connect to"_s, endpoint());
}

int TCPConnection::connectTo(const addrinfo &address)
{
    m_socket.reset(
        ::socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, address.ai_protocol));
    if (!m_socket.isValid())
        return errno;
    // The requests are a few bytes each and are waited for.
    const int on = 1;
    ::setsockopt(m_socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::connect(m_socket.get(), address.ai_addr, address.ai_addrlen) == 0)
        return 0;
    if (errno != EINPROGRESS)
        return errno;
    return waitFor(POLLOUT) ? pendingError(m_socket.get()) : ECANCELED;
}

std::size_t TCPConnection::receive(std::span<std::byte> target)
{
    while (!m_isCancelled) {
        const ssize_t count = ::recv(m_socket.get(), target.data(), target.size(), 0);
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno == EAGAIN) {
            wakeFor(target.size());
            (void)waitFor(POLLIN);
        } else if (errno != EINTR) {
            throw PlatformError(errno, u"receive from"_s, endpoint());
        }
    }
    return 0;
}

/// Lets the host wake the thread when all of `bytes`, or a large piece of them, are there: to be woken for
/// each segment costs more than to take it.
void TCPConnection::wakeFor(std::size_t bytes)
{
    constexpr std::size_t largePiece = std::size_t{1024} * 1024;
    const int wakeBytes = static_cast<int>(std::min(bytes, largePiece));
    if (std::exchange(m_wakeBytes, wakeBytes) != wakeBytes)
        ::setsockopt(m_socket.get(), SOL_SOCKET, SO_RCVLOWAT, &wakeBytes, sizeof wakeBytes);
}

void TCPConnection::send(std::span<const std::byte> bytes)
{
    while (!bytes.empty() && !m_isCancelled) {
        const ssize_t count = ::send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count >= 0)
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        else if (errno == EAGAIN)
            (void)waitFor(POLLOUT);
        else if (errno != EINTR)
            return;
    }
}

bool TCPConnection::post(std::span<const std::byte> bytes)
{
    {
        const std::lock_guard lock(m_postedMutex);
        if (m_posted.size() + bytes.size() > maxPostedBytes)
            return false;
        m_posted.insert(m_posted.end(), bytes.begin(), bytes.end());
    }
    ::eventfd_write(m_wakeEvent.get(), 1);
    return true;
}

bool TCPConnection::hasPosted()
{
    const std::lock_guard lock(m_postedMutex);
    return !m_posted.empty();
}

void TCPConnection::sendPosted()
{
    const std::lock_guard lock(m_postedMutex);
    const ssize_t count = ::send(m_socket.get(), m_posted.data(), m_posted.size(), MSG_NOSIGNAL);
    if (count > 0)
        m_posted.erase(m_posted.begin(), m_posted.begin() + count);
    else if (count < 0 && errno != EAGAIN && errno != EINTR)
        m_posted.clear(); // the next receive() meets the failure as well
}

void TCPConnection::waitForFailure()
{
    if (!waitFor(0))
        return;
    const int error = pendingError(m_socket.get());
    throw PlatformError(error ? error : ECONNRESET, u"receive from"_s, endpoint());
}

void TCPConnection::cancel()
{
    m_isCancelled = true;
    ::eventfd_write(m_wakeEvent.get(), 1);
}

bool TCPConnection::waitFor(short events)
{
    while (!m_isCancelled) {
        const bool sends = (events & POLLIN) != 0 && hasPosted();
        const auto interest = static_cast<short>(events | (sends ? POLLOUT : 0));
        std::array waits{pollfd{.fd = m_socket.get(), .events = interest, .revents = 0},
                         pollfd{.fd = m_wakeEvent.get(), .events = POLLIN, .revents = 0}};
        if (::poll(waits.data(), waits.size(), -1) <= 0)
            continue;
        eventfd_t count = 0;
        if (waits[1].revents != 0)
            ::eventfd_read(m_wakeEvent.get(), &count);
        if (sends && (waits[0].revents & POLLOUT) != 0)
            sendPosted();
        if ((waits[0].revents & (events | POLLERR | POLLHUP | POLLNVAL)) != 0)
            return true;
    }
    return false;
}

QString TCPConnection::endpoint() const
{
    return u"%1:%2"_s.arg(m_host).arg(m_port);
}
