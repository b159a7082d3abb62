#include "Virtualization/NetworkManager.h"

VZVirtioNetworkDeviceConfiguration NetworkManager::makeNetworkDevice(VMNetworkMode mode) const
{
    switch (mode) {
    case VMNetworkMode::nat:
        return {.attachment = VZNATNetworkDeviceAttachment()};
    case VMNetworkMode::disconnected:
        break;
    }
    Q_UNREACHABLE();
}
