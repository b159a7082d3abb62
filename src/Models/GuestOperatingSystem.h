#pragma once

#include <QString>

#include <array>
#include <optional>

enum class GuestOperatingSystem
{
    windows11ARM64,
    linuxARM64,
    otherARM64
};

inline constexpr std::array allGuestOperatingSystems = {
    GuestOperatingSystem::windows11ARM64,
    GuestOperatingSystem::linuxARM64,
    GuestOperatingSystem::otherARM64,
};

/// The stored form, which is also the name shown to people.
[[nodiscard]] QString rawValue(GuestOperatingSystem guestOS);
[[nodiscard]] std::optional<GuestOperatingSystem> guestOperatingSystemFromRawValue(QStringView text);
/// "ARM64" for every guest.
[[nodiscard]] QString architecture(GuestOperatingSystem guestOS);
