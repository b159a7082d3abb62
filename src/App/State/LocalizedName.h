#pragma once

#include "App/State/SidebarSection.h"
#include "Models/GuestOperatingSystem.h"
#include "Models/VMInstallationState.h"
#include "Models/VMNetworkMode.h"
#include "Models/VMState.h"

#include <QCoreApplication>

/// Where the catalogues have an enumeration's names.
template<typename Enumeration>
inline constexpr const char *nameContext = nullptr;
template<>
inline constexpr const char *nameContext<VMState> = "VMState";
template<>
inline constexpr const char *nameContext<VMInstallationState> = "VMInstallationState";
template<>
inline constexpr const char *nameContext<VMNetworkMode> = "VMNetworkMode";
template<>
inline constexpr const char *nameContext<GuestOperatingSystem> = "GuestOperatingSystem";
template<>
inline constexpr const char *nameContext<SidebarSection> = "SidebarSection";

/// The name of one of the model's values in the user's language. Documents and errors have the original.
template<StoredEnumeration Enumeration>
[[nodiscard]] QString localizedName(Enumeration value)
{
    return QCoreApplication::translate(nameContext<Enumeration>, displayName(value).toUtf8().constData());
}
