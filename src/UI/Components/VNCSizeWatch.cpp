#include "UI/Components/VNCSizeWatch.h"

#include "UI/Components/VNCConnection.h"

#include <QSocketNotifier>

#include <chrono>

using namespace std::chrono_literals;

VNCSizeWatch::VNCSizeWatch(QObject *parent)
    : QObject(parent)
{
    m_pause.setSingleShot(true);
    m_pause.setInterval(100ms);
    connect(&m_pause, &QTimer::timeout, this, &VNCSizeWatch::report);
}

VNCSizeWatch::~VNCSizeWatch() = default;

void VNCSizeWatch::watch(const QString &host, qint64 port)
{
    stop();
    try {
        m_connection =
            std::make_unique<VNCConnection>(host, port, rfb::DisplayConversation::Purpose::SizeWatch);
    } catch (const std::exception &) {
        return; // the display's own connection says what is wrong
    }
    m_notifier =
        std::make_unique<QSocketNotifier>(m_connection->mailbox()->descriptor(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &VNCSizeWatch::handleEvent);
}

void VNCSizeWatch::stop()
{
    m_notifier.reset();
    m_connection.reset();
    m_pause.stop();
    m_size = {};
    m_reportedSize = {};
}

void VNCSizeWatch::handleEvent()
{
    const std::shared_ptr<VNCMailbox> mailbox = m_connection->mailbox();
    const std::optional<VNCEvent> event = mailbox->nextEvent();
    if (!event)
        return;
    mailbox->finishEvent();
    if (const auto *screen = std::get_if<VNCScreenSize>(&*event)) {
        m_size = screen->size;
        if (!m_pause.isActive())
            report();
    }
}

void VNCSizeWatch::report()
{
    if (m_size == m_reportedSize)
        return;
    m_reportedSize = m_size;
    m_pause.start();
    Q_EMIT sizeKnown(m_size);
}
