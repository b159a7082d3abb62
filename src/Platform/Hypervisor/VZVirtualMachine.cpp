#include "Platform/Hypervisor/VZVirtualMachine.h"

#include "Platform/HostFacts.h"

#include <algorithm>

namespace {
constexpr quint64 mebibyte = quint64(1) << 20;
constexpr quint64 gibibyte = quint64(1) << 30;
} // namespace

bool VZVirtualMachine::isSupported()
{
    return false;
}

qint64 VZVirtualMachineConfiguration::minimumAllowedCPUCount()
{
    return 1;
}

qint64 VZVirtualMachineConfiguration::maximumAllowedCPUCount()
{
    return std::max<qint64>(minimumAllowedCPUCount(), HostFacts::current().processorCount());
}

quint64 VZVirtualMachineConfiguration::minimumAllowedMemorySize()
{
    return 512 * mebibyte;
}

quint64 VZVirtualMachineConfiguration::maximumAllowedMemorySize()
{
    const quint64 physical = HostFacts::current().physicalMemoryBytes();
    const quint64 usable = physical > gibibyte ? (physical - gibibyte) / mebibyte * mebibyte : 0;
    return std::max(minimumAllowedMemorySize(), usable);
}
