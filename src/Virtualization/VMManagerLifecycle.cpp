#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/Backend/VMBackendController.h"
#include "Virtualization/VMManager.h"
#include "Virtualization/VMManagerOperation.h"

#include <QTimer>

using namespace Qt::StringLiterals;

namespace {

constexpr std::chrono::seconds installersFirstMoments(60);

QDateTime now()
{
    return QDateTime::currentDateTimeUtc();
}

} // namespace

void VMManager::setState(VirtualMachine *vm, VMState state)
{
    if (vm->state() == state)
        return;
    vm->setState(state);
    Q_EMIT machineStateChanged(vm);
}

/// The state of a guest that the machine's controller has, which a start would put out of everybody's reach.
std::optional<VMState> VMManager::guestState(const QUuid &id) const
{
    const auto found = m_controllers.find(id);
    if (found == m_controllers.end())
        return std::nullopt;
    const VMState state = found->second->state();
    if (state == VMState::poweredOff || state == VMState::suspended || state == VMState::error)
        return std::nullopt;
    return state;
}

bool VMManager::isInUse(const VirtualMachine &vm) const
{
    return vm.operationInProgress() || guestState(vm.id());
}

void VMManager::refuseWhileGuestLives(VirtualMachine &vm)
{
    const std::optional<VMState> state = guestState(vm.id());
    if (!state)
        return;
    setState(&vm, *state);
    throw VMStateTransitionError::invalidTransition(*state, u"start"_s);
}

/// Before the machine's other files are touched. A copy gets documents of its own.
void VMManager::requireOwnDocuments(const VirtualMachine &vm)
{
    if (m_library.isUnsavedCopy(vm.configuration()))
        m_library.save(vm.configuration(), m_metadataByVMID.value(vm.id()));
    else
        m_library.requireOwnDocument(vm.configuration());
}

/// Of the exception that is being handled. A guest that goes on all the same stays at hand.
void VMManager::recordFailure(VirtualMachine *vm)
{
    const QString description = currentExceptionDescription();
    setState(vm, guestState(vm->id()).value_or(VMState::error));
    vm->setLastError(description);
}

QCoro::Task<> VMManager::start(VirtualMachine *vm, std::optional<QUrl> attachISO)
{
    refuseWhileBusy(*vm);
    const QPointer<VMManager> self(this);
    const QPointer<VirtualMachine> machine(vm);
    const bool hadGuest = guestState(vm->id()).has_value();
    const QCoro::Task<> found = takeUpBeforeStart(vm);
    co_await found;
    if (!self || !machine || (!hadGuest && !attachISO && guestState(vm->id()) == VMState::running))
        co_return;
    if (!attachISO && guestState(vm->id()) == VMState::paused) {
        const QCoro::Task<> resumed = resume(vm);
        co_await resumed;
        co_return;
    }
    refuseWhileGuestLives(*vm);
    takeOverChanges(*vm);
    if (vm->installationState() != VMInstallationState::completed && attachISO)
        throw KelvoError::configurationInvalid(u"Use Install to boot from installation media."_s);
    validateBackendAvailability(vm->configuration());
    requireOwnDocuments(*vm);

    const auto busy = markBusy(vm);
    VMBackendController &backend = controller(*vm);
    setState(vm, VMState::starting);
    vm->setLastError(std::nullopt);
    try {
        backend.configure(vm->configuration(), VMBuildMode::normalBoot, attachISO);
        const QCoro::Task<> start = backend.start();
        co_await start;
        if (!self || !machine)
            co_return;
        setState(machine, backend.state());
        noteLaunch(machine, backend);
        updateMetadata(*machine, [](VMPersistedMetadata &metadata) { metadata.lastBootedAt = now(); });
    } catch (...) {
        if (self && machine)
            recordFailure(machine);
        throw;
    }
}

QCoro::Task<> VMManager::stop(VirtualMachine *vm)
{
    refuseWhileBusy(*vm);
    const QPointer<VMManager> self(this);
    const QPointer<VirtualMachine> machine(vm);
    const auto busy = markBusy(vm);
    VMBackendController &backend = controller(*vm);
    setState(vm, VMState::stopping);
    try {
        const QCoro::Task<> stop = backend.stop();
        co_await stop;
    } catch (...) {
        if (self && machine && backend.state() == VMState::poweredOff)
            setState(machine, VMState::poweredOff); // the guest was quicker
        else if (self && machine)
            recordFailure(machine);
        throw;
    }
    if (!self || !machine)
        co_return;
    setState(machine, backend.state());
    if (m_activeVMID == machine->id())
        setActive(nullptr, std::nullopt);
}

void VMManager::noteLaunch(VirtualMachine *vm, VMBackendController &backend)
{
    setActive(&backend, vm->id());
    m_guestWatch.announceStart();
    Q_EMIT guestLaunched(vm, backend.processIdentifiers());
}

bool VMManager::mayLoseWork(const VirtualMachine &vm) const
{
    if (vm.state() != VMState::running && vm.state() != VMState::paused)
        return false;
    if (vm.installationState() != VMInstallationState::inProgress)
        return true;
    const std::optional<QDateTime> boot = m_metadataByVMID.value(vm.id()).lastBootedAt;
    const QDateTime moment = now();
    return !boot || *boot > moment || *boot < moment.addSecs(-installersFirstMoments.count());
}

