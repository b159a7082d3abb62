#include "UI/Components/VNCInputConnection.h"

#include "UI/Components/VNCConnection.h"

#include <QSocketNotifier>

#include <chrono>

using namespace std::chrono_literals;

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
}

void VNCInputConnection::disconnect()
{
    m_notifier.reset();
    m_connection.reset();
    m_pause.stop();
    m_size = {};
    m_reportedSize = {};
    setAvailable(false);
    setFailed(false);
}

void VNCInputConnection::send(std::span<const std::byte> messages)
{
    if (!m_isAvailable || m_connection->post(messages))
        return;
    // A lost release would leave a key down for ever; the server lifts what is down when its client goes.
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
        setAvailable(true);
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
