#include "Virtualization/Backend/VMBackendFactory.h"

#include "Virtualization/Backend/AppleVirtualizationController.h"
#include "Virtualization/Backend/KelvoError.h"

using namespace Qt::StringLiterals;

std::unique_ptr<VMBackendController> VMBackendFactory::makeController(VMBackendType backend)
{
    switch (backend) {
    case VMBackendType::appleVirtualization:
        return std::make_unique<AppleVirtualizationController>();
    case VMBackendType::qemuHVF:
        throw KelvoError::internalError(u"The QEMU backend is not part of this build."_s);
    }
    Q_UNREACHABLE();
}
