#pragma once

#include "Models/VirtualMachine.h"
#include "Virtualization/Backend/KelvoError.h"

#include <QPointer>
#include <QScopeGuard>

inline void refuseWhileBusy(const VirtualMachine &vm)
{
    if (vm.operationInProgress())
        throw KelvoError::operationInProgress();
}

/// Marks a machine as busy until the result goes; the machine may go before.
[[nodiscard]] inline auto markBusy(VirtualMachine *vm)
{
    vm->setOperationInProgress(true);
    return qScopeGuard([machine = QPointer(vm)] {
        if (machine)
            machine->setOperationInProgress(false);
    });
}
