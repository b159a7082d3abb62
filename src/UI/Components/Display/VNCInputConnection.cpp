#include "UI/Components/Display/VNCInputConnection.h"

#include "Platform/StreamSocket.h"
#include "UI/Components/Display/VNCConnection.h"

#include <QSocketNotifier>

#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace {

// Some thousand movements of the pointer: more than a person makes until a server has answered.
constexpr std::size_t maximumWaitingBytes = StreamSocket::maxWaitingBytes;

} // namespace

VNCInputConnection::VNCInputConnection(QObject *parent)
    : QObject(parent)
{
    m_pause.setSingleShot(true);
    m_pause.setInterval(100ms);
    QObject::connect(&m_pause, &QTimer::timeout, this, &VNCInputConnection::reportSize);
}

VNCInputConnection::~VNCInputConnection() = default;

void VNCInputConnection::connect(const QString &host, qint64 port)
{
    disconnect();
    try {
        m_connection = std::make_unique<VNCConnection>(host, port, rfb::DisplayConversation::Purpose::Input);
    } catch (const std::exception &) {
        return setFailed(true); // the display's own connection says what is wrong
    }
    m_notifier =
        std::make_unique<QSocketNotifier>(m_connection->mailbox()->descriptor(), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, this, &VNCInputConnection::handleEvent);
    setAvailable(true);
}

void VNCInputConnection::disconnect()
{
    m_notifier.reset();
    m_connection.reset();
    m_pause.stop();
    m_isReady = false;
    m_waiting.clear();
    m_size = {};
    m_reportedSize = {};
    setAvailable(false);
    setFailed(false);
}

void VNCInputConnection::send(std::span<const std::byte> messages)
{
    if (!m_isAvailable)
        return;
    if (m_isReady) {
        if (!m_connection->post(messages))
            giveUp();
        return;
    }
    m_waiting.insert(m_waiting.end(), messages.begin(), messages.end());
    if (m_waiting.size() > maximumWaitingBytes)
        giveUp();
}

/// A lost release would leave a key down for ever; the server lifts what is down when its client goes.
void VNCInputConnection::giveUp()
{
    disconnect();
    setFailed(true);
}

void VNCInputConnection::handleEvent()
{
    const std::shared_ptr<VNCMailbox> mailbox = m_connection->mailbox();
    const std::optional<VNCEvent> event = mailbox->nextEvent();
    if (!event)
        return;
    mailbox->finishEvent();
    if (const auto *screen = std::get_if<VNCScreenSize>(&*event)) {
        m_size = screen->size;
        if (!m_pause.isActive())
            reportSize();
    } else if (std::holds_alternative<VNCInputReady>(*event)) {
        m_isReady = true;
        send(std::exchange(m_waiting, {}));
    } else if (!std::holds_alternative<VNCConnected>(*event)) {
        setAvailable(false);
        setFailed(true);
    }
}

void VNCInputConnection::reportSize()
{
    if (m_size == m_reportedSize)
        return;
    m_reportedSize = m_size;
    m_pause.start();
    Q_EMIT sizeKnown(m_size);
}

void VNCInputConnection::setAvailable(bool isAvailable)
{
    if (isAvailable == m_isAvailable)
        return;
    m_isAvailable = isAvailable;
    Q_EMIT isAvailableChanged();
}

void VNCInputConnection::setFailed(bool hasFailed)
{
    if (hasFailed == m_hasFailed)
        return;
    m_hasFailed = hasFailed;
    Q_EMIT hasFailedChanged();
}
