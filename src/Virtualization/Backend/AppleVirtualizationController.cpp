#include "Virtualization/Backend/AppleVirtualizationController.h"

#include "Platform/Emulator/KVMProbe.h"
#include "Platform/Hypervisor/VZError.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/KelvoError.h"

#include <QCoroFuture>
#include <QPointer>
#include <QPromise>
#include <QScopeGuard>

using namespace Qt::StringLiterals;

namespace {

void log(const QString &message, LogLevel level = LogLevel::info)
{
    DiagnosticLogger::shared().log(message, level);
}

std::unique_ptr<VZVirtualMachine> makeVirtualMachine(const VZVirtualMachineConfiguration &configuration)
{
    return std::make_unique<VZVirtualMachine>(configuration);
}

} // namespace

/// The busy flag, until the result goes; the controller may go before.
auto AppleVirtualizationController::markBusy()
{
    m_operationInProgress = true;
    return qScopeGuard([self = QPointer(this)] {
        if (self)
            self->m_operationInProgress = false;
    });
}

AppleVirtualizationController::AppleVirtualizationController()
    : AppleVirtualizationController(VMConfigurationBuilder(), &makeVirtualMachine)
{}

AppleVirtualizationController::AppleVirtualizationController(
    const VMConfigurationBuilder &configurationBuilder, const MachineFactory &makeMachine)
    : m_makeMachine(makeMachine)
    , m_configurationBuilder(configurationBuilder)
{}

void AppleVirtualizationController::configure(const VMConfiguration &configuration, VMBuildMode mode,
                                              const std::optional<QUrl> &attachISO)
{
    requireNoGuest();
    configure(m_configurationBuilder.build(configuration, mode, attachISO));
}

void AppleVirtualizationController::configure(const VZVirtualMachineConfiguration &configuration)
{
    requireNoGuest();
    adopt(m_makeMachine(configuration));
}

void AppleVirtualizationController::adopt(std::unique_ptr<VZVirtualMachine> machine)
{
    m_virtualMachine = std::move(machine);
    m_standstill.clear();
    m_virtualMachine->setDelegate(this);
    connect(m_virtualMachine.get(), &VZVirtualMachine::emulatorMessage, this,
            [](const QString &line) { log(line, LogLevel::warning); });
    connect(m_virtualMachine.get(), &VZVirtualMachine::statusSeen, this,
            &AppleVirtualizationController::noteStatus);
}

QCoro::Task<GuestTakeUp> AppleVirtualizationController::takeUp(VMConfiguration configuration)
{
    requireIdle();
    requireNoGuest();
    const QPointer<AppleVirtualizationController> self(this);
    const auto busy = markBusy();
    std::unique_ptr<VZVirtualMachine> machine =
        m_makeMachine(m_configurationBuilder.describeRunning(configuration));
    const QCoro::Task<GuestTakeUp> search = machine->takeUp();
    const GuestTakeUp result = co_await search;
    if (!self || result.outcome != GuestTakeUp::Outcome::takenUp)
        co_return result;
    const bool runs = machine->state() == VZVirtualMachine::State::running;
    adopt(std::move(machine));
    m_standstill = result.reason;
    m_stateMachine.forceSet(runs ? VMState::running : VMState::paused);
    log(u"VM is running already"_s);
    co_return result;
}

/// Another hand may have paused or resumed the guest.
void AppleVirtualizationController::noteStatus(const QString &reason)
{
    const bool isUp = state() == VMState::running || state() == VMState::paused;
    const VMState seen =
        m_virtualMachine->state() == VZVirtualMachine::State::running ? VMState::running : VMState::paused;
    if (!isUp || m_operationInProgress || (seen == state() && reason == m_standstill))
        return;
    m_standstill = reason;
    m_stateMachine.forceSet(seen);
    tellOfUnaskedChange(reason);
}

QCoro::Task<> AppleVirtualizationController::start()
{
    return start(VZVirtualMachineStartOptions());
}

QCoro::Task<> AppleVirtualizationController::start(VZVirtualMachineStartOptions options)
{
    m_startOptions = options;
    return performLifecycleOperation(VMState::running, &AppleVirtualizationController::boot);
}

QCoro::Task<> AppleVirtualizationController::stop()
{
    return performLifecycleOperation(VMState::poweredOff, &AppleVirtualizationController::shutDown);
}

QCoro::Task<> AppleVirtualizationController::performLifecycleOperation(
    VMState targetState, QCoro::Task<> (AppleVirtualizationController::*operation)())
{
    requireIdle();
    const bool isStop = targetState == VMState::poweredOff;
    if (!(isStop ? canStop(state()) : canStart(state())))
        throw VMStateTransitionError::invalidTransition(state(), isStop ? u"stop"_s : u"start"_s);
    m_stateMachine.transition(isStop ? VMState::stopping : VMState::starting);

    const QPointer<AppleVirtualizationController> self(this);
    const auto busy = markBusy();
    std::exception_ptr failure;
    try {
        const QCoro::Task<> body = (this->*operation)();
        co_await body;
        if (self)
            m_stateMachine.transition(targetState);
    } catch (...) {
        failure = std::current_exception();
    }
    if (!failure)
        co_return;
    if (self)
        fail(failure);
    std::rethrow_exception(failure);
}

