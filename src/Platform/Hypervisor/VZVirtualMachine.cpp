#include "Platform/Hypervisor/VZVirtualMachine.h"

#include "Platform/Emulator/EmulatorEnd.h"
#include "Platform/Emulator/QMPError.h"
#include "Platform/FileUrl.h"
#include "Platform/Hypervisor/EmulatorInstallation.h"
#include "Platform/Hypervisor/EmulatorSession.h"
#include "Platform/Hypervisor/VZError.h"

#include <QCoreApplication>
#include <QCoroFuture>
#include <QFileInfo>
#include <QPointer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::milliseconds takeUpTimeout = std::chrono::seconds(5);

/// Runs an operation and says how it ended, never before its caller has gone on.
QCoro::Task<> complete(QCoro::Task<> operation, VZVirtualMachine::CompletionHandler handler)
{
    std::exception_ptr error;
    try {
        co_await operation;
    } catch (...) {
        error = std::current_exception();
    }
    QMetaObject::invokeMethod(
        qApp, [handler, error] { handler(error); }, Qt::QueuedConnection);
}

void run(QCoro::Task<> operation, const VZVirtualMachine::CompletionHandler &handler)
{
    QCoro::connect(complete(std::move(operation), handler), qApp, [] {});
}

[[noreturn]] void throwGone()
{
    throw VZError(u"The virtual machine is gone."_s);
}

} // namespace

bool VZVirtualMachine::isSupported()
{
    return EmulatorInstallation::find().has_value();
}

VZVirtualMachine::VZVirtualMachine(const VZVirtualMachineConfiguration &configuration, QObject *parent)
    : QObject(parent)
    , m_configuration(configuration)
{}

VZVirtualMachine::~VZVirtualMachine()
{
    if (m_session && m_state == State::starting)
        m_session->kill();
}

void VZVirtualMachine::start(const VZVirtualMachineStartOptions &, const CompletionHandler &handler)
{
    run(performStart(), handler);
}

void VZVirtualMachine::stop(const CompletionHandler &handler)
{
    run(performStop(), handler);
}

void VZVirtualMachine::requestStop(const CompletionHandler &handler)
{
    run(performRequestStop(), handler);
}

void VZVirtualMachine::pause(const CompletionHandler &handler)
{
    run(performPause(), handler);
}

void VZVirtualMachine::resume(const CompletionHandler &handler)
{
    run(performResume(), handler);
}

QList<pid_t> VZVirtualMachine::processIdentifiers() const
{
    return m_session ? m_session->processIdentifiers() : QList<pid_t>();
}

UniqueDescriptor VZVirtualMachine::openDisplay()
{
    requireState({State::running, State::paused, State::pausing, State::resuming}, u"shown"_s);
    return m_session->openDisplay();
}

QCoro::Task<> VZVirtualMachine::performStart()
{
    requireState({State::stopped, State::error}, u"started"_s);
    const QPointer<VZVirtualMachine> self(this);
    m_configuration.validate();
    const auto session = std::make_shared<EmulatorSession>(m_configuration);
    adopt(session);
    setState(State::starting);
    try {
        const QCoro::Task<> boot = session->boot();
        co_await boot;
    } catch (...) {
        if (self) {
            m_session.reset();
            setState(State::stopped);
        }
        throw;
    }
    if (!self)
        throwGone();
    setState(State::running);
    if (self && session->hasEnded())
        QMetaObject::invokeMethod(this, &VZVirtualMachine::handleEnd, Qt::QueuedConnection);
}

QCoro::Task<> VZVirtualMachine::performStop()
{
    requireState({State::running, State::paused}, u"stopped"_s);
    const QPointer<VZVirtualMachine> self(this);
    const auto session = m_session;
    setState(State::stopping);
    const QCoro::Task<> end = session->quit();
    co_await end;
    if (!self)
        throwGone();
    m_session.reset();
    setState(State::stopped);
}

QCoro::Task<> VZVirtualMachine::performRequestStop()
{
    requireState({State::running}, u"asked to stop"_s);
    const auto session = m_session;
    const QCoro::Task<> request = session->requestStop();
    co_await request;
}

QCoro::Task<> VZVirtualMachine::performPause()
{
    requireState({State::running}, u"paused"_s);
    const QPointer<VZVirtualMachine> self(this);
    const auto session = m_session;
    setState(State::pausing);
    std::exception_ptr failure;
    try {
        const QCoro::Task<> pause = session->pause();
        co_await pause;
    } catch (...) {
        failure = std::current_exception();
    }
    if (self && m_state == State::pausing)
        setState(failure ? State::running : State::paused);
    if (failure)
        std::rethrow_exception(failure);
}

QCoro::Task<> VZVirtualMachine::performResume()
{
    requireState({State::paused, State::running}, u"resumed"_s);
    const QPointer<VZVirtualMachine> self(this);
    const auto session = m_session;
    setState(State::resuming);
    std::exception_ptr failure;
    try {
        const QCoro::Task<> resume = session->resume();
        co_await resume;
    } catch (...) {
        failure = std::current_exception();
    }
    if (self && m_state == State::resuming)
        setState(failure ? State::paused : State::running);
    if (failure)
        std::rethrow_exception(failure);
}

