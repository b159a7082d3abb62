#include "Services/SystemInfoService.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/HostFacts.h"
#include "Platform/Hypervisor/VZVirtualMachine.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 windowsCPUCount = 8;
constexpr quint64 windowsMemoryBytes = quint64(16) << 30;
constexpr quint64 windowsDiskBytes = quint64(128) << 30;

quint64 freeSpaceAtHome(const FileService &files)
{
    try {
        return files.availableDiskSpace(
            FileUrl::directory(files.fileManager().homeDirectoryForCurrentUser()));
    } catch (const LocalizedError &) {
        return 0; // an unknown figure is shown as none
    }
}

} // namespace

SystemInfoService::SystemInfoService()
    : SystemInfoService(FileService(), HostFacts::current())
{}

SystemInfoService::SystemInfoService(const FileService &fileService, HostFacts &facts)
    : m_fileService(fileService)
    , m_facts(&facts)
{}

SystemCapabilities SystemInfoService::currentCapabilities() const
{
    SystemCapabilities capabilities;
    capabilities.physicalCPUCount = m_facts->processorCount();
    capabilities.totalMemoryBytes = m_facts->physicalMemoryBytes();
    capabilities.macOSVersion = m_facts->operatingSystemVersionString();
    capabilities.virtualizationAvailable = VZVirtualMachine::isSupported();
    capabilities.availableStorageBytes = freeSpaceAtHome(m_fileService);
    capabilities.allowedCPUCountRange = VMConfigurationValidator::allowedCPUCountRange();
    capabilities.allowedMemoryRange = VMConfigurationValidator::allowedMemoryRange();
    capabilities.recommendedCPUCount =
        std::min(capabilities.allowedCPUCountRange.maximum,
                 std::max(capabilities.allowedCPUCountRange.minimum, windowsCPUCount));
    capabilities.recommendedMemoryBytes =
        std::min(capabilities.allowedMemoryRange.maximum, windowsMemoryBytes);
    capabilities.chipName = chipName(*m_facts);
    capabilities.isAppleSilicon = isRunningOnAppleSilicon();
    capabilities.recommendedDiskBytes = windowsDiskBytes;
    return capabilities;
}

QString SystemInfoService::chipName(const HostFacts &facts)
{
    const QString brand = facts.systemControlText(u"machdep.cpu.brand_string"_s);
    return brand.isEmpty() ? facts.systemControlText(u"hw.model"_s) : brand;
}

bool SystemInfoService::isRunningOnAppleSilicon()
{
    return true;
}
