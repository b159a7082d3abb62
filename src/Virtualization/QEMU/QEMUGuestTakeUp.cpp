#include "Platform/Emulator/EmulatorEnd.h"
#include "Platform/Emulator/QMPError.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/QEMU/QEMUGuest.h"

#include <QCoreApplication>
#include <QCoroFuture>
#include <QJsonObject>
#include <QScopedValueRollback>

using namespace Qt::StringLiterals;

QCoro::Task<GuestTakeUp> QEMUGuest::takeUp(QEMULaunchPlan plan)
{
    const auto keepAlive = shared_from_this();
    requireIdle();
    const QScopedValueRollback busy(m_operationInProgress, true);
    m_plan = plan;
    std::optional<RunningEmulator> emulator;
    try {
        const QCoro::Task<std::optional<RunningEmulator>> search =
            RunningEmulator::find(FileUrl::path(plan.runtimePaths.qmpSocket), m_timeouts.qmp.exchange);
        emulator = co_await search;
    } catch (const QMPError &) {
        co_return GuestTakeUp{GuestTakeUp::Outcome::undecided, {}};
    }
    const QCoro::Task<GuestTakeUp> step = emulator ? takeUp(*std::move(emulator)) : clearRemains();
    const GuestTakeUp result = co_await step;
    co_return result;
}

QCoro::Task<GuestTakeUp> QEMUGuest::takeUp(RunningEmulator emulator)
{
    const std::shared_ptr<QMPChannel> channel = emulator.channel;
    EmulatorStatus status{EmulatorStatus::Guest::running, u"The emulator does not answer."_s};
    try {
        const QFuture<QJsonValue> askedForDisplay = channel->execute(u"query-vnc"_s);
        const QJsonValue display = co_await askedForDisplay;
        // The port may have been changed in the document since then.
        if (const qint64 port = display["service"_L1].toString().toLongLong(); port > 0)
            m_plan->configuration.vncPort = port;
        const QCoro::Task<EmulatorStatus> asked = EmulatorStatus::ask(channel);
        status = co_await asked;
    } catch (const QMPError &error) {
        if (error.errorCase() != QMPError::Case::silent) // which can still be stopped
            co_return GuestTakeUp{GuestTakeUp::Outcome::undecided, {}};
    }
    const quint64 launch = ++m_launch;
    m_exitToHandle.reset();
    m_failure.clear();
    m_qemu.onTermination([guest = weak_from_this(), launch](qint32) {
        if (const auto living = guest.lock())
            living->noteProcessExit(launch);
    });
    m_qemu.takeUp(emulator.takeProcess());
    follow();
    m_standstill = status.reason;
    m_stateMachine.forceSet(status.guest == EmulatorStatus::Guest::running ? VMState::running
                                                                           : VMState::paused);
    DiagnosticLogger::shared().log(
        u"QEMU VM is running already, on VNC port %1"_s.arg(m_plan->configuration.vncPort), LogLevel::info);
    co_return GuestTakeUp{GuestTakeUp::Outcome::takenUp, status.reason};
}

/// The TPM emulator outlives a QEMU that ended while nobody watched.
QCoro::Task<GuestTakeUp> QEMUGuest::clearRemains()
{
    m_lock = takeLock();
    if (!m_lock.isValid())
        co_return GuestTakeUp{GuestTakeUp::Outcome::undecided, {}};
    GuestTakeUp result;
    if (FileManager::defaultManager().fileExists(FileUrl::path(m_plan->runtimePaths.qmpSocket)))
        result.reason = EmulatorEnd::unwatchedReason(FileUrl::path(m_plan->configuration.storageDirectory));
    const QCoro::Task<> cleared = clearAway();
    co_await cleared;
    co_return result;
}

void QEMUGuest::follow()
{
    m_poll = std::make_unique<EmulatorPoll>(FileUrl::path(m_plan->runtimePaths.qmpSocket), m_timeouts.poll,
                                            m_timeouts.qmp.exchange);
    QObject::connect(m_poll.get(), &EmulatorPoll::answered, m_poll.get(),
                     [this](const EmulatorStatus &status) { noteStatus(status); });
    m_poll->restart();
    m_standstill.clear();
}

/// Another hand may have paused or resumed the guest, or the host may be unable to run it.
void QEMUGuest::noteStatus(const EmulatorStatus &status)
{
    if (m_operationInProgress || (state() != VMState::running && state() != VMState::paused))
        return;
    if (status.guest == EmulatorStatus::Guest::failed) {
        m_failure = status.reason;
        QCoro::connect(endFailedGuest(), qApp, [] {});
        return;
    }
    const VMState seen = status.guest == EmulatorStatus::Guest::running ? VMState::running : VMState::paused;
    if (seen == state() && status.reason == m_standstill)
        return;
    m_standstill = status.reason;
    m_stateMachine.forceSet(seen);
    tell(status.reason);
}

/// QEMU would stay with it for ever.
QCoro::Task<> QEMUGuest::endFailedGuest()
{
    const auto keepAlive = shared_from_this();
    const QCoro::Task<> end = m_qemu.stop();
    co_await end;
}

void QEMUGuest::tell(const QString &reason)
{
    if (m_changeHandler)
        m_changeHandler(reason);
}
