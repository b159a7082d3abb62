#pragma once

#include "Models/GuestOperatingSystem.h"

enum class VMBackendType
{
    appleVirtualization,
    qemuHVF
};

template<>
inline constexpr auto rawTexts<VMBackendType> = std::to_array<CaseText<VMBackendType>>({
    {VMBackendType::appleVirtualization, "Apple Virtualization"},
    {VMBackendType::qemuHVF, "QEMU (HVF)"},
});

[[nodiscard]] constexpr VMBackendType recommendedBackend(GuestOperatingSystem guestOS)
{
    return guestOS == GuestOperatingSystem::windows11ARM64 ? VMBackendType::qemuHVF
                                                           : VMBackendType::appleVirtualization;
}
