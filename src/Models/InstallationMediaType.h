#pragma once

#include <QString>

#include <optional>

enum class InstallationMediaType
{
    iso,
    existingDisk,
    installationImage
};

/// The stored form.
[[nodiscard]] QString rawValue(InstallationMediaType type);
[[nodiscard]] std::optional<InstallationMediaType> installationMediaTypeFromRawValue(QStringView text);
