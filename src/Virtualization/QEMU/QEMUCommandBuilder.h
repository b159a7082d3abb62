#pragma once

#include "Services/QEMUDependencyService.h"
#include "Virtualization/Backend/VMBackendController.h"

#include <QStringList>

class FileManager;

/// Makes the argument list of qemu-system-aarch64 (qemu-system(1)) for one start of one machine.
class QEMUCommandBuilder
{
public:
    explicit QEMUCommandBuilder(const QEMUDependencies &dependencies);
    /// `fileManager` must outlive the builder.
    QEMUCommandBuilder(const QEMUDependencies &dependencies, const FileManager &fileManager);

    /// `attachISO` goes before the configuration's own image, which an installation attaches. Throws
    /// KelvoError: installationMediaUnavailable or configurationInvalid for an image that does not exist.
    [[nodiscard]] QStringList buildArguments(const VMConfiguration &configuration, VMBuildMode mode,
                                             const std::optional<QUrl> &attachISO, const QUrl &uefiVarsPath,
                                             const QUrl &tpmSocketPath, const QUrl &qmpSocketPath) const;

private:
    [[nodiscard]] bool exists(const QUrl &url) const;

    QEMUDependencies m_dependencies;
    const FileManager *m_fileManager;
};
