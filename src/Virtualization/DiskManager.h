#pragma once

#include "Platform/Hypervisor/VZEFIVariableStore.h"
#include "Platform/Hypervisor/VZGenericMachineIdentifier.h"
#include "Platform/Hypervisor/VZStorageDevices.h"
#include "Services/FileService.h"

#include <QUrl>

struct DiskInfo
{
    QUrl url;
    quint64 maximumSizeBytes = 0; ///< what the guest sees; given by the caller, not read from the file
    quint64 actualUsageBytes = 0; ///< what the image occupies on the host
};

/// Makes, measures and attaches the files that machines boot from. A value without state; any thread.
class DiskManager
{
public:
    explicit DiskManager(const FileService &fileService = FileService());

    /// A sparse file of that length, its folder made where needed; an existing file is left as it is.
    /// Throws PlatformError, and then leaves no image behind.
    void createDisk(const QUrl &url, quint64 sizeBytes) const;
    /// Throws DiskManagerError (diskNotFound) or PlatformError.
    [[nodiscard]] DiskInfo diskInfo(const QUrl &url, quint64 maximumSizeBytes) const;

    /// An existing store is not looked at. Throws PlatformError for the folder and KelvoError
    /// (configurationInvalid) when a new store cannot be made.
    [[nodiscard]] VZEFIVariableStore loadOrCreateEFIVariableStore(const QUrl &url) const;
    /// A file that cannot be read or holds no identifier is replaced by a new one. Throws PlatformError.
    [[nodiscard]] VZGenericMachineIdentifier loadOrCreateMachineIdentifier(const QUrl &url) const;
    /// No value where the file is missing or says nothing.
    [[nodiscard]] std::optional<VZGenericMachineIdentifier> machineIdentifier(const QUrl &url) const;
    /// Throws DiskManagerError (attachmentFailed); the reason is in the diagnostic log.
    [[nodiscard]] VZDiskImageStorageDeviceAttachment makeAttachment(const QUrl &url, bool readOnly) const;

    [[nodiscard]] const FileService &fileService() const { return m_fileService; }

private:
    FileService m_fileService;
};
