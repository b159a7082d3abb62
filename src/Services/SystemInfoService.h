#pragma once

#include "Models/VMConfigurationValidator.h"
#include "Services/FileService.h"

#include <QString>

class HostFacts;

/// What the application needs to know of the host, read at one moment.
struct SystemCapabilities
{
    QString chipName;
    qint64 physicalCPUCount = 0;
    quint64 totalMemoryBytes = 0;
    quint64 availableStorageBytes = 0; ///< on the home folder's volume; 0 when unknown
    QString macOSVersion;              ///< the host system's version text
    bool isAppleSilicon = true;
    bool virtualizationAvailable = false;
    ClosedRange<qint64> allowedCPUCountRange;
    ClosedRange<quint64> allowedMemoryRange; ///< bytes
    qint64 recommendedCPUCount = 0;
    quint64 recommendedMemoryBytes = 0;
    quint64 recommendedDiskBytes = 0;
};

/// Gathers the SystemCapabilities anew at each call; never fails. Any thread.
class SystemInfoService
{
public:
    SystemInfoService();
    /// `facts` must outlive every copy.
    SystemInfoService(const FileService &fileService, HostFacts &facts);

    [[nodiscard]] SystemCapabilities currentCapabilities() const;
    /// The processor's name, else the machine's model, else empty.
    [[nodiscard]] static QString chipName(const HostFacts &facts);
    /// True: the application is built for ARM64 hosts.
    [[nodiscard]] static bool isRunningOnAppleSilicon();

private:
    FileService m_fileService;
    HostFacts *m_facts;
};
