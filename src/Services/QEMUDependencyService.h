#pragma once

#include <QStringList>
#include <QUrl>

#include <optional>

class FileManager;

/// The four files that the QEMU backend needs of the host.
struct QEMUDependencies
{
    QUrl qemuBinary;
    QUrl swtpmBinary;
    QUrl uefiCode;         ///< read-only firmware image
    QUrl uefiVarsTemplate; ///< each machine gets a copy of it

    /// Asks the file system at the moment of the call.
    [[nodiscard]] bool isComplete() const;

    bool operator==(const QEMUDependencies &) const = default;
};

struct QEMUDependencyStatus
{
    std::optional<QEMUDependencies> dependencies; ///< only when all four were found
    QStringList missingComponents;                ///< names for people, in a fixed order
    QString installHint;

    /// All four were found and are still there.
    [[nodiscard]] bool isReady() const;
};

/// Looks for the emulator, the TPM emulator and the firmware under a list of installation prefixes; for each
/// of them the first prefix that has it wins. Nothing is cached; a failed look-up counts as not found.
class QEMUDependencyService
{
public:
    QEMUDependencyService();
    /// `fileManager` must outlive every copy.
    explicit QEMUDependencyService(FileManager &fileManager, const QStringList &prefixes = defaultPrefixes());

    [[nodiscard]] static const QStringList &defaultPrefixes();

    [[nodiscard]] QEMUDependencyStatus status() const;

private:
    FileManager *m_fileManager;
    QStringList m_prefixes;
};
