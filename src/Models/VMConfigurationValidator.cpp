#include "Models/VMConfigurationValidator.h"

#include "Platform/BinaryUnits.h"
#include "Platform/Hypervisor/VZVirtualMachine.h"

using namespace Qt::StringLiterals;

namespace {

constexpr ClosedRange<qint64> qemuCPUCounts = {2, 16};
constexpr ClosedRange<quint64> qemuMemory = {4 * gibibyte, 128 * gibibyte};
constexpr quint64 smallestDisk = gibibyte;

QString wholeGigabytes(quint64 bytes)
{
    return QString::asprintf("%.0f", static_cast<double>(bytes) / static_cast<double>(gibibyte));
}

} // namespace

VMConfigurationValidationError VMConfigurationValidationError::invalidCPUCount(qint64 value, qint64 minimum,
                                                                               qint64 maximum)
{
    return {u"CPU count %1 is invalid. Allowed range: %2–%3 cores."_s.arg(
        QString::number(value), QString::number(minimum), QString::number(maximum))};
}

VMConfigurationValidationError VMConfigurationValidationError::invalidMemory(quint64 value, quint64 minimum,
                                                                             quint64 maximum)
{
    return {u"Memory %1 GB is invalid. Allowed range: %2–%3 GB."_s.arg(
        wholeGigabytes(value), wholeGigabytes(minimum), wholeGigabytes(maximum))};
}

VMConfigurationValidationError VMConfigurationValidationError::invalidDiskSize()
{
    return {u"Virtual disk size is invalid."_s};
}

VMConfigurationValidationError VMConfigurationValidationError::emptyName()
{
    return {u"Virtual machine name cannot be empty."_s};
}

VMConfigurationValidationError VMConfigurationValidationError::virtualizationUnavailable()
{
    return {u"Virtualization is unavailable on this Mac."_s};
}

namespace VMConfigurationValidator {

static void validateForHypervisor(const VMConfiguration &configuration)
{
    if (!VZVirtualMachine::isSupported())
        throw VMConfigurationValidationError::virtualizationUnavailable();
    const auto cpus = allowedCPUCountRange();
    if (!cpus.contains(configuration.cpuCount))
        throw VMConfigurationValidationError::invalidCPUCount(configuration.cpuCount, cpus.minimum,
                                                              cpus.maximum);
    const auto memory = allowedMemoryRange();
    if (!memory.contains(configuration.memorySizeBytes))
        throw VMConfigurationValidationError::invalidMemory(configuration.memorySizeBytes, memory.minimum,
                                                            memory.maximum);
}

static void validateForQEMU(const VMConfiguration &configuration)
{
    // QEMU has no upper limits of its own that matter here; the upper figures only inform.
    if (configuration.cpuCount < qemuCPUCounts.minimum)
        throw VMConfigurationValidationError::invalidCPUCount(configuration.cpuCount, qemuCPUCounts.minimum,
                                                              qemuCPUCounts.maximum);
    if (configuration.memorySizeBytes < qemuMemory.minimum)
        throw VMConfigurationValidationError::invalidMemory(configuration.memorySizeBytes, qemuMemory.minimum,
                                                            qemuMemory.maximum);
}

void validate(const VMConfiguration &configuration)
{
    if (configuration.name.trimmed().isEmpty())
        throw VMConfigurationValidationError::emptyName();
    switch (configuration.backend) {
    case VMBackendType::appleVirtualization:
        validateForHypervisor(configuration);
        break;
    case VMBackendType::qemuHVF:
        validateForQEMU(configuration);
        break;
    }
    if (configuration.diskSizeBytes < smallestDisk)
        throw VMConfigurationValidationError::invalidDiskSize();
}

ClosedRange<qint64> allowedCPUCountRange()
{
    return {VZVirtualMachineConfiguration::minimumAllowedCPUCount(),
            VZVirtualMachineConfiguration::maximumAllowedCPUCount()};
}

ClosedRange<quint64> allowedMemoryRange()
{
    return {VZVirtualMachineConfiguration::minimumAllowedMemorySize(),
            VZVirtualMachineConfiguration::maximumAllowedMemorySize()};
}

} // namespace VMConfigurationValidator
