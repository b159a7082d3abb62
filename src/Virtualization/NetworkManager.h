#pragma once

#include "Models/VMNetworkMode.h"
#include "Platform/Hypervisor/VZDevices.h"

/// Makes the network devices of guests on the host hypervisor layer. A value without state.
class NetworkManager
{
public:
    /// `mode` must not be `disconnected`, which has no device.
    [[nodiscard]] VZVirtioNetworkDeviceConfiguration makeNetworkDevice(VMNetworkMode mode) const;
};