void AppleVirtualizationController::fail(const std::exception_ptr &failure)
{
    try {
        m_stateMachine.transition(VMState::error);
    } catch (const VMStateTransitionError &) {
        // The guest has come to its own end meanwhile, and that state stays.
    }
    try {
        std::rethrow_exception(failure);
    } catch (...) {
        log(u"VM lifecycle error: "_s + currentExceptionDescription(), LogLevel::error);
    }
}

QCoro::Task<> AppleVirtualizationController::boot()
{
    if (!m_virtualMachine)
        throw KelvoError::configurationInvalid(u"Virtual machine is not configured."_s);
    log(u"Starting VM (Apple Virtualization)"_s);
    if (const KVMOffer host = hostKVM(); !host.isUsable())
        log(u"The guest is emulated, because %1."_s.arg(QString::fromStdString(host.reason())));
    const MachineCall start = [options = m_startOptions](VZVirtualMachine &machine,
                                                         const CompletionHandler &handler) {
        machine.start(options, handler);
    };
    const QCoro::Task<> started = call(start);
    co_await started;
    log(u"VM running"_s);
}

QCoro::Task<> AppleVirtualizationController::shutDown()
{
    if (!m_virtualMachine)
        co_return;
    log(u"Stopping VM (Apple Virtualization)"_s);
    const MachineCall stop = &VZVirtualMachine::stop;
    const QCoro::Task<> stopped = call(stop);
    co_await stopped;
    log(u"VM stopped"_s);
}

QList<pid_t> AppleVirtualizationController::processIdentifiers() const
{
    return m_virtualMachine ? m_virtualMachine->processIdentifiers() : QList<pid_t>();
}

QCoro::Task<> AppleVirtualizationController::requestShutDown()
{
    if (state() != VMState::running)
        throw VMStateTransitionError::invalidTransition(state(), u"shut down"_s);
    requireIdle();
    if (!m_virtualMachine)
        co_return;
    const auto busy = markBusy();
    const MachineCall request = &VZVirtualMachine::requestStop;
    const QCoro::Task<> requested = call(request);
    co_await requested;
    log(u"VM asked to shut down"_s);
}

QCoro::Task<> AppleVirtualizationController::pause()
{
    if (!canPause(state()))
        throw VMStateTransitionError::invalidTransition(state(), u"pause"_s);
    requireIdle();
    if (!m_virtualMachine)
        co_return;
    const auto busy = markBusy();
    m_stateMachine.transition(VMState::paused);
    const MachineCall pause = &VZVirtualMachine::pause;
    const QCoro::Task<> paused = call(pause);
    co_await paused;
    log(u"VM paused"_s);
}

QCoro::Task<> AppleVirtualizationController::resume()
{
    if (!canResume(state()))
        throw VMStateTransitionError::invalidTransition(state(), u"resume"_s);
    requireIdle();
    if (!m_virtualMachine)
        co_return;
    const QPointer<AppleVirtualizationController> self(this);
    const auto busy = markBusy();
    const MachineCall resume = &VZVirtualMachine::resume;
    const QCoro::Task<> resumed = call(resume);
    co_await resumed;
    if (!self)
        co_return;
    m_stateMachine.transition(VMState::running);
    m_standstill.clear();
    log(u"VM resumed"_s);
}

QCoro::Task<> AppleVirtualizationController::call(MachineCall operation)
{
    const auto promise = std::make_shared<QPromise<void>>();
    promise->start();
    const QFuture<void> completion = promise->future();
    operation(*m_virtualMachine, [promise](const std::exception_ptr &error) {
        if (error)
            promise->setException(error);
        promise->finish();
    });
    co_await completion;
}

void AppleVirtualizationController::requireIdle() const
{
    if (m_operationInProgress)
        throw KelvoError::operationInProgress();
}

/// Whatever the state machine says after a failure: a guest without its machine object is out of reach.
void AppleVirtualizationController::requireNoGuest() const
{
    using State = VZVirtualMachine::State;
    const State state = m_virtualMachine ? m_virtualMachine->state() : State::stopped;
    if (state != State::stopped && state != State::error)
        throw KelvoError::internalError(u"This virtual machine is already running."_s);
}

void AppleVirtualizationController::guestDidStop(VZVirtualMachine &)
{
    const auto note = [this] {
        m_stateMachine.forceSet(VMState::poweredOff);
        log(u"Guest stopped"_s);
        tellOfUnaskedChange();
    };
    QMetaObject::invokeMethod(this, note, Qt::QueuedConnection);
}

void AppleVirtualizationController::virtualMachineDidStopWithError(VZVirtualMachine &, const VZError &error)
{
    const auto note = [this, description = error.localizedDescription()] {
        m_stateMachine.forceSet(VMState::error);
        log(u"VM stopped with error: "_s + description, LogLevel::error);
        tellOfUnaskedChange(description);
    };
    QMetaObject::invokeMethod(this, note, Qt::QueuedConnection);
}
