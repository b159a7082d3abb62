#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

/// The host's file system as the rest of the application uses it; tests replace it. All paths are absolute.
/// Failures are thrown as PlatformError. Any thread.
class FileManager
{
public:
    FileManager() = default;
    FileManager(const FileManager &) = delete;
    FileManager &operator=(const FileManager &) = delete;
    virtual ~FileManager();

    /// The process-wide one on the real file system.
    [[nodiscard]] static FileManager &defaultManager();

    /// $HOME, or the password database's entry where that is unset.
    [[nodiscard]] virtual QString homeDirectoryForCurrentUser() const;

    [[nodiscard]] virtual bool fileExists(const QString &path) const;
    [[nodiscard]] virtual bool directoryExists(const QString &path) const;
    enum class FileKind
    {
        absent, ///< or out of reach
        file,
        folder,
        link, ///< symbolic, wherever it leads
        socket,
        other ///< a pipe or a device
    };
    /// Of the name itself; links are not followed (lstat(2)).
    [[nodiscard]] virtual FileKind kindOf(const QString &path) const;
    /// A regular file that the current user may execute (access(2)).
    [[nodiscard]] virtual bool isExecutableFile(const QString &path) const;

    /// Makes the folder with all missing parents, for the user alone (0700); an existing folder is success.
    virtual void createDirectory(const QString &path);
    struct DirectoryEntry
    {
        QString name;
        bool isDirectory = false; ///< also for a symbolic link to a folder
    };
    /// Entries in the order in which the host lists them, without those whose name begins with a dot.
    [[nodiscard]] virtual QList<DirectoryEntry> contentsOfDirectory(const QString &path) const;

    /// The whole file. Only a regular file of at most `maximumBytes` is read: EISDIR, EINVAL or EFBIG
    /// otherwise. A FIFO or device in its place does not block.
    [[nodiscard]] virtual QByteArray readFile(const QString &path, qint64 maximumBytes) const;
    struct Tail
    {
        qint64 begin = 0; ///< where in the file `bytes` stand
        QByteArray bytes;
    };
    /// What a regular file that another process writes has from `position` on, but no more than its last
    /// `maximumBytes`. From its beginning where it has become shorter.
    [[nodiscard]] virtual Tail readTail(const QString &path, qint64 position, qint64 maximumBytes) const;
    /// Durable and atomic: a temporary file in the same folder (0600), fsync, rename, fsync of the folder.
    /// After a failure the old file is as it was, or is the new one where only the last step failed, and no
    /// temporary file is left. What earlier writers that were killed have left in the folder is removed.
    virtual void writeAtomically(const QString &path, const QByteArray &bytes);

    /// Makes an empty file (0600) if there is none; false when that failed.
    virtual bool createFile(const QString &path);
    /// Opens for writing and sets the length; an extension is a hole.
    virtual void truncateFile(const QString &path, quint64 length);
    struct Amendment
    {
        qint64 offset;
        QByteArray bytes;

        bool operator==(const Amendment &) const = default;
    };
    /// Copies a regular file with its holes kept, to a path where nothing exists (EEXIST otherwise), and
    /// writes `amendment` over the copy; that (0600) appears whole or not at all.
    virtual void copyItem(const QString &from, const QString &to,
                          const std::optional<Amendment> &amendment = std::nullopt);
    virtual void removeItem(const QString &path);

    /// Another one after each change: of a file that is replaced whole, of a folder whose entries come or go.
    struct Version
    {
        quint64 inode = 0;
        qint64 nanoseconds = 0; ///< of the last modification, since 1970

        bool operator==(const Version &) const = default;
    };
    /// None where nothing can be read of it (stat(2)).
    [[nodiscard]] virtual std::optional<Version> versionOf(const QString &path) const;

    struct FileSizes
    {
        std::optional<quint64> totalAllocatedBytes;
        std::optional<quint64> logicalBytes;
    };
    [[nodiscard]] virtual FileSizes fileSizes(const QString &path) const;
    /// Bytes that an ordinary user may still write on the volume of `path`.
    [[nodiscard]] virtual std::optional<quint64> availableCapacity(const QString &path) const;
};
