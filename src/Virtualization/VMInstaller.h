#pragma once

#include "Virtualization/VMConfigurationBuilder.h"

#include <QCoroTask>

/// Finds a machine's installation medium, and prepares and starts installations on the host hypervisor layer.
class VMInstaller
{
public:
    explicit VMInstaller(const DiskManager &diskManager = DiskManager());

    /// The override if given, else the configuration's own image. Throws
    /// KelvoError::installationMediaUnavailable when there is none or nothing exists at its path.
    [[nodiscard]] QUrl resolveISO(const VMConfiguration &configuration,
                                  const std::optional<QUrl> &overrideISO) const;
    /// Makes what is missing of disk, variable store and machine identifier, and builds the machine. What was
    /// made stays when a later step fails. Throws what DiskManager and VMConfigurationBuilder throw.
    [[nodiscard]] VZVirtualMachineConfiguration prepareForInstallation(const VMConfiguration &configuration,
                                                                       const QUrl &isoURL) const;
    /// Done when the guest runs. `controller` is an AppleVirtualizationController. Main thread.
    [[nodiscard]] QCoro::Task<> beginInstallation(VMConfiguration configuration, QUrl isoURL,
                                                  VMBackendController &controller) const;

private:
    VMConfigurationBuilder m_configurationBuilder;
    DiskManager m_diskManager;
};
