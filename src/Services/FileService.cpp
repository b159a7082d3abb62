#include "Services/FileService.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"

FileService::FileService()
    : FileService(FileManager::defaultManager())
{}

FileService::FileService(FileManager &fileManager)
    : m_fileManager(&fileManager)
{}

void FileService::ensureDirectory(const QUrl &url) const
{
    m_fileManager->createDirectory(FileUrl::path(url));
}

quint64 FileService::availableDiskSpace(const QUrl &url) const
{
    return m_fileManager->availableCapacity(FileUrl::path(url)).value_or(0);
}

quint64 FileService::fileSize(const QUrl &url) const
{
    const FileManager::FileSizes sizes = m_fileManager->fileSizes(FileUrl::path(url));
    if (sizes.totalAllocatedBytes)
        return *sizes.totalAllocatedBytes;
    return sizes.logicalBytes.value_or(0);
}
