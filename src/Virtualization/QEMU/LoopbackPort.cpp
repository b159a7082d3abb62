#include "Virtualization/QEMU/LoopbackPort.h"

#include "Platform/UniqueDescriptor.h"

#include <QSet>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace {

constexpr int connectMilliseconds = 1000;

/// TCP lets a socket that was given the wanted port's own number as its source connect to itself.
bool isConnectedToItself(int descriptor, in_port_t port)
{
    sockaddr_in own = {};
    socklen_t size = sizeof own;
    return ::getsockname(descriptor, reinterpret_cast<sockaddr *>(&own), &size) == 0 && own.sin_port == port;
}

QSet<qint64> &claimedPorts()
{
    static QSet<qint64> ports;
    return ports;
}

} // namespace

namespace LoopbackPort {

bool isOpen(qint64 port)
{
    if (port < 0 || port > 65535)
        return false;
    // Not blocking: a listener whose queue is full would hold the thread for minutes.
    const UniqueDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.isValid())
        return false;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    address.sin_port = ::htons(static_cast<quint16>(port));
    if (::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        return !isConnectedToItself(socket.get(), address.sin_port);
    if (errno != EINPROGRESS)
        return false;
    pollfd interest = {socket.get(), POLLOUT, 0};
    if (::poll(&interest, 1, connectMilliseconds) != 1)
        return false;
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0 &&
           !isConnectedToItself(socket.get(), address.sin_port);
}

std::shared_ptr<Claim> Claim::make(qint64 port)
{
    if (claimedPorts().contains(port))
        return nullptr;
    return std::shared_ptr<Claim>(new Claim(port));
}

Claim::Claim(qint64 port)
    : m_port(port)
{
    claimedPorts().insert(port);
}

Claim::~Claim()
{
    claimedPorts().remove(m_port);
}

} // namespace LoopbackPort
