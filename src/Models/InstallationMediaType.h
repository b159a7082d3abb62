#pragma once

#include "Models/StoredEnumeration.h"

enum class InstallationMediaType
{
    iso,
    existingDisk,
    installationImage
};

template<>
inline constexpr auto rawTexts<InstallationMediaType> = std::to_array<CaseText<InstallationMediaType>>({
    {InstallationMediaType::iso, "iso"},
    {InstallationMediaType::existingDisk, "existingDisk"},
    {InstallationMediaType::installationImage, "installationImage"},
});
