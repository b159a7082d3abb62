#pragma once

#include <QUrl>

class FileManager;

/// The file in which a guest's firmware keeps its variables: 64 MiB of flash memory, sparse.
class VZEFIVariableStore
{
public:
    enum class InitializationOption
    {
        none,
        allowOverwrite
    };

    static constexpr quint64 sizeBytes = quint64(64) << 20;

    /// An existing store, which is looked at only when a machine uses it.
    explicit VZEFIVariableStore(const QUrl &url);
    /// A new, empty store. Throws PlatformError, EEXIST for an existing file without allowOverwrite; nothing
    /// is left behind then.
    [[nodiscard]] static VZEFIVariableStore
    creatingVariableStore(const QUrl &url, InitializationOption options = InitializationOption::none);
    [[nodiscard]] static VZEFIVariableStore
    creatingVariableStore(const QUrl &url, InitializationOption options, FileManager &fileManager);

    [[nodiscard]] const QUrl &url() const { return m_url; }

    bool operator==(const VZEFIVariableStore &) const = default;

private:
    QUrl m_url;
};
