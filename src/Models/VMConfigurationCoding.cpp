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

quint64 byteCount(const QJsonObject &object, QLatin1StringView key)
{
    const qint64 count = required(optionalInteger(object, key));
    if (count < 0)
        throw Fault();
    return static_cast<quint64>(count);
}

QUrl folder(const QString &text)
{
    const QUrl url(text, QUrl::StrictMode);
    const QString path = url.toLocalFile();
    if (!url.isValid() || url.scheme() != "file"_L1 || !path.startsWith(u'/') || path.contains(QChar::Null) ||
        (!url.host().isEmpty() && url.host() != "localhost"_L1))
        throw Fault();
    return FileUrl::directory(path);
}

/// The bundle's files lie directly inside it; a name that leads elsewhere is refused.
QString fileName(const QJsonObject &object, QLatin1StringView key, const QString &fallback)
{
    const QString name = optionalString(object, key).value_or(fallback);
    if (name.isEmpty() || name == "."_L1 || name == ".."_L1 || name.contains(u'/') ||
        name.contains(QChar::Null))
        throw Fault();
    return name;
}

VMConfiguration decode(const QJsonObject &object)
{
    VMConfiguration configuration;
    configuration.id = uuid(required(optionalString(object, "id"_L1)));
    configuration.name = required(optionalString(object, "name"_L1));
    configuration.guestOS = required(optionalCase(object, "guestOS"_L1, guestOperatingSystemFromRawValue));
    configuration.backend = optionalCase(object, "backend"_L1, vmBackendTypeFromRawValue)
                                .value_or(recommendedBackend(configuration.guestOS));
    configuration.cpuCount = required(optionalInteger(object, "cpuCount"_L1));
    configuration.memorySizeBytes = byteCount(object, "memorySizeBytes"_L1);
    configuration.diskSizeBytes = byteCount(object, "diskSizeBytes"_L1);
    configuration.networkMode = required(optionalCase(object, "networkMode"_L1, vmNetworkModeFromRawValue));
    configuration.storageDirectory = folder(required(optionalString(object, "storageDirectory"_L1)));
    configuration.diskFileName = fileName(object, "diskFileName"_L1, u"disk.img"_s);
    configuration.efiVariableStoreFileName =
        fileName(object, "efiVariableStoreFileName"_L1, u"efi_vars.bin"_s);
    configuration.machineIdentifierFileName =
        fileName(object, "machineIdentifierFileName"_L1, u"machine_id.bin"_s);
    configuration.installationMediaPath = optionalString(object, "installationMediaPath"_L1);
    configuration.installationMediaType =
        optionalCase(object, "installationMediaType"_L1, installationMediaTypeFromRawValue);
    configuration.virtioDriversMediaPath = optionalString(object, "virtioDriversMediaPath"_L1);
    configuration.displayWidth = optionalInteger(object, "displayWidth"_L1).value_or(1920);
    configuration.displayHeight = optionalInteger(object, "displayHeight"_L1).value_or(1080);
    configuration.displayScaling = optionalDouble(object, "displayScaling"_L1).value_or(1.0);
    configuration.vncPort =
        optionalInteger(object, "vncPort"_L1).value_or(VMConfiguration::defaultVNCPort(configuration.id));
    const auto now = [] {
        return QDateTime::currentDateTimeUtc();
    };
    const auto createdAt = optionalDate(object, "createdAt"_L1);
    configuration.createdAt = createdAt ? *createdAt : now();
    const auto modifiedAt = optionalDate(object, "modifiedAt"_L1);
    configuration.modifiedAt = modifiedAt ? *modifiedAt : now();
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
        return decode(parseObject(document));
    } catch (const Fault &) {
        throw VMStorageError::decodingFailed();
    }
}
