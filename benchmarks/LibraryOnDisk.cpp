#include "LibraryOnDisk.h"

#include "Models/VMConfigurationCoding.h"
#include "Models/VMPersistedMetadata.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/PlatformError.h"

#include <QFile>
#include <QJsonDocument>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

/// Writes without waiting for the disk, which would take minutes for a large library.
void writeQuickly(const QUrl &url, const QByteArray &bytes)
{
    QFile file(FileUrl::path(url));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw PlatformError(EIO, u"write to"_s, file.fileName());
}

} // namespace

void makeLibrary(const QUrl &root, int count)
{
    for (int number = 0; number < count; ++number) {
        const QString name = u"Machine %1"_s.arg(number);
        auto configuration =
            VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::windows11ARM64);
        configuration.storageDirectory = FileUrl::appendingDirectory(root, name + u".vm"_s);
        configuration.installationMediaPath = u"/home/user/Downloads/installer.iso"_s;
        FileManager::defaultManager().createDirectory(FileUrl::path(configuration.storageDirectory));
        writeQuickly(configuration.configFileURL(), encodeConfiguration(configuration));
        writeQuickly(configuration.metadataFileURL(), encodeMetadata(VMPersistedMetadata()));
        writeQuickly(configuration.diskURL(), QByteArray());
    }
}

PlainLibrary readPlainly(const QString &root)
{
    PlainLibrary library;
    const QByteArray path = root.toUtf8();
    std::array<char, std::size_t(64) << 10> buffer = {};
    DIR *folder = ::opendir(path.constData());
    while (const dirent *entry = ::readdir(folder)) {
        if (entry->d_name[0] == '.')
            continue;
        const QByteArray bundle = path + '/' + static_cast<const char *>(entry->d_name);
        for (const char *file : {"/config.json", "/metadata.json"}) {
            const int descriptor = ::open((bundle + file).constData(), O_RDONLY | O_CLOEXEC);
            const ssize_t length = ::read(descriptor, buffer.data(), buffer.size());
            ::close(descriptor);
            const auto document = QJsonDocument::fromJson(QByteArray::fromRawData(buffer.data(), length));
            library.bytes += document.isObject() ? length : 0;
        }
        library.names.append(QString::fromUtf8(entry->d_name).chopped(3));
        struct stat status = {};
        if (::stat((bundle + "/disk.img").constData(), &status) == 0)
            library.blocks += status.st_blocks;
    }
    ::closedir(folder);
    return library;
}
