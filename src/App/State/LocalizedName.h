#pragma once

#include "App/State/SidebarSection.h"
#include "Models/GuestOperatingSystem.h"
#include "Models/VMInstallationState.h"
#include "Models/VMNetworkMode.h"
#include "Models/VMState.h"

#include <QString>

// The names of the model's values in the user's language. Documents and errors have the originals.

[[nodiscard]] QString localizedName(VMState state);
[[nodiscard]] QString localizedName(VMInstallationState state);
[[nodiscard]] QString localizedName(VMNetworkMode mode);
[[nodiscard]] QString localizedName(GuestOperatingSystem guestOS);
[[nodiscard]] QString localizedName(SidebarSection section);