void VZVirtualMachine::requireState(std::initializer_list<State> allowed, const QString &action) const
{
    if (std::ranges::find(allowed, m_state) == allowed.end()) {
        throw VZError(u"The virtual machine cannot be %1 now."_s.arg(action));
    }
}

void VZVirtualMachine::setState(State state)
{
    if (m_state == state)
        return;
    m_state = state;
    Q_EMIT stateChanged();
}

QCoro::Task<GuestTakeUp> VZVirtualMachine::takeUp()
{
    requireState({State::stopped, State::error}, u"taken up"_s);
    const QPointer<VZVirtualMachine> self(this);
    const QString socket = FileUrl::path(m_configuration.controlSocket);
    GuestTakeUp result{GuestTakeUp::Outcome::undecided, {}};
    try {
        const QCoro::Task<std::optional<RunningEmulator>> search =
            RunningEmulator::find(socket, takeUpTimeout);
        std::optional<RunningEmulator> emulator = co_await search;
        if (self && emulator) {
            const QCoro::Task<GuestTakeUp> step = takeUp(*std::move(emulator));
            result = co_await step;
        } else if (self && !UnixSocket::hasListener(socket)) {
            result.outcome = GuestTakeUp::Outcome::noGuest;
            const QString store = m_configuration.bootLoader
                                      ? FileUrl::path(m_configuration.bootLoader->variableStore->url())
                                      : QString();
            if (EmulatorSession::removeSocket(store, socket))
                result.reason = EmulatorEnd::unwatchedReason(QFileInfo(store).path());
        }
    } catch (const QMPError &) {
        // Others hold the conversation.
    }
    co_return result;
}

QCoro::Task<GuestTakeUp> VZVirtualMachine::takeUp(RunningEmulator emulator)
{
    const QPointer<VZVirtualMachine> self(this);
    const std::shared_ptr<QMPChannel> channel = emulator.channel;
    EmulatorStatus status{EmulatorStatus::Guest::running, u"The emulator does not answer."_s};
    try {
        const QFuture<QJsonValue> askedWho = channel->execute(u"query-uuid"_s);
        const QJsonValue who = co_await askedWho;
        const QCoro::Task<EmulatorStatus> asked = EmulatorStatus::ask(channel);
        status = co_await asked;
        const QUuid identity(who["UUID"_L1].toString());
        if (self && m_configuration.platform &&
            identity != m_configuration.platform->machineIdentifier->uuid())
            co_return GuestTakeUp();
    } catch (const QMPError &error) {
        if (error.errorCase() != QMPError::Case::silent) // which can still be stopped
            co_return GuestTakeUp{GuestTakeUp::Outcome::undecided, {}};
    }
    // One whose launcher has died before it ran would never begin.
    const bool isStarting = status.guest == EmulatorStatus::Guest::starting && emulator.hasLauncher();
    if (!self || isStarting)
        co_return GuestTakeUp{GuestTakeUp::Outcome::undecided, {}};
    adopt(std::make_shared<EmulatorSession>(m_configuration, emulator.takeProcess()));
    setState(status.guest == EmulatorStatus::Guest::running ? State::running : State::paused);
    co_return GuestTakeUp{GuestTakeUp::Outcome::takenUp, status.reason};
}

void VZVirtualMachine::adopt(const std::shared_ptr<EmulatorSession> &session)
{
    m_session = session;
    connect(session.get(), &EmulatorSession::message, this, &VZVirtualMachine::emulatorMessage);
    connect(session.get(), &EmulatorSession::statusSeen, this, &VZVirtualMachine::noteStatus);
    connect(session.get(), &EmulatorSession::ended, this, &VZVirtualMachine::handleEnd);
}

/// Another hand may have paused or resumed it.
void VZVirtualMachine::noteStatus(const EmulatorStatus &status)
{
    if (m_state != State::running && m_state != State::paused)
        return;
    const QPointer<VZVirtualMachine> self(this);
    setState(status.guest == EmulatorStatus::Guest::running ? State::running : State::paused);
    if (self)
        Q_EMIT statusSeen(status.reason);
}

void VZVirtualMachine::handleEnd()
{
    if (m_state == State::starting || m_state == State::stopping || !m_session)
        return; // the operation that is under way ends with it
    const std::shared_ptr<EmulatorSession> session = std::exchange(m_session, nullptr);
    // It is what calls us.
    QMetaObject::invokeMethod(
        qApp, [session] {}, Qt::QueuedConnection);
    const QPointer<VZVirtualMachine> self(this);
    const std::optional<QString> reason = session->endReason();
    setState(reason ? State::error : State::stopped);
    if (!self || !m_delegate)
        return;
    if (reason)
        m_delegate->virtualMachineDidStopWithError(*this, VZError(*reason));
    else
        m_delegate->guestDidStop(*this);
}
