#include "Virtualization/DiskManager.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/Hypervisor/VZError.h"
#include "Platform/PlatformError.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/DiskManagerError.h"

#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 maximumIdentifierBytes = 4096;

} // namespace

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
            throw DiskManagerError::diskNotFound();
        throw;
    }
}

VZEFIVariableStore DiskManager::loadOrCreateEFIVariableStore(const QUrl &url) const
{
    FileManager &files = m_fileService.fileManager();
    m_fileService.ensureDirectory(FileUrl::deletingLastComponent(url));
    if (files.fileExists(FileUrl::path(url)))
        return VZEFIVariableStore(url);
    try {
        return VZEFIVariableStore::creatingVariableStore(url, VZEFIVariableStore::InitializationOption::none,
                                                         files);
    } catch (const PlatformError &error) {
        DiagnosticLogger::shared().log(
            u"Failed to create EFI variable store: "_s + error.localizedDescription(), LogLevel::error);
        throw KelvoError::configurationInvalid(u"EFI variable store could not be created."_s);
    }
}

VZGenericMachineIdentifier DiskManager::loadOrCreateMachineIdentifier(const QUrl &url) const
{
    FileManager &files = m_fileService.fileManager();
    m_fileService.ensureDirectory(FileUrl::deletingLastComponent(url));
    if (const auto identifier = machineIdentifier(url))
        return *identifier;
    const VZGenericMachineIdentifier identifier;
    files.writeAtomically(FileUrl::path(url), identifier.dataRepresentation());
    return identifier;
}

std::optional<VZGenericMachineIdentifier> DiskManager::machineIdentifier(const QUrl &url) const
{
    try {
        return VZGenericMachineIdentifier::fromDataRepresentation(
            m_fileService.fileManager().readFile(FileUrl::path(url), maximumIdentifierBytes));
    } catch (const PlatformError &) {
        return std::nullopt;
    }
}

VZDiskImageStorageDeviceAttachment DiskManager::makeAttachment(const QUrl &url, bool readOnly) const
{
    try {
        return {url, readOnly};
    } catch (const VZError &error) {
        DiagnosticLogger::shared().log(u"Failed to attach disk: "_s + error.localizedDescription(),
                                       LogLevel::error);
        throw DiskManagerError::attachmentFailed();
    }
}
