#pragma once

#include "Models/StoredEnumeration.h"

enum class GuestOperatingSystem
{
    windows11ARM64,
    linuxARM64,
    otherARM64
};

template<>
inline constexpr auto rawTexts<GuestOperatingSystem> = std::to_array<CaseText<GuestOperatingSystem>>({
    {GuestOperatingSystem::windows11ARM64, "Windows 11 ARM64"},
    {GuestOperatingSystem::linuxARM64, "Linux ARM64"},
    {GuestOperatingSystem::otherARM64, "Other ARM64 OS"},
});

/// The same for every guest.
[[nodiscard]] inline QString architecture(GuestOperatingSystem)
{
    return QStringLiteral("ARM64");
}
