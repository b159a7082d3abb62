#include "Virtualization/DiskManager.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/PlatformError.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/DiskManagerError.h"

#include <cerrno>

using namespace Qt::StringLiterals;

DiskManager::DiskManager(const FileService &fileService)
    : m_fileService(fileService)
{}

void DiskManager::createDisk(const QUrl &url, quint64 sizeBytes) const
{
    FileManager &files = m_fileService.fileManager();
    m_fileService.ensureDirectory(FileUrl::deletingLastComponent(url));
    const QString path = FileUrl::path(url);
    if (files.fileExists(path))
        return;
    const bool isNew = files.createFile(path);
    try {
        files.truncateFile(path, sizeBytes);
    } catch (const PlatformError &) {
        // An empty image left behind would be taken for the disk by the next attempt.
        if (isNew)
            files.removeItem(path);
        throw;
    }
    const QString message = u"Created virtual disk at %1 (%2 GB max)"_s.arg(FileUrl::lastComponent(url),
                                                                            QString::number(sizeBytes >> 30));
    DiagnosticLogger::shared().log(message, LogLevel::info);
}

DiskInfo DiskManager::diskInfo(const QUrl &url, quint64 maximumSizeBytes) const
{
    try {
        return {url, maximumSizeBytes, m_fileService.fileSize(url)};
    } catch (const PlatformError &error) {
        if (error.code() == ENOENT)
            throw DiskManagerError(DiskManagerError::Case::diskNotFound);
        throw;
    }
}
