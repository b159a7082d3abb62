#pragma once

#include "Platform/Hypervisor/EmulatorInstallation.h"
#include "Platform/Hypervisor/VZDevices.h"
#include "Platform/Hypervisor/VZStorageDevices.h"

#include <QUrl>

/// What a guest on the host hypervisor layer is made of, and within which limits. A value; any thread.
struct VZVirtualMachineConfiguration
{
    qint64 cpuCount = 0;
    quint64 memorySize = 0; ///< bytes
    std::optional<VZGenericPlatformConfiguration> platform;
    std::optional<VZEFIBootLoader> bootLoader;
    QList<VZStorageDeviceConfiguration> storageDevices; ///< in the order in which the firmware tries them
    QList<VZVirtioNetworkDeviceConfiguration> networkDevices;
    QList<VZVirtioGraphicsDeviceConfiguration> graphicsDevices;
    QList<VZUSBScreenCoordinatePointingDeviceConfiguration> pointingDevices;
    QList<VZUSBKeyboardConfiguration> keyboards;
    QUrl controlSocket; ///< where the emulator listens; made at the start, gone after the end
    QUrl serialLog; ///< where the guest's words on its serial line go, anew with each start; none if empty

    bool operator==(const VZVirtualMachineConfiguration &) const = default;

    [[nodiscard]] static qint64 minimumAllowedCPUCount();
    /// The host's processors that are online, or fewer where KVM cannot give a guest so many.
    [[nodiscard]] static qint64 maximumAllowedCPUCount();
    [[nodiscard]] static quint64 minimumAllowedMemorySize();
    /// Physical memory less 1 GiB for the host, in whole MiB, and never below the minimum.
    [[nodiscard]] static quint64 maximumAllowedMemorySize();

    static constexpr VZVirtioGraphicsScanoutConfiguration minimumScanout{640, 480};
    /// What the emulator's display server shows of a screen, which is more from QEMU 9.1 on; of a larger one
    /// it would show a part. An emulator that has not said its version is not taken for an old one.
    [[nodiscard]] static VZVirtioGraphicsScanoutConfiguration
    maximumScanout(const std::optional<EmulatorInstallation::Version> &emulator);

    /// Refuses a screen outside of the two, as validate() does.
    static void validateScreen(const VZVirtioGraphicsScanoutConfiguration &screen);
    /// Refuses what the layer cannot run or would run wrongly, with a reason that people can read: VZError
    /// (invalidVirtualMachineConfiguration, invalidDiskImage). Looks at the files, starts nothing.
    void validate() const;
};
