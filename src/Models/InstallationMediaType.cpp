#include "Models/InstallationMediaType.h"

#include "Models/RawText.h"

using namespace Qt::StringLiterals;

static constexpr std::array<RawText<InstallationMediaType>, 3> mediaTypes = {{
    {InstallationMediaType::iso, "iso"_L1},
    {InstallationMediaType::existingDisk, "existingDisk"_L1},
    {InstallationMediaType::installationImage, "installationImage"_L1},
}};

QString rawValue(InstallationMediaType type)
{
    return rawTextOf(mediaTypes, type);
}

std::optional<InstallationMediaType> installationMediaTypeFromRawValue(QStringView text)
{
    return fromRawText(mediaTypes, text);
}
