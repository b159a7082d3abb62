#include "Models/VMPersistedMetadata.h"

#include "Models/StrictJson.h"
#include "Models/VMStorageError.h"

using namespace Qt::StringLiterals;
using namespace StrictJson;

QByteArray encodeMetadata(const VMPersistedMetadata &metadata)
{
    QJsonObject object = {
        {"version"_L1, metadata.version},
        {"installationState"_L1, rawValue(metadata.installationState)},
    };
    if (metadata.lastBootedAt)
        object.insert("lastBootedAt"_L1, dateText(*metadata.lastBootedAt));
    if (metadata.notes)
        object.insert("notes"_L1, *metadata.notes);
    if (metadata.installationCompletedAt)
        object.insert("installationCompletedAt"_L1, dateText(*metadata.installationCompletedAt));
    return StrictJson::write(object);
}

VMPersistedMetadata decodeMetadata(const QByteArray &document)
{
    constexpr qint64 versionBeforeItWasWritten = 1;
    try {
        const ObjectReader reader(document);
        VMPersistedMetadata metadata;
        metadata.installationCompletedAt = reader.date("installationCompletedAt"_L1);
        metadata.installationState = reader.enumeration<VMInstallationState>("installationState"_L1)
                                         .value_or(VMInstallationState::notStarted);
        metadata.lastBootedAt = reader.date("lastBootedAt"_L1);
        metadata.notes = reader.string("notes"_L1);
        metadata.version = reader.integer("version"_L1).value_or(versionBeforeItWasWritten);
        return metadata;
    } catch (const Fault &) {
        throw VMStorageError::decodingFailed();
    }
}
