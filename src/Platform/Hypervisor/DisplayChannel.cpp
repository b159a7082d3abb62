#include "Platform/Hypervisor/DisplayChannel.h"

#include "Platform/PlatformError.h"
#include "RemoteFramebuffer/ClientMessages.h"

#include <QPointer>

#include <poll.h>

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
    , m_receiver(socket.get())
{
    m_stream.reset(std::move(socket));
    m_pokeTimer.setInterval(pokeInterval);
    connect(&m_pokeTimer, &QTimer::timeout, this, &DisplayChannel::poke);
    m_thread = std::thread([this] { run(); });
}

DisplayChannel::~DisplayChannel()
{
    m_stream.cancel();
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
    m_stream.wake();
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
    return m_isOpen && m_stream.post(messages);
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
    while (!m_stream.isCancelled()) {
        bool receives = false;
        {
            const std::lock_guard lock(m_mutex);
            if (std::exchange(m_isRequestWanted, false)) {
                m_isUpdateInUse = false;
                m_receiver.conversation().requestUpdate();
            }
            receives = !m_isUpdateInUse;
        }
        m_stream.answer(m_receiver.conversation().takeOutput());
        if (receives && m_receiver.hasReadAhead() && !m_stream.isHeldUp())
            return true;
        if (m_stream.wait(receives ? POLLIN : 0))
            return true;
    }
    return false;
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

/// Where something waits already there is no need for more.
void DisplayChannel::poke()
{
    if (m_stream.isIdle())
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
