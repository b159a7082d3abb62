#include "Virtualization/BundleFiles.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Virtualization/Backend/KelvoError.h"

using namespace Qt::StringLiterals;

namespace {

using Kind = FileManager::FileKind;

void require(const QUrl &url, const FileManager &fileManager, std::initializer_list<Kind> allowed)
{
    const Kind kind = fileManager.kindOf(FileUrl::path(url));
    if (std::find(allowed.begin(), allowed.end(), kind) != allowed.end())
        return;
    const QString name = FileUrl::lastComponent(url);
    throw KelvoError::configurationInvalid(
        kind == Kind::link
            ? u"“%1” is a link. A virtual machine uses only files in its own folder."_s.arg(name)
            : u"“%1” is not an ordinary file."_s.arg(name));
}

} // namespace

void BundleFiles::requireOrdinary(const QList<QUrl> &files, const FileManager &fileManager)
{
    for (const QUrl &file : files)
        require(file, fileManager, {Kind::absent, Kind::file, Kind::folder});
}

void BundleFiles::requireOrdinaryFolder(const QUrl &folder, const FileManager &fileManager)
{
    require(folder, fileManager, {Kind::absent, Kind::folder});
    if (fileManager.kindOf(FileUrl::path(folder)) != Kind::folder)
        return;
    const QList<FileManager::DirectoryEntry> entries = fileManager.contentsOfDirectory(FileUrl::path(folder));
    for (const FileManager::DirectoryEntry &entry : entries)
        require(FileUrl::appending(folder, entry.name), fileManager,
                {Kind::file, Kind::folder, Kind::socket});
}
