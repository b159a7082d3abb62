#pragma once

#include "Models/VMConfiguration.h"
#include "Platform/FileManager.h"
#include "Virtualization/Backend/QEMUBackendController.h"

#include <QTemporaryDir>

#include <csignal>

/// A folder with a scripted emulator, a scripted TPM emulator, firmware files and a machine's bundle.
class QEMUStage
{
public:
    /// What well-behaved programs do.
    static const QString goodEmulator;
    static const QString goodTPM;

    /// In a temporary folder, or in one that exists already and is not removed.
    explicit QEMUStage(const QString &emulatorScript = goodEmulator, const QString &tpmScript = goodTPM,
                       const QString &folder = {});

    [[nodiscard]] QString path(const QString &relative) const { return m_path + u'/' + relative; }
    [[nodiscard]] QString emulator() const { return path(QStringLiteral("bin/qemu-system-aarch64")); }
    [[nodiscard]] QString tpm() const { return path(QStringLiteral("bin/swtpm")); }
    [[nodiscard]] QEMUDependencyService dependencyService() const;
    [[nodiscard]] std::unique_ptr<QEMUBackendController> makeController(const QEMUTimeouts &timeouts) const;

    /// The machine's bundle exists; its VNC port is free.
    VMConfiguration configuration;

    /// The process identifiers that the emulator has noted.
    [[nodiscard]] QList<pid_t> emulatorProcesses() const;
    /// "qmp.sock" and "swtpm.sock", as far as they exist.
    [[nodiscard]] QStringList sockets() const;

private:
    std::unique_ptr<QTemporaryDir> m_temporary;
    QString m_path;
    std::unique_ptr<FileManager> m_fileManager = std::make_unique<FileManager>();
};

/// A port that nothing has been bound to, outside the range from which the host takes ports for its own use.
[[nodiscard]] qint64 freePort();
