#include "Platform/Hypervisor/VZEFIVariableStore.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/PlatformError.h"

#include <cerrno>

using namespace Qt::StringLiterals;

VZEFIVariableStore::VZEFIVariableStore(const QUrl &url)
    : m_url(url)
{}

VZEFIVariableStore VZEFIVariableStore::creatingVariableStore(const QUrl &url, InitializationOption options)
{
    return creatingVariableStore(url, options, FileManager::defaultManager());
}

VZEFIVariableStore VZEFIVariableStore::creatingVariableStore(const QUrl &url, InitializationOption options,
                                                             FileManager &fileManager)
{
    const QString path = FileUrl::path(url);
    if (fileManager.fileExists(path)) {
        if (options != InitializationOption::allowOverwrite)
            throw PlatformError(EEXIST, u"create"_s, path);
        fileManager.removeItem(path);
    }
    const bool isNew = fileManager.createFile(path);
    try {
        // All zeros is what the firmware takes for a flash memory that has never been used.
        fileManager.truncateFile(path, sizeBytes);
    } catch (const PlatformError &) {
        if (isNew)
            fileManager.removeItem(path);
        throw;
    }
    return VZEFIVariableStore(url);
}
