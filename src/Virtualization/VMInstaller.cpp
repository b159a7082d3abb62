#include "Virtualization/VMInstaller.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Virtualization/Backend/KelvoError.h"

VMInstaller::VMInstaller(const FileService &fileService)
    : m_fileService(fileService)
{}

QUrl VMInstaller::resolveISO(const VMConfiguration &configuration,
                             const std::optional<QUrl> &overrideISO) const
{
    const std::optional<QUrl> medium = overrideISO ? overrideISO : configuration.installationMediaURL();
    if (!medium || !m_fileService.fileManager().fileExists(FileUrl::path(*medium)))
        throw KelvoError::installationMediaUnavailable();
    return *medium;
}
