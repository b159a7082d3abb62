#include "Platform/Emulator/EmulatorPoll.h"

#include "Platform/Emulator/QMPError.h"

#include <QPointer>

EmulatorPoll::EmulatorPoll(const QString &controlSocket, std::chrono::milliseconds interval,
                           std::chrono::milliseconds timeout)
    : m_controlSocket(controlSocket)
    , m_timeout(timeout)
{
    m_timer.setSingleShot(true);
    m_timer.setInterval(interval);
    connect(&m_timer, &QTimer::timeout, this, [this] { QCoro::connect(question(), this, [] {}); });
}

void EmulatorPoll::restart()
{
    ++m_round;
    m_timer.start();
}

void EmulatorPoll::stop()
{
    ++m_round;
    m_timer.stop();
}

QCoro::Task<> EmulatorPoll::question()
{
    const QPointer<EmulatorPoll> self(this);
    const quint64 round = m_round;
    std::optional<EmulatorStatus> status;
    try {
        const QCoro::Task<std::shared_ptr<QMPChannel>> opened = QMPChannel::open(m_controlSocket, m_timeout);
        const std::shared_ptr<QMPChannel> channel = co_await opened;
        const QCoro::Task<EmulatorStatus> asked = EmulatorStatus::ask(channel);
        status = co_await asked;
    } catch (const QMPError &) {
        // Its end is told by its process.
    }
    if (!self || round != m_round)
        co_return;
    m_timer.start();
    if (status)
        Q_EMIT answered(*status);
}
