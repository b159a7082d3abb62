#pragma once

#include "Models/VMInstallationState.h"

#include <QByteArray>
#include <QDateTime>

#include <optional>

/// What changes about a machine while it is used; the bundle's "metadata.json".
struct VMPersistedMetadata
{
    static constexpr qint64 currentVersion = 2;

    qint64 version = currentVersion; ///< carried along from the document that was read
    std::optional<QDateTime> lastBootedAt;
    std::optional<QString> notes;
    VMInstallationState installationState = VMInstallationState::notStarted;
    std::optional<QDateTime> installationCompletedAt;

    bool operator==(const VMPersistedMetadata &) const = default;
};

/// One JSON object, keys sorted, absent values left out.
[[nodiscard]] QByteArray encodeMetadata(const VMPersistedMetadata &metadata);
/// Throws VMStorageError::decodingFailed for anything that is not such a document.
[[nodiscard]] VMPersistedMetadata decodeMetadata(const QByteArray &document);
