#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/VMBackendController.h"
#include "Virtualization/VMManager.h"
#include "Virtualization/VMManagerOperation.h"

using namespace Qt::StringLiterals;

void VMManager::lookForGuests()
{
    m_guestWatch.noteNews();
    look();
}

void VMManager::look()
{
    for (VirtualMachine *vm : std::as_const(m_virtualMachines))
        if (!isInUse(*vm) && GuestWatch::hasTraces(vm->configuration()))
            QCoro::connect(takeUp(vm), this, [](const GuestTakeUp &) {});
}

/// Tells of a failure in the log alone.
QCoro::Task<GuestTakeUp> VMManager::takeUp(VirtualMachine *vm)
{
    const QPointer<VMManager> self(this);
    const QPointer<VirtualMachine> machine(vm);
    const QString name = vm->name();
    const auto busy = markBusy(vm);
    VMBackendController &backend = controller(*vm);
    GuestTakeUp found;
    try {
        const QCoro::Task<GuestTakeUp> search = backend.takeUp(vm->configuration());
        found = co_await search;
    } catch (const LocalizedError &error) {
        const QString message = u"Could not look for the guest of %1: %2"_s;
        DiagnosticLogger::shared().log(message.arg(name, error.localizedDescription()), LogLevel::warning);
        co_return found;
    }
    if (!self || !machine)
        co_return found;
    if (found.outcome == GuestTakeUp::Outcome::undecided)
        m_guestWatch.lookAgainSoon();
    if (!found.reason.isEmpty())
        machine->setLastError(found.reason);
    if (found.outcome != GuestTakeUp::Outcome::takenUp)
        co_return found;
    if (found.reason.isEmpty())
        machine->setLastError(std::nullopt);
    setState(machine, backend.state());
    if (!m_activeController)
        setActive(&backend, machine->id());
    co_return found;
}

/// Throws KelvoError while somebody else is just starting or ending its guest.
QCoro::Task<> VMManager::takeUpBeforeStart(VirtualMachine *vm)
{
    if (isInUse(*vm) || !GuestWatch::hasTraces(vm->configuration()))
        co_return;
    const QCoro::Task<GuestTakeUp> search = takeUp(vm);
    const GuestTakeUp found = co_await search;
    if (found.outcome == GuestTakeUp::Outcome::undecided)
        throw KelvoError::internalError(u"Another application is just starting or stopping this machine."_s);
}
