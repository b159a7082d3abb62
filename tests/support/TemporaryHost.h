#pragma once

#include "Platform/FileManager.h"
#include "Platform/HostFacts.h"
#include "Virtualization/VMManager.h"

#include <QTemporaryDir>

/// A temporary folder that plays the home folder and an installation prefix with stand-in tools.
class TemporaryHost
{
public:
    TemporaryHost();

    [[nodiscard]] QString path(const QString &relative = {}) const;
    /// The storage root inside it.
    [[nodiscard]] QUrl root() const;
    /// Makes the four files that the QEMU backend needs, so that its dependencies are complete.
    void installTools();
    void removeTools();
    void write(const QString &relative, const QByteArray &bytes) const;
    [[nodiscard]] QByteArray read(const QString &relative) const;

    [[nodiscard]] QEMUDependencyService dependencyService();
    /// Everything a manager needs, on this host; controllers come from `makeController`.
    [[nodiscard]] VMManager::Collaborators collaborators(const VMManager::ControllerFactory &makeController);

private:
    QTemporaryDir m_folder;
    FileManager m_fileManager;
};
