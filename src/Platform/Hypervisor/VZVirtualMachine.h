#pragma once

#include <QtGlobal>

/// A guest on the host hypervisor layer.
class VZVirtualMachine
{
public:
    /// Whether this host can run guests on the layer. It has no emulation of its own yet, so it cannot.
    [[nodiscard]] static bool isSupported();
};

/// What a guest on the host hypervisor layer is made of, and within which limits.
class VZVirtualMachineConfiguration
{
public:
    [[nodiscard]] static qint64 minimumAllowedCPUCount();
    /// The host's processors that are online.
    [[nodiscard]] static qint64 maximumAllowedCPUCount();
    [[nodiscard]] static quint64 minimumAllowedMemorySize();
    /// Physical memory less 1 GiB for the host, in whole MiB, and never below the minimum.
    [[nodiscard]] static quint64 maximumAllowedMemorySize();
};
