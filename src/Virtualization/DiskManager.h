#pragma once

#include "Services/FileService.h"

#include <QUrl>

struct DiskInfo
{
    QUrl url;
    quint64 maximumSizeBytes = 0; ///< what the guest sees; given by the caller, not read from the file
    quint64 actualUsageBytes = 0; ///< what the image occupies on the host
};

/// Makes and measures raw disk images. A value without state; any thread.
class DiskManager
{
public:
    explicit DiskManager(const FileService &fileService = FileService());

    /// A sparse file of that length, its folder made where needed; an existing file is left as it is.
    /// Throws PlatformError, and then leaves no image behind.
    void createDisk(const QUrl &url, quint64 sizeBytes) const;
    /// Throws DiskManagerError (diskNotFound) or PlatformError.
    [[nodiscard]] DiskInfo diskInfo(const QUrl &url, quint64 maximumSizeBytes) const;

private:
    FileService m_fileService;
};
