#pragma once

#include "Platform/Hypervisor/VZEFIVariableStore.h"
#include "Platform/Hypervisor/VZGenericMachineIdentifier.h"

#include <QList>

#include <optional>

struct VZGenericPlatformConfiguration
{
    std::optional<VZGenericMachineIdentifier> machineIdentifier;

    bool operator==(const VZGenericPlatformConfiguration &) const = default;
};

struct VZEFIBootLoader
{
    std::optional<VZEFIVariableStore> variableStore;

    bool operator==(const VZEFIBootLoader &) const = default;
};

/// The guest reaches the host's networks through the host, and nobody reaches it.
struct VZNATNetworkDeviceAttachment
{
    bool operator==(const VZNATNetworkDeviceAttachment &) const = default;
};

struct VZVirtioNetworkDeviceConfiguration
{
    std::optional<VZNATNetworkDeviceAttachment> attachment;

    bool operator==(const VZVirtioNetworkDeviceConfiguration &) const = default;
};

struct VZVirtioGraphicsScanoutConfiguration
{
    qint64 widthInPixels = 0;
    qint64 heightInPixels = 0;

    bool operator==(const VZVirtioGraphicsScanoutConfiguration &) const = default;
};

struct VZVirtioGraphicsDeviceConfiguration
{
    QList<VZVirtioGraphicsScanoutConfiguration> scanouts;

    bool operator==(const VZVirtioGraphicsDeviceConfiguration &) const = default;
};

/// A USB tablet: positions on the screen, not movements.
struct VZUSBScreenCoordinatePointingDeviceConfiguration
{
    bool operator==(const VZUSBScreenCoordinatePointingDeviceConfiguration &) const = default;
};

struct VZUSBKeyboardConfiguration
{
    bool operator==(const VZUSBKeyboardConfiguration &) const = default;
};
