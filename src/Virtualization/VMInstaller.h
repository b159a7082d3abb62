#pragma once

#include "Models/VMConfiguration.h"
#include "Services/FileService.h"

/// Finds a machine's installation medium.
class VMInstaller
{
public:
    explicit VMInstaller(const FileService &fileService = FileService());

    /// The override if given, else the configuration's own image. Throws
    /// KelvoError::installationMediaUnavailable when there is none or nothing exists at its path.
    [[nodiscard]] QUrl resolveISO(const VMConfiguration &configuration,
                                  const std::optional<QUrl> &overrideISO) const;

private:
    FileService m_fileService;
};
