#pragma once

#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/VMManager.h"

#include <QPointer>

/// Marks a machine as busy for its own lifetime; refuses one that already is.
class VMManager::Operation
{
public:
    explicit Operation(VirtualMachine *vm)
        : m_vm(vm)
    {
        m_vm->setOperationInProgress(true);
    }
    Operation(const Operation &) = delete;
    Operation &operator=(const Operation &) = delete;
    ~Operation()
    {
        if (m_vm)
            m_vm->setOperationInProgress(false);
    }

    static void refuseWhileBusy(const VirtualMachine &vm)
    {
        if (vm.operationInProgress())
            throw KelvoError::operationInProgress();
    }

private:
    QPointer<VirtualMachine> m_vm;
};
