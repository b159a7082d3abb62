#include "Platform/Hypervisor/DisplayPeer.h"

#include "support/Patience.h"

#include <sys/socket.h>

#include <array>
#include <utility>

DisplayPeer::DisplayPeer()
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        qFatal("no socket pair");
    m_socket.reset(ends[0]);
    m_clientEnd.reset(ends[1]);
}

UniqueDescriptor DisplayPeer::takeClientEnd()
{
    return std::move(m_clientEnd);
}

bool DisplayPeer::send(const QByteArray &bytes) const
{
    qsizetype sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(m_socket.get(), bytes.constData() + sent,
                                     static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        sent += count;
    }
    return true;
}

QByteArray DisplayPeer::received() const
{
    QByteArray bytes(1 << 20, Qt::Uninitialized);
    const ssize_t count =
        ::recv(m_socket.get(), bytes.data(), static_cast<std::size_t>(bytes.size()), MSG_DONTWAIT);
    bytes.truncate(std::max<ssize_t>(count, 0));
    return bytes;
}

QByteArray DisplayPeer::receive(qsizetype count) const
{
    QByteArray bytes;
    const auto hasAll = [&] {
        bytes += received();
        return bytes.size() >= count;
    };
    (void)QTest::qWaitFor(hasAll, patience);
    return bytes;
}