QCoro::Task<> VMManager::requestShutDown(VirtualMachine *vm)
{
    const QPointer<VMManager> self(this);
    const QPointer<VirtualMachine> machine(vm);
    const QCoro::Task<> request = performOnController(vm, &VMBackendController::requestShutDown);
    co_await request;
    if (self && machine && machine->state() == VMState::running && !machine->isShuttingDown())
        waitForShutDown(machine);
}

void VMManager::waitForShutDown(VirtualMachine *vm)
{
    vm->setShuttingDown(true);
    auto *timer = new QTimer(vm);
    timer->setSingleShot(true);
    connect(vm, &VirtualMachine::changed, timer, [vm, timer] {
        if (vm->isShuttingDown())
            return;
        timer->stop();
        timer->deleteLater();
    });
    connect(timer, &QTimer::timeout, this, [this, vm] {
        vm->setShuttingDown(false);
        Q_EMIT shutDownOverdue(vm);
    });
    timer->start(m_shutDownTimeout);
}

QCoro::Task<> VMManager::pause(VirtualMachine *vm)
{
    return performOnController(vm, &VMBackendController::pause);
}

QCoro::Task<> VMManager::resume(VirtualMachine *vm)
{
    return performOnController(vm, &VMBackendController::resume);
}

QCoro::Task<> VMManager::performOnController(VirtualMachine *vm, ControllerOperation operation)
{
    refuseWhileBusy(*vm);
    const QPointer<VMManager> self(this);
    const QPointer<VirtualMachine> machine(vm);
    const auto busy = markBusy(vm);
    VMBackendController &backend = controller(*vm);
    try {
        const QCoro::Task<> task = (backend.*operation)();
        co_await task;
    } catch (...) {
        if (self && machine)
            setState(machine, backend.state()); // the guest may have ended
        throw;
    }
    if (!self || !machine)
        co_return;
    setState(machine, backend.state());
    if (backend.state() == VMState::running)
        machine->setLastError(std::nullopt);
}

QCoro::Task<> VMManager::beginInstallation(VirtualMachine *vm, std::optional<QUrl> isoURL)
{
    refuseWhileBusy(*vm);
    const QPointer<VMManager> self(this);
    const QPointer<VirtualMachine> machine(vm);
    const QCoro::Task<> found = takeUpBeforeStart(vm);
    co_await found;
    if (!self || !machine)
        co_return;
    refuseWhileGuestLives(*vm);
    takeOverChanges(*vm);
    if (vm->installationState() == VMInstallationState::completed)
        throw KelvoError::configurationInvalid(u"This virtual machine is already installed."_s);
    validateBackendAvailability(vm->configuration());
    requireOwnDocuments(*vm);

    const auto busy = markBusy(vm);
    const QUrl image = m_installer.resolveISO(vm->configuration(), isoURL);
    VMBackendController &backend = controller(*vm);
    setState(vm, VMState::starting);
    vm->setLastError(std::nullopt);
    vm->setInstallationState(VMInstallationState::inProgress);
    try {
        const QCoro::Task<> installation = bootInstaller(vm->configuration(), image, backend);
        co_await installation;
        if (!self || !machine)
            co_return;
        setState(machine, backend.state());
        noteLaunch(machine, backend);
        updateMetadata(*machine, [](VMPersistedMetadata &metadata) {
            metadata.installationState = VMInstallationState::inProgress;
            metadata.lastBootedAt = now();
        });
    } catch (...) {
        if (self && machine) {
            recordFailure(machine);
            if (!guestState(machine->id()))
                machine->setInstallationState(VMInstallationState::ready);
        }
        throw;
    }
    DiagnosticLogger::shared().log(u"Started installation for "_s + machine->name(), LogLevel::info);
}

QCoro::Task<> VMManager::bootInstaller(VMConfiguration configuration, QUrl image,
                                       VMBackendController &backend)
{
    if (backend.backendType() == VMBackendType::appleVirtualization) {
        const QCoro::Task<> installation = m_installer.beginInstallation(configuration, image, backend);
        co_await installation;
    } else {
        backend.configure(configuration, VMBuildMode::installation, image);
        const QCoro::Task<> start = backend.start();
        co_await start;
    }
}

void VMManager::completeInstallation(VirtualMachine &vm)
{
    if (vm.state() != VMState::poweredOff)
        throw KelvoError::configurationInvalid(
            u"Stop the virtual machine before marking installation complete."_s);
    vm.setInstallationState(VMInstallationState::completed);
    updateMetadata(vm, [](VMPersistedMetadata &metadata) {
        metadata.installationState = VMInstallationState::completed;
        metadata.installationCompletedAt = now();
    });
    DiagnosticLogger::shared().log(u"Marked installation complete for "_s + vm.name(), LogLevel::info);
}

void VMManager::noteUnaskedChange(const QUuid &id, const QString &reason)
{
    VirtualMachine *vm = virtualMachine(id);
    const auto found = m_controllers.find(id);
    if (!vm || found == m_controllers.end())
        return;
    const VMState state = found->second->state();
    const bool wasAsked = vm->isShuttingDown();
    if (!reason.isEmpty())
        vm->setLastError(reason);
    else if (state == VMState::running)
        vm->setLastError(std::nullopt); // another hand has resumed it
    if (!vm->operationInProgress()) {   // whose end reads the state
        setState(vm, state);
        if (!reason.isEmpty() || state == VMState::poweredOff)
            Q_EMIT guestStoodStill(vm, reason, wasAsked);
    }
    if (!guestState(id))
        m_guestWatch.lookAgainSoon(); // it may have been started again before its end was seen
}
