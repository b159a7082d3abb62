#include "Platform/TCPConnection.h"

#include "Platform/PlatformError.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
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
{}

bool TCPConnection::open()
{
    const AddressList addresses = lookUp(m_host, m_port);
    int error = EHOSTUNREACH;
    for (const addrinfo *address = addresses.get(); address && !isCancelled(); address = address->ai_next) {
        error = connectTo(*address);
        if (error == 0)
            return !isCancelled();
    }
    if (isCancelled())
        return false;
    throw PlatformError(error, u"connect to"_s, endpoint());
}

int TCPConnection::connectTo(const addrinfo &address)
{
    UniqueDescriptor socket(::socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC, address.ai_protocol));
    if (!socket.isValid())
        return errno;
    m_stream.reset(std::move(socket));
    // The requests are a few bytes each and are waited for.
    const int on = 1;
    ::setsockopt(m_stream.descriptor(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::connect(m_stream.descriptor(), address.ai_addr, address.ai_addrlen) == 0)
        return 0;
    if (errno != EINPROGRESS)
        return errno;
    return waitFor(POLLOUT) ? pendingError(m_stream.descriptor()) : ECANCELED;
}

std::size_t TCPConnection::receive(std::span<std::byte> target)
{
    while (!isCancelled()) {
        const ssize_t count = ::recv(m_stream.descriptor(), target.data(), target.size(), 0);
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
        ::setsockopt(m_stream.descriptor(), SOL_SOCKET, SO_RCVLOWAT, &wakeBytes, sizeof wakeBytes);
}

void TCPConnection::waitForFailure()
{
    if (!waitFor(0))
        return;
    const int error = pendingError(m_stream.descriptor());
    throw PlatformError(error ? error : ECONNRESET, u"receive from"_s, endpoint());
}

bool TCPConnection::waitFor(short events)
{
    while (!isCancelled())
        if (m_stream.wait(events))
            return true;
    return false;
}

QString TCPConnection::endpoint() const
{
    return u"%1:%2"_s.arg(m_host).arg(m_port);
}
