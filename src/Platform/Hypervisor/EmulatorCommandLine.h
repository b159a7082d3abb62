#pragma once

#include "Platform/Hypervisor/EmulatorInstallation.h"
#include "Platform/Hypervisor/VZVirtualMachineConfiguration.h"

#include <QStringList>

namespace EmulatorCommandLine {

/// The emulator's arguments for a machine that stands still at first and is controlled by those who connect
/// to the listening socket `controlDescriptor` (qemu-system-aarch64(1)). `configuration` is valid.
[[nodiscard]] QStringList arguments(const VZVirtualMachineConfiguration &configuration,
                                    const EmulatorInstallation &installation,
                                    EmulatorInstallation::Accelerator accelerator, int controlDescriptor);

} // namespace EmulatorCommandLine
