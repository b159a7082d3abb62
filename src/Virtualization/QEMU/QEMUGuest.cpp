#include "Virtualization/QEMU/QEMUGuest.h"

#include "Platform/Emulator/EmulatorLog.h"
#include "Platform/FileLock.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/OwnThread.h"
#include "Platform/PlatformError.h"
#include "Platform/UnixSocket.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/KelvoError.h"

#include <QCoreApplication>
#include <QCoroFuture>
#include <QCoroTimer>
#include <QDeadlineTimer>
#include <QScopedValueRollback>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

QEMUGuest::QEMUGuest(const QEMUTimeouts &timeouts)
    : m_timeouts(timeouts)
    , m_swtpm(timeouts.swtpm)
    , m_qemu(timeouts.grace)
{}

QCoro::Task<> QEMUGuest::start()
{
    const auto keepAlive = shared_from_this();
    if (!m_plan)
        throw KelvoError::configurationInvalid(u"QEMU backend is not configured."_s);
    const QCoro::Task<> operation = performLifecycleOperation(VMState::running, &QEMUGuest::boot);
    co_await operation;
}

QCoro::Task<> QEMUGuest::stop()
{
    const auto keepAlive = shared_from_this();
    const QCoro::Task<> operation = performLifecycleOperation(VMState::poweredOff, &QEMUGuest::shutDown);
    co_await operation;
}

QCoro::Task<> QEMUGuest::performLifecycleOperation(VMState targetState, Operation operation)
{
    requireIdle();
    if (targetState == VMState::poweredOff) {
        if (!canStop(state()))
            throw VMStateTransitionError::invalidTransition(state(), u"stop"_s);
        m_stateMachine.transition(VMState::stopping);
    } else {
        if (!canStart(state()))
            throw VMStateTransitionError::invalidTransition(state(), u"start"_s);
        m_stateMachine.transition(VMState::starting);
    }

    const auto keepAlive = shared_from_this();
    std::exception_ptr failure;
    {
        const QScopedValueRollback busy(m_operationInProgress, true);
        try {
            const QCoro::Task<> task = (this->*operation)();
            co_await task;
            m_stateMachine.transition(targetState);
        } catch (...) {
            failure = std::current_exception();
        }
        if (failure) {
            const QCoro::Task<> qemuEnded = m_qemu.forceStop();
            co_await qemuEnded;
            const QCoro::Task<> cleared = clearAway();
            co_await cleared;
        }
        m_lock.reset();
    }
    scheduleProcessExit();
    if (!failure)
        co_return;
    try {
        std::rethrow_exception(failure);
    } catch (...) {
        if (state() == VMState::starting || state() == VMState::stopping)
            m_stateMachine.transition(VMState::error);
        DiagnosticLogger::shared().log(u"QEMU lifecycle error: "_s + currentExceptionDescription(),
                                       LogLevel::error);
        throw;
    }
}

QCoro::Task<> QEMUGuest::boot()
{
    const QEMULaunchPlan plan = *m_plan;
    const quint64 launch = ++m_launch;
    m_exitToHandle.reset();
    m_failure.clear();
    const QCoro::Task<> alone = refuseForeignGuest();
    co_await alone;

    const QCoro::Task<> tpm = m_swtpm.start(plan.runtimePaths.tpmDirectory, plan.runtimePaths.tpmSocket,
                                            plan.dependencies.swtpmBinary);
    co_await tpm;
    m_qemu.onTermination([guest = weak_from_this(), launch](qint32) {
        if (const auto living = guest.lock())
            living->noteProcessExit(launch);
    });
    const QCoro::Task<> qemu = m_qemu.start(plan.dependencies.qemuBinary, plan.arguments,
                                            plan.configuration.storageDirectory, {m_lock.get()});
    co_await qemu;
    const QCoro::Task<> display = waitForVNCPort(m_timeouts.display);
    co_await display;
    if (plan.configuration.networkMode == VMNetworkMode::disconnected) {
        // The command line always connects it; the firmware has not looked yet.
        const QCoro::Task<> disconnection = plan.qmpClient.disconnectNetwork(u"net0"_s);
        co_await disconnection;
    }
    follow();
    DiagnosticLogger::shared().log(
        u"QEMU VM running on VNC port "_s + QString::number(plan.configuration.vncPort), LogLevel::info);
}

