#include "Models/VMBackendType.h"

#include "Models/RawText.h"

using namespace Qt::StringLiterals;

static constexpr std::array<RawText<VMBackendType>, 2> backends = {{
    {VMBackendType::appleVirtualization, "Apple Virtualization"_L1},
    {VMBackendType::qemuHVF, "QEMU (HVF)"_L1},
}};

QString rawValue(VMBackendType backend)
{
    return rawTextOf(backends, backend);
}

std::optional<VMBackendType> vmBackendTypeFromRawValue(QStringView text)
{
    return fromRawText(backends, text);
}

QString displayName(VMBackendType backend)
{
    return rawValue(backend);
}

VMBackendType recommendedBackend(GuestOperatingSystem guestOS)
{
    return guestOS == GuestOperatingSystem::windows11ARM64 ? VMBackendType::qemuHVF
                                                           : VMBackendType::appleVirtualization;
}
