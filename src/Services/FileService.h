#pragma once

#include <QUrl>

class FileManager;

/// The file system questions that several services share. Failures are thrown as PlatformError. Any thread.
class FileService
{
public:
    FileService();
    /// `fileManager` must outlive every copy.
    explicit FileService(FileManager &fileManager);

    [[nodiscard]] FileManager &fileManager() const { return *m_fileManager; }

    /// Makes the folder with all missing parents; an existing one is success.
    void ensureDirectory(const QUrl &url) const;
    /// Bytes that the user may still write on the volume of `url`; 0 where the host does not say.
    [[nodiscard]] quint64 availableDiskSpace(const QUrl &url) const;
    /// The bytes that the file occupies, else its length: a sparse image reports what it really takes.
    [[nodiscard]] quint64 fileSize(const QUrl &url) const;

private:
    FileManager *m_fileManager;
};
