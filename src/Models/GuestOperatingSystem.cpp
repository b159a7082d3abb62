#include "Models/GuestOperatingSystem.h"

#include "Models/RawText.h"

using namespace Qt::StringLiterals;

static constexpr std::array<RawText<GuestOperatingSystem>, 3> guests = {{
    {GuestOperatingSystem::windows11ARM64, "Windows 11 ARM64"_L1},
    {GuestOperatingSystem::linuxARM64, "Linux ARM64"_L1},
    {GuestOperatingSystem::otherARM64, "Other ARM64 OS"_L1},
}};

QString rawValue(GuestOperatingSystem guestOS)
{
    return rawTextOf(guests, guestOS);
}

std::optional<GuestOperatingSystem> guestOperatingSystemFromRawValue(QStringView text)
{
    return fromRawText(guests, text);
}

QString architecture(GuestOperatingSystem)
{
    return u"ARM64"_s;
}
