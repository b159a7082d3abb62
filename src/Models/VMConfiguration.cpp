#include "Models/VMConfiguration.h"

#include "Platform/BinaryUnits.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QList<quint64> inBytes(std::initializer_list<quint64> gibibytes)
{
    QList<quint64> bytes;
    for (const quint64 count : gibibytes)
        bytes.append(count * gibibyte);
    return bytes;
}

std::optional<QUrl> optionalFile(const std::optional<QString> &path)
{
    if (!path)
        return std::nullopt;
    return FileUrl::file(*path);
}

} // namespace

VMConfiguration VMConfiguration::defaultConfiguration(const QString &name, GuestOperatingSystem guestOS)
{
    VMConfiguration configuration;
    configuration.id = QUuid::createUuid();
    configuration.name = name;
    configuration.guestOS = guestOS;
    configuration.backend = recommendedBackend(guestOS);
    configuration.cpuCount = 4;
    configuration.memorySizeBytes = 8 * gibibyte;
    configuration.diskSizeBytes = 128 * gibibyte;
    configuration.storageDirectory =
        FileUrl::appendingDirectory(defaultStorageRoot(), bundleFolderName(name));
    configuration.diskFileName = u"disk.img"_s;
    configuration.efiVariableStoreFileName = u"efi_vars.bin"_s;
    configuration.machineIdentifierFileName = u"machine_id.bin"_s;
    configuration.displayWidth = 1920;
    configuration.displayHeight = 1080;
    configuration.displayScaling = 1.0;
    configuration.vncPort = defaultVNCPort(configuration.id);
    configuration.createdAt = QDateTime::currentDateTimeUtc();
    configuration.modifiedAt = QDateTime::currentDateTimeUtc();
    return configuration;
}

qint64 VMConfiguration::defaultVNCPort(const QUuid &id)
{
    // FNV-1a: Qt's own hash is seeded per process, which would move a machine's port at every launch.
    constexpr quint32 offsetBasis = 2166136261U;
    constexpr quint32 prime = 16777619U;
    quint32 hash = offsetBasis;
    for (const char byte : id.toRfc4122())
        hash = (hash ^ static_cast<quint8>(byte)) * prime;
    return 5901 + hash % 100;
}

const QUrl &VMConfiguration::defaultStorageRoot()
{
    static const QUrl root = FileUrl::directory(FileManager::defaultManager().homeDirectoryForCurrentUser() +
                                                u"/Virtual Machines"_s);
    return root;
}

QString VMConfiguration::bundleFolderName(const QString &name)
{
    QString folder = name;
    folder.replace(u'/', u'_');
    folder.replace(QChar::Null, u'_');
    if (folder.startsWith(u'.'))
        folder[0] = u'_';
    const QString extension = u".vm"_s;
    const qsizetype longest = 255 - extension.size(); // bytes of a file name, on every common file system
    if (const QByteArray bytes = folder.toUtf8(); bytes.size() > longest) {
        qsizetype end = longest;
        while ((bytes[end] & 0xc0) == 0x80) // inside a character (RFC 3629, section 3)
            --end;
        folder = QString::fromUtf8(bytes.first(end));
    }
    return folder + extension;
}

const QList<quint64> &VMConfiguration::memoryOptions()
{
    static const QList<quint64> options = inBytes({4, 8, 16, 24, 32});
    return options;
}

const QList<quint64> &VMConfiguration::diskOptions()
{
    static const QList<quint64> options = inBytes({64, 128, 256, 512, 1024});
    return options;
}

qint64 VMConfiguration::memorySizeGB() const
{
    return static_cast<qint64>(memorySizeBytes >> 30);
}

qint64 VMConfiguration::diskSizeGB() const
{
    return static_cast<qint64>(diskSizeBytes >> 30);
}

QUrl VMConfiguration::diskURL() const
{
    return FileUrl::appending(storageDirectory, diskFileName);
}

QUrl VMConfiguration::efiVariableStoreURL() const
{
    return FileUrl::appending(storageDirectory, efiVariableStoreFileName);
}

QUrl VMConfiguration::machineIdentifierURL() const
{
    return FileUrl::appending(storageDirectory, machineIdentifierFileName);
}

QUrl VMConfiguration::configFileURL() const
{
    return FileUrl::appending(storageDirectory, u"config.json"_s);
}

QUrl VMConfiguration::metadataFileURL() const
{
    return FileUrl::appending(storageDirectory, u"metadata.json"_s);
}

QUrl VMConfiguration::uefiVarsURL() const
{
    return FileUrl::appending(storageDirectory, u"uefi_vars.fd"_s);
}

QUrl VMConfiguration::qmpSocketURL() const
{
    return FileUrl::appending(storageDirectory, u"qmp.sock"_s);
}

QUrl VMConfiguration::serialLogURL() const
{
    return FileUrl::appending(storageDirectory, u"serial.log"_s);
}

std::optional<QUrl> VMConfiguration::installationMediaURL() const
{
    return optionalFile(installationMediaPath);
}

std::optional<QUrl> VMConfiguration::virtioDriversMediaURL() const
{
    return optionalFile(virtioDriversMediaPath);
}

qint64 VMConfiguration::vncDisplayNumber() const
{
    return std::max<qint64>(0, vncPort - 5900);
}
