#include "Models/VMConfigurationCoding.h"

#include "Models/StrictJson.h"
#include "Models/VMStorageError.h"
#include "Platform/FileUrl.h"

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;
using namespace StrictJson;

namespace {

QJsonValue writable(quint64 bytes)
{
    if (bytes > static_cast<quint64>(std::numeric_limits<qint64>::max()))
        throw VMStorageError::encodingFailed();
    return static_cast<qint64>(bytes);
}

quint64 byteCount(const ObjectReader &reader, QLatin1StringView key)
{
    const qint64 count = required(reader.integer(key));
    if (count < 0)
        throw Fault();
    return static_cast<quint64>(count);
}

QUrl folder(const QString &text)
{
    const QUrl url(text, QUrl::StrictMode);
    const QString host = url.host();
    const QString path = url.path(QUrl::FullyDecoded);
    if (url.scheme() != "file"_L1 || !path.startsWith(u'/') || path.contains(QChar::Null) ||
        (!host.isEmpty() && host != "localhost"_L1))
        throw Fault();
    return FileUrl::directory(path);
}

QDateTime dateOrNow(const ObjectReader &reader, QLatin1StringView key)
{
    const std::optional<QDateTime> date = reader.date(key);
    return date ? *date : QDateTime::currentDateTimeUtc();
}

/// The bundle's files lie directly inside it; a name that leads elsewhere is refused.
QString fileName(const ObjectReader &reader, QLatin1StringView key, const QString &fallback)
{
    const QString name = reader.string(key).value_or(fallback);
    if (name.isEmpty() || name == "."_L1 || name == ".."_L1 || name.contains(u'/') ||
        name.contains(QChar::Null))
        throw Fault();
    return name;
}

VMConfiguration decode(const ObjectReader &reader)
{
    VMConfiguration configuration;
    configuration.id = required(reader.uuid("id"_L1));
    configuration.name = required(reader.string("name"_L1));
    configuration.guestOS = required(reader.enumeration<GuestOperatingSystem>("guestOS"_L1));
    configuration.backend =
        reader.enumeration<VMBackendType>("backend"_L1).value_or(recommendedBackend(configuration.guestOS));
    configuration.cpuCount = required(reader.integer("cpuCount"_L1));
    configuration.memorySizeBytes = byteCount(reader, "memorySizeBytes"_L1);
    configuration.diskSizeBytes = byteCount(reader, "diskSizeBytes"_L1);
    configuration.networkMode = required(reader.enumeration<VMNetworkMode>("networkMode"_L1));
    configuration.storageDirectory = folder(required(reader.string("storageDirectory"_L1)));
    configuration.diskFileName = fileName(reader, "diskFileName"_L1, u"disk.img"_s);
    configuration.efiVariableStoreFileName =
        fileName(reader, "efiVariableStoreFileName"_L1, u"efi_vars.bin"_s);
    configuration.machineIdentifierFileName =
        fileName(reader, "machineIdentifierFileName"_L1, u"machine_id.bin"_s);
    configuration.displayWidth = reader.integer("displayWidth"_L1).value_or(1920);
    configuration.displayHeight = reader.integer("displayHeight"_L1).value_or(1080);
    configuration.displayScaling = reader.number("displayScaling"_L1).value_or(1.0);
    configuration.installationMediaPath = reader.string("installationMediaPath"_L1);
    configuration.installationMediaType =
        reader.enumeration<InstallationMediaType>("installationMediaType"_L1);
    configuration.virtioDriversMediaPath = reader.string("virtioDriversMediaPath"_L1);
    configuration.vncPort =
        reader.integer("vncPort"_L1).value_or(VMConfiguration::defaultVNCPort(configuration.id));
    configuration.createdAt = dateOrNow(reader, "createdAt"_L1);
    configuration.modifiedAt = dateOrNow(reader, "modifiedAt"_L1);
    return configuration;
}

} // namespace

QByteArray encodeConfiguration(const VMConfiguration &configuration)
{
    if (!std::isfinite(configuration.displayScaling))
        throw VMStorageError::encodingFailed();
    QJsonObject object = {
        {"id"_L1, configuration.id.toString(QUuid::WithoutBraces).toUpper()},
        {"name"_L1, configuration.name},
        {"guestOS"_L1, rawValue(configuration.guestOS)},
        {"backend"_L1, rawValue(configuration.backend)},
        {"cpuCount"_L1, configuration.cpuCount},
        {"memorySizeBytes"_L1, writable(configuration.memorySizeBytes)},
        {"diskSizeBytes"_L1, writable(configuration.diskSizeBytes)},
        {"networkMode"_L1, rawValue(configuration.networkMode)},
        {"storageDirectory"_L1, configuration.storageDirectory.toString(QUrl::FullyEncoded)},
        {"diskFileName"_L1, configuration.diskFileName},
        {"efiVariableStoreFileName"_L1, configuration.efiVariableStoreFileName},
        {"machineIdentifierFileName"_L1, configuration.machineIdentifierFileName},
        {"displayWidth"_L1, configuration.displayWidth},
        {"displayHeight"_L1, configuration.displayHeight},
        {"displayScaling"_L1, configuration.displayScaling},
        {"vncPort"_L1, configuration.vncPort},
        {"createdAt"_L1, dateText(configuration.createdAt)},
        {"modifiedAt"_L1, dateText(configuration.modifiedAt)},
    };
    if (configuration.installationMediaPath)
        object.insert("installationMediaPath"_L1, *configuration.installationMediaPath);
    if (configuration.installationMediaType)
        object.insert("installationMediaType"_L1, rawValue(*configuration.installationMediaType));
    if (configuration.virtioDriversMediaPath)
        object.insert("virtioDriversMediaPath"_L1, *configuration.virtioDriversMediaPath);
    return StrictJson::write(object);
}

VMConfiguration decodeConfiguration(const QByteArray &document)
{
    try {
        return decode(ObjectReader(document));
    } catch (const Fault &) {
        throw VMStorageError::decodingFailed();
    }
}