/// Nothing has been launched yet: who answers here is not ours, and its screen must never be shown.
QCoro::Task<> QEMUGuest::refuseForeignGuest()
{
    const qint64 port = m_plan->configuration.vncPort;
    const QString qmpSocket = FileUrl::path(m_plan->runtimePaths.qmpSocket);
    m_portClaim.reset();
    m_portClaim = LoopbackPort::Claim::make(port);
    const QCoro::Task<bool> probe = isPortOpen(port);
    const bool isOpen = co_await probe;
    if (isOpen || !m_portClaim)
        throw KelvoError::internalError(u"VNC port %1 is already in use."_s.arg(port));
    m_lock = takeLock();
    // Others have it for a moment while they clear away.
    for (int left = 40; !m_lock.isValid() && left > 0 && !UnixSocket::hasListener(qmpSocket); --left) {
        co_await QCoro::sleepFor(50ms);
        m_lock = takeLock();
    }
    if (!m_lock.isValid() || UnixSocket::hasListener(qmpSocket))
        throw KelvoError::internalError(u"This virtual machine is already running outside Kelvo."_s);
}

/// Whoever has it may start the machine's guest, has one, or may clear away what one has left.
UniqueDescriptor QEMUGuest::takeLock() const
{
    try {
        return FileLock::take(FileUrl::path(m_plan->runtimePaths.uefiVars));
    } catch (const PlatformError &) {
        return {}; // the machine was moved, or never started
    }
}

QCoro::Task<> QEMUGuest::waitForVNCPort(std::chrono::milliseconds timeout)
{
    const qint64 port = m_plan->configuration.vncPort;
    const QString controlSocket = FileUrl::path(m_plan->runtimePaths.qmpSocket);
    QDeadlineTimer deadline(timeout);
    std::chrono::milliseconds interval = 5ms; // grows: a fast emulator is there at once
    bool hasBegun = false;
    bool hasExited = false;
    while (!deadline.hasExpired() && !hasExited) {
        // What the host adapter asks before it becomes the emulator is not counted.
        if (!hasBegun &&
            FileManager::defaultManager().kindOf(controlSocket) == FileManager::FileKind::socket) {
            hasBegun = true;
            deadline.setRemainingTime(timeout);
        }
        const QCoro::Task<bool> probe = isPortOpen(port);
        const bool isOpen = co_await probe;
        if (isOpen && m_qemu.isRunning())
            co_return;
        const QCoro::Task<bool> pause = m_qemu.waitForExit(interval);
        hasExited = co_await pause;
        interval = std::min(2 * interval, m_timeouts.displayPoll);
    }
    const QString lastWords = m_qemu.endReason(m_plan->runtimePaths.qmpSocket).value_or(QString());
    throw KelvoError::internalError(u"Timed out waiting for the VM display."_s +
                                    (lastWords.isEmpty() ? QString() : u' ' + lastWords));
}

QCoro::Task<bool> QEMUGuest::isPortOpen(qint64 port)
{
    const auto work = [port] {
        return LoopbackPort::isOpen(port);
    };
    const QFuture<bool> answer = runOnOwnThread(work);
    const bool isOpen = co_await answer;
    co_return isOpen;
}

QCoro::Task<> QEMUGuest::shutDown()
{
    m_poll.reset();
    if (m_plan && m_qemu.isRunning()) {
        try {
            const QCoro::Task<> quit = m_plan->qmpClient.quit();
            co_await quit;
            // A signal meanwhile would look like somebody else's to those who watch.
            const QCoro::Task<bool> end =
                m_qemu.waitForExit(std::min<std::chrono::milliseconds>(m_timeouts.grace, 2s));
            co_await end;
        } catch (const std::exception &) {
            // The processes are ended by signal in any case.
        }
    }
    const QCoro::Task<> qemuEnded = m_qemu.stop();
    co_await qemuEnded;
    const QCoro::Task<> cleared = clearAway();
    co_await cleared;
    DiagnosticLogger::shared().log(u"QEMU VM stopped"_s, LogLevel::info);
}

QList<pid_t> QEMUGuest::processIdentifiers() const
{
    return m_qemu.processIdentifiers() + m_swtpm.processIdentifiers();
}

QCoro::Task<> QEMUGuest::requestShutDown()
{
    if (state() != VMState::running)
        throw VMStateTransitionError::invalidTransition(state(), u"shut down"_s);
    requireIdle();
    if (!m_plan)
        co_return;
    const auto keepAlive = shared_from_this();
    const QScopedValueRollback busy(m_operationInProgress, true);
    const QCoro::Task<> command = m_plan->qmpClient.powerDown();
    co_await command;
}

