#include "Platform/Hypervisor/DisplayChannel.h"

#include "Platform/PlatformError.h"
#include "RemoteFramebuffer/ClientMessages.h"

#include <QPointer>

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto pokeInterval = 100ms;

QString describe(rfb::ScreenConversation::Failure failure)
{
    using Failure = rfb::ScreenConversation::Failure;
    switch (failure) {
    case Failure::NoSupportedSecurityType:
    case Failure::AuthenticationFailed:
        return u"The emulator refused access to the display."_s;
    case Failure::UnsupportedPixelFormat:
        return u"The emulator's display has an unsupported pixel format."_s;
    case Failure::ScreenTooLarge:
        return u"The emulator's display is too large."_s;
    case Failure::ProtocolViolation:
        break;
    }
    return u"The emulator's display sent invalid data."_s;
}

} // namespace

DisplayChannel::DisplayChannel(UniqueDescriptor socket, QObject *parent)
    : QObject(parent)
    , m_socket(std::move(socket))
    , m_wakeEvent(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
    , m_receiver(m_socket.get())
{
    if (!m_wakeEvent.isValid())
        throw PlatformError(errno, u"open the display"_s);
    const int flags = ::fcntl(m_socket.get(), F_GETFL);
    if (flags < 0 || ::fcntl(m_socket.get(), F_SETFL, flags | O_NONBLOCK) < 0)
        throw PlatformError(errno, u"open the display"_s);
    m_pokeTimer.setInterval(pokeInterval);
    connect(&m_pokeTimer, &QTimer::timeout, this, &DisplayChannel::poke);
    m_thread = std::thread([this] { run(); });
}

DisplayChannel::~DisplayChannel()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    wake();
    m_thread.join();
}

std::optional<rfb::ScreenConversation::Update> DisplayChannel::takeUpdate()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_update, std::nullopt);
}

void DisplayChannel::requestUpdate()
{
    const std::lock_guard lock(m_mutex);
    if (!m_isUpdateInUse || m_update)
        return;
    m_isRequestWanted = true;
    wake();
}

std::optional<rfb::CursorShape> DisplayChannel::takeCursor()
{
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_cursor, std::nullopt);
}

bool DisplayChannel::takesExtendedKeys() const
{
    const std::lock_guard lock(m_mutex);
    return m_input.extendedKeys;
}

bool DisplayChannel::isPointerAbsolute() const
{
    const std::lock_guard lock(m_mutex);
    return m_input.absolutePointer;
}

bool DisplayChannel::send(std::span<const std::byte> messages)
{
    const std::lock_guard lock(m_mutex);
    // Before the handshake is over the server would take a message for a part of it.
    if (!m_isOpen || m_output.size() + messages.size() > maxWaitingBytes)
        return false;
    m_output.insert(m_output.end(), messages.begin(), messages.end());
    flush();
    if (!m_output.empty())
        wake();
    return true;
}

void DisplayChannel::setWatched(bool isWatched)
{
    if (!isWatched)
        m_pokeTimer.stop();
    else if (!m_pokeTimer.isActive())
        m_pokeTimer.start();
}

void DisplayChannel::run()
{
    QString reason = u"The emulator closed the display."_s;
    try {
        while (wait() && m_receiver.receive())
            hand(false, {});
    } catch (const std::exception &error) {
        reason = localizedDescription(error);
    }
    if (const auto failure = m_receiver.conversation().failure())
        reason = describe(*failure);
    hand(true, reason);
}

bool DisplayChannel::wait()
{
    while (true) {
        std::array waits{pollfd{.fd = m_socket.get(), .events = 0, .revents = 0},
                         pollfd{.fd = m_wakeEvent.get(), .events = POLLIN, .revents = 0}};
        {
            const std::lock_guard lock(m_mutex);
            if (m_isStopping)
                return false;
            if (std::exchange(m_isRequestWanted, false)) {
                m_isUpdateInUse = false;
                m_receiver.conversation().requestUpdate();
            }
            const std::vector<std::byte> answers = m_receiver.conversation().takeOutput();
            m_output.insert(m_output.end(), answers.begin(), answers.end());
            flush();
            // A server that is answered must read the answers.
            const bool mayReceive = !m_isUpdateInUse && m_output.size() <= maxWaitingBytes;
            if (mayReceive && m_receiver.hasReadAhead())
                return true;
            if (mayReceive)
                waits[0].events |= POLLIN;
            if (!m_output.empty())
                waits[0].events |= POLLOUT;
        }
        if (::poll(waits.data(), waits.size(), -1) < 0 && errno != EINTR)
            throw PlatformError(errno, u"watch the display"_s);
        eventfd_t wakes = 0;
        if (waits[1].revents != 0)
            ::eventfd_read(m_wakeEvent.get(), &wakes);
        // Also at the end of the connection, which is told of without being asked for.
        if ((waits[0].revents & ~POLLOUT) != 0)
            return true;
    }
}

/// Gives the main thread what receive() brought.
void DisplayChannel::hand(bool isOver, const QString &reason)
{
    rfb::ScreenConversation &conversation = m_receiver.conversation();
    const Input input{.extendedKeys = conversation.takesExtendedKeys(),
                      .absolutePointer = conversation.isPointerAbsolute()};
    auto update = conversation.takeUpdate();
    auto cursor = conversation.takeCursor();
    News news;
    news.update = update.has_value();
    news.cursor = cursor.has_value();
    news.end = reason;

    const std::lock_guard lock(m_mutex);
    m_isOpen = !isOver && conversation.framebuffer();
    news.input = std::exchange(m_input, input) != input;
    if (update) {
        m_update = std::move(update);
        m_isUpdateInUse = true;
    }
    if (cursor)
        m_cursor = std::move(cursor);
    post(news);
}

/// Sends what the socket takes at once; the thread sees to the rest.
void DisplayChannel::flush()
{
    if (m_output.empty())
        return;
    const ssize_t count =
        ::send(m_socket.get(), m_output.data(), m_output.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    // A failure is met by receive() as well.
    if (count > 0)
        m_output.erase(m_output.begin(), m_output.begin() + count);
}

/// Lets the thread look anew at what there is to do.
void DisplayChannel::wake()
{
    ::eventfd_write(m_wakeEvent.get(), 1);
}

/// Has deliver() called once, however much comes until then.
void DisplayChannel::post(const News &news)
{
    m_news.update |= news.update;
    m_news.cursor |= news.cursor;
    m_news.input |= news.input;
    if (!news.end.isEmpty())
        m_news.end = news.end;
    if (m_news == News() || std::exchange(m_isDelivering, true))
        return;
    QMetaObject::invokeMethod(this, &DisplayChannel::deliver, Qt::QueuedConnection);
}

void DisplayChannel::poke()
{
    std::unique_lock lock(m_mutex);
    const bool isIdle = m_output.empty();
    lock.unlock();
    // Where something waits already there is no need for more.
    if (isIdle)
        send(rfb::emptyCutText());
}

void DisplayChannel::deliver()
{
    News news;
    {
        const std::lock_guard lock(m_mutex);
        news = std::exchange(m_news, {});
        m_isDelivering = false;
    }
    // Whoever is notified may delete the channel.
    const QPointer<DisplayChannel> self(this);
    if (news.input)
        Q_EMIT inputChanged();
    if (news.cursor && self)
        Q_EMIT cursorChanged();
    if (news.update && self)
        Q_EMIT updateReady();
    if (!news.end.isEmpty() && self)
        Q_EMIT ended(news.end);
}
