#include "Virtualization/Backend/VMBackendFactory.h"

#include "Virtualization/Backend/AppleVirtualizationController.h"
#include "Virtualization/Backend/QEMUBackendController.h"

std::unique_ptr<VMBackendController> VMBackendFactory::makeController(VMBackendType backend)
{
    switch (backend) {
    case VMBackendType::appleVirtualization:
        return std::make_unique<AppleVirtualizationController>();
    case VMBackendType::qemuHVF:
        return std::make_unique<QEMUBackendController>();
    }
    Q_UNREACHABLE();
}
