#pragma once

#include "Platform/FileManager.h"

/// What edk2 firmware keeps from boot to boot: a firmware volume (UEFI Platform Initialization 1.8, III-3.2)
/// with an authenticated variable store (edk2, MdeModulePkg/Include/Guid/VariableFormat.h).
namespace FirmwareVariables {

/// How large the image of such a store is at most.
inline constexpr qint64 maximumBytes = qint64{64} << 20;

/// What is written into a copy of `store` so that the firmware, where it draws into a plain frame buffer,
/// makes that as large as this, in pixels: its own setup keeps the size in the variable "PlatformConfig"
/// (edk2, OvmfPkg/PlatformDxe). Of sizes that it does not know it says nothing and takes its default. None
/// where the store is of another kind or still blank, has such a variable or no room for it.
[[nodiscard]] std::optional<FileManager::Amendment> screenSize(const QByteArray &store, quint32 width,
                                                               quint32 height);

} // namespace FirmwareVariables
