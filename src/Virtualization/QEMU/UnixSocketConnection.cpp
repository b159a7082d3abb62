#include "Virtualization/QEMU/UnixSocketConnection.h"

#include "Virtualization/Backend/KelvoError.h"

#include <QDeadlineTimer>
#include <QFile>

#include <poll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

sockaddr_un addressOf(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::copy_n(name.constData(), std::min(name.size(), UnixSocketConnection::maximumPathBytes),
                static_cast<char *>(address.sun_path));
    return address;
}

int connectTo(int descriptor, const sockaddr_un &address)
{
    return ::connect(descriptor, reinterpret_cast<const sockaddr *>(&address), sizeof address);
}

void limitWaits(int descriptor, std::chrono::milliseconds timeout)
{
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(timeout);
    const std::chrono::microseconds rest = timeout - seconds;
    const timeval limit = {seconds.count(), rest.count()};
    ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    ::setsockopt(descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

} // namespace

UnixSocketConnection::UnixSocketConnection(const QString &path, std::chrono::milliseconds timeout)
    : m_fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    if (!m_fd.isValid())
        throw KelvoError::internalError(u"Could not create unix socket."_s);
    if (!fitsAddress(path))
        throw KelvoError::internalError(u"Unix socket path is too long."_s);
    if (timeout != forever)
        limitWaits(m_fd.get(), timeout);
    if (connectTo(m_fd.get(), addressOf(path)) != 0)
        throw KelvoError::internalError(u"Could not connect to QMP socket."_s);
}

void UnixSocketConnection::write(QByteArrayView data)
{
    const ssize_t count =
        ::send(m_fd.get(), data.data(), static_cast<std::size_t>(data.size()), MSG_NOSIGNAL);
    if (count != data.size())
        throw KelvoError::internalError(u"Failed to write to QMP socket."_s);
}

QByteArray UnixSocketConnection::read(qsizetype upTo)
{
    QByteArray bytes(upTo, '\0');
    ssize_t count = -1;
    do
        count = ::read(m_fd.get(), bytes.data(), static_cast<std::size_t>(upTo));
    while (count < 0 && errno == EINTR);
    if (count < 0)
        throw KelvoError::internalError(u"Failed to read from QMP socket."_s);
    bytes.truncate(count);
    return bytes;
}

bool UnixSocketConnection::waitUntilReadable(std::chrono::milliseconds timeout)
{
    return waitUntilReadable(m_fd, timeout);
}

bool UnixSocketConnection::waitUntilReadable(const UniqueDescriptor &descriptor,
                                             std::chrono::milliseconds timeout)
{
    const QDeadlineTimer deadline(timeout);
    pollfd interest = {descriptor.get(), POLLIN, 0};
    int count = -1;
    do
        count = ::poll(&interest, 1, static_cast<int>(deadline.remainingTime()));
    while (count < 0 && errno == EINTR);
    return count != 0;
}

UniqueDescriptor UnixSocketConnection::openPeer() const
{
    ucred peer = {};
    socklen_t size = sizeof peer;
    if (::getsockopt(m_fd.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return {};
    return UniqueDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, peer.pid, 0)));
}

bool UnixSocketConnection::hasListener(const QString &path)
{
    if (!fitsAddress(path))
        return false;
    const UniqueDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    // EAGAIN: somebody listens, but the queue of those who wait is full.
    return connectTo(socket.get(), addressOf(path)) == 0 || errno == EAGAIN;
}

bool UnixSocketConnection::fitsAddress(const QString &path)
{
    return QFile::encodeName(path).size() <= maximumPathBytes;
}
