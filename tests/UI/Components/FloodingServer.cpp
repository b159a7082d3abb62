#include "UI/Components/FloodingServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

FloodingServer::FloodingServer(const QByteArray &first, const QByteArray &forever,
                               std::chrono::milliseconds pause)
    : m_first(first)
    , m_forever(forever)
    , m_pause(pause)
    , m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto *generic = reinterpret_cast<sockaddr *>(&address);
    if (::bind(m_listener.get(), generic, size) != 0 || ::listen(m_listener.get(), 64) != 0 ||
        ::getsockname(m_listener.get(), generic, &size) != 0)
        qFatal("No port left to listen on.");
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { run(); });
}

FloodingServer::~FloodingServer()
{
    m_isEnding = true;
    ::shutdown(m_listener.get(), SHUT_RDWR);
    m_thread.join();
    while (m_clients > 0)
        std::this_thread::yield();
}

void FloodingServer::run()
{
    while (!m_isEnding) {
        UniqueDescriptor client(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (!client.isValid())
            continue;
        ++m_clients;
        std::thread([this, client = std::move(client)]() mutable {
            serve(client.get());
            client.reset();
            --m_clients;
        }).detach();
    }
}

void FloodingServer::serve(int client)
{
    if (!send(client, m_first))
        return;
    while (send(client, m_forever)) {
        ++m_rounds;
        if (m_pause.count() > 0)
            std::this_thread::sleep_for(m_pause);
    }
}

bool FloodingServer::send(int client, const QByteArray &bytes) const
{
    qsizetype position = 0;
    while (position < bytes.size() && !m_isEnding) {
        const ssize_t count = ::send(client, bytes.constData() + position,
                                     static_cast<std::size_t>(bytes.size() - position), MSG_NOSIGNAL);
        if (count >= 0) {
            position += count;
        } else if (errno == EAGAIN) {
            pollfd wait{.fd = client, .events = POLLOUT, .revents = 0};
            ::poll(&wait, 1, 50);
        } else {
            return false;
        }
    }
    return !m_isEnding;
}
