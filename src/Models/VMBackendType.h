#pragma once

#include "Models/GuestOperatingSystem.h"

enum class VMBackendType
{
    appleVirtualization,
    qemuHVF
};

inline constexpr std::array allVMBackendTypes = {VMBackendType::appleVirtualization, VMBackendType::qemuHVF};

/// The stored form, which is also the name shown to people.
[[nodiscard]] QString rawValue(VMBackendType backend);
[[nodiscard]] std::optional<VMBackendType> vmBackendTypeFromRawValue(QStringView text);
[[nodiscard]] QString displayName(VMBackendType backend);
[[nodiscard]] VMBackendType recommendedBackend(GuestOperatingSystem guestOS);
