#pragma once

#include "Models/VMConfiguration.h"
#include "Platform/Hypervisor/VZVirtualMachineConfiguration.h"
#include "Virtualization/Backend/VMBackendController.h"
#include "Virtualization/DiskManager.h"
#include "Virtualization/NetworkManager.h"

/// Decides the virtual hardware of guests on the host hypervisor layer. A value; any thread.
class VMConfigurationBuilder
{
public:
    explicit VMConfigurationBuilder(const DiskManager &diskManager = DiskManager(),
                                    const NetworkManager &networkManager = NetworkManager());

    /// `attachISO`, or in mode `installation` the configuration's own image, comes after the disk. Makes the
    /// machine identifier and the variable store when they are missing, also when a later step fails.
    /// Throws VMConfigurationValidationError, KelvoError (installationMediaUnavailable, and
    /// configurationInvalid with the layer's reason), DiskManagerError (attachmentFailed), PlatformError.
    [[nodiscard]] VZVirtualMachineConfiguration build(const VMConfiguration &configuration, VMBuildMode mode,
                                                      const std::optional<QUrl> &attachISO) const;

    /// As much as is needed to reach a guest that runs already, whatever its documents say by now.
    [[nodiscard]] VZVirtualMachineConfiguration describeRunning(const VMConfiguration &configuration) const;

private:
    [[nodiscard]] QList<VZStorageDeviceConfiguration> storageDevices(const VMConfiguration &configuration,
                                                                     const std::optional<QUrl> &image) const;

    DiskManager m_diskManager;
    NetworkManager m_networkManager;
};