QCoro::Task<> QEMUGuest::pause()
{
    if (!canPause(state()))
        throw VMStateTransitionError::invalidTransition(state(), u"pause"_s);
    requireIdle();
    if (!m_plan)
        co_return;
    const auto keepAlive = shared_from_this();
    const QScopedValueRollback busy(m_operationInProgress, true);
    m_stateMachine.transition(VMState::paused);
    const QCoro::Task<> command = m_plan->qmpClient.pause();
    co_await command;
    if (m_poll)
        m_poll->restart(); // an answer that is on its way is older
}

QCoro::Task<> QEMUGuest::resume()
{
    if (!canResume(state()))
        throw VMStateTransitionError::invalidTransition(state(), u"resume"_s);
    requireIdle();
    if (!m_plan)
        co_return;
    const auto keepAlive = shared_from_this();
    const QScopedValueRollback busy(m_operationInProgress, true);
    const QCoro::Task<> command = m_plan->qmpClient.resume();
    co_await command;
    m_stateMachine.transition(VMState::running);
    m_standstill.clear();
    if (m_poll)
        m_poll->restart();
}

void QEMUGuest::requireIdle() const
{
    if (m_operationInProgress)
        throw KelvoError::operationInProgress();
}

void QEMUGuest::noteProcessExit(quint64 launch)
{
    if (launch != m_launch)
        return;
    m_exitToHandle = launch;
    m_poll.reset();
    // A start that is under way ends by itself and cleans up after itself; the state is settled after that.
    if (state() != VMState::starting)
        scheduleProcessExit();
}

void QEMUGuest::scheduleProcessExit()
{
    if (!m_exitToHandle)
        return;
    const auto handle = [guest = weak_from_this(), launch = *m_exitToHandle] {
        if (const auto living = guest.lock())
            QCoro::connect(living->handleProcessExit(launch), qApp, [] {});
    };
    m_exitToHandle.reset();
    QMetaObject::invokeMethod(qApp, handle, Qt::QueuedConnection);
}

QCoro::Task<> QEMUGuest::handleProcessExit(quint64 launch)
{
    const auto keepAlive = shared_from_this();
    if (launch != m_launch)
        co_return;
    if (m_qemu.hasEndedUnwatched())
        co_await QCoro::sleepFor(EmulatorLog::timeout);
    if (launch != m_launch)
        co_return;
    const QString reason = m_failure.isEmpty()
                               ? m_qemu.endReason(m_plan->runtimePaths.qmpSocket).value_or(QString())
                               : m_failure;
    const QCoro::Task<> cleared = clearAway();
    co_await cleared;
    if (launch != m_launch)
        co_return;
    if (state() == VMState::stopping || state() == VMState::poweredOff)
        co_return;
    const bool wasUp = state() == VMState::running || state() == VMState::paused;
    m_stateMachine.forceSet(m_failure.isEmpty() ? VMState::poweredOff : VMState::error);
    if (wasUp)
        tell(reason);
}

/// Ends the guest's TPM emulator, whoever has started it, and removes the sockets, unless the next guest is
/// on its way elsewhere.
QCoro::Task<> QEMUGuest::clearAway()
{
    m_portClaim.reset();
    const QCoro::Task<> ours = m_swtpm.stop();
    co_await ours;
    if (!m_plan)
        co_return;
    if (!m_lock.isValid())
        m_lock = takeLock();
    if (!m_lock.isValid())
        co_return;
    if (m_swtpm.takeUp(m_plan->runtimePaths.tpmSocket)) {
        const QCoro::Task<> others = m_swtpm.stop();
        co_await others;
    }
    removeSocket(m_plan->runtimePaths.qmpSocket);
    removeSocket(m_plan->runtimePaths.tpmSocket);
    m_lock.reset();
}

void QEMUGuest::removeSocket(const QUrl &path)
{
    const QString name = FileUrl::path(path);
    try {
        if (FileManager::defaultManager().fileExists(name) && !UnixSocket::hasListener(name))
            FileManager::defaultManager().removeItem(name);
    } catch (const LocalizedError &) {
        // What is left over is removed before the next start, or makes that fail with its own text.
    }
}
