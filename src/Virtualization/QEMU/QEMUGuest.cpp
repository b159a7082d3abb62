#include "Virtualization/QEMU/QEMUGuest.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/OwnThread.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/QEMU/UnixSocketConnection.h"

#include <QCoreApplication>
#include <QCoroFuture>
#include <QDeadlineTimer>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The busy flag, for its own lifetime.
class QEMUGuest::BusyMark
{
public:
    explicit BusyMark(QEMUGuest &guest)
        : m_guest(guest)
    {
        m_guest.m_operationInProgress = true;
    }
    BusyMark(const BusyMark &) = delete;
    BusyMark &operator=(const BusyMark &) = delete;
    ~BusyMark() { m_guest.m_operationInProgress = false; }

private:
    QEMUGuest &m_guest;
};

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
        const BusyMark busy(*this);
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
            const QCoro::Task<> swtpmEnded = m_swtpm.stop();
            co_await swtpmEnded;
            cleanupSockets();
        }
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
    const QCoro::Task<> alone = refuseForeignGuest();
    co_await alone;

    const QCoro::Task<> tpm = m_swtpm.start(plan.runtimePaths.tpmDirectory, plan.runtimePaths.tpmSocket,
                                            plan.dependencies.swtpmBinary);
    co_await tpm;
    m_qemu.onTermination([guest = weak_from_this(), launch](qint32) {
        if (const auto living = guest.lock())
            living->noteProcessExit(launch);
    });
    const QCoro::Task<> qemu =
        m_qemu.start(plan.dependencies.qemuBinary, plan.arguments, plan.configuration.storageDirectory);
    co_await qemu;
    const QCoro::Task<> display = waitForVNCPort(m_timeouts.display);
    co_await display;
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
    if (UnixSocketConnection::hasListener(qmpSocket))
        throw KelvoError::internalError(u"This virtual machine is already running outside Kelvo."_s);
}

QCoro::Task<> QEMUGuest::waitForVNCPort(std::chrono::milliseconds timeout)
{
    const qint64 port = m_plan->configuration.vncPort;
    const QDeadlineTimer deadline(timeout);
    std::chrono::milliseconds interval = 5ms; // grows: a fast emulator is there at once
    bool hasExited = false;
    while (!deadline.hasExpired() && !hasExited) {
        const QCoro::Task<bool> probe = isPortOpen(port);
        const bool isOpen = co_await probe;
        if (isOpen && m_qemu.isRunning())
            co_return;
        const QCoro::Task<bool> pause = m_qemu.waitForExit(interval);
        hasExited = co_await pause;
        interval = std::min(2 * interval, m_timeouts.displayPoll);
    }
    throw KelvoError::internalError(u"Timed out waiting for the VM display."_s);
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
    if (m_plan && m_qemu.isRunning()) {
        try {
            const QCoro::Task<> quit = m_plan->qmpClient.quit();
            co_await quit;
        } catch (const std::exception &) {
            // The processes are ended by signal in any case.
        }
    }
    const QCoro::Task<> qemuEnded = m_qemu.stop();
    co_await qemuEnded;
    const QCoro::Task<> swtpmEnded = m_swtpm.stop();
    co_await swtpmEnded;
    cleanupSockets();
    DiagnosticLogger::shared().log(u"QEMU VM stopped"_s, LogLevel::info);
}

QCoro::Task<> QEMUGuest::pause()
{
    if (!canPause(state()))
        throw VMStateTransitionError::invalidTransition(state(), u"pause"_s);
    requireIdle();
    if (!m_plan)
        co_return;
    const auto keepAlive = shared_from_this();
    const BusyMark busy(*this);
    m_stateMachine.transition(VMState::paused);
    const QCoro::Task<> command = m_plan->qmpClient.pause();
    co_await command;
}

QCoro::Task<> QEMUGuest::resume()
{
    if (!canResume(state()))
        throw VMStateTransitionError::invalidTransition(state(), u"resume"_s);
    requireIdle();
    if (!m_plan)
        co_return;
    const auto keepAlive = shared_from_this();
    const BusyMark busy(*this);
    const QCoro::Task<> command = m_plan->qmpClient.resume();
    co_await command;
    m_stateMachine.transition(VMState::running);
}

void QEMUGuest::requireIdle() const
{
    if (m_operationInProgress)
        throw KelvoError::operationInProgress();
}

void QEMUGuest::noteProcessExit(quint64 launch)
{
    m_exitToHandle = launch;
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
    const QCoro::Task<> swtpmEnded = m_swtpm.stop();
    co_await swtpmEnded;
    if (launch != m_launch)
        co_return;
    cleanupSockets();
    if (state() == VMState::stopping || state() == VMState::poweredOff)
        co_return;
    const bool wasUp = state() == VMState::running || state() == VMState::paused;
    m_stateMachine.forceSet(VMState::poweredOff);
    if (wasUp && m_changeHandler)
        m_changeHandler(m_qemu.endReason().value_or(QString()));
}

void QEMUGuest::cleanupSockets()
{
    m_portClaim.reset();
    if (!m_plan)
        return;
    removeSocket(m_plan->runtimePaths.qmpSocket);
    removeSocket(m_plan->runtimePaths.tpmSocket);
}

void QEMUGuest::removeSocket(const QUrl &path)
{
    const QString name = FileUrl::path(path);
    try {
        if (FileManager::defaultManager().fileExists(name) && !UnixSocketConnection::hasListener(name))
            FileManager::defaultManager().removeItem(name);
    } catch (const LocalizedError &) {
        // What is left over is removed before the next start, or makes that fail with its own text.
    }
}
