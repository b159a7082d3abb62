#pragma once

#include <QString>
#include <QUrl>

/// A folder's file URL, kept as its path alone: a QUrl takes 200 bytes more, in every machine of a library.
class FolderUrl
{
public:
    FolderUrl() = default;
    /// `url` is a file URL, or empty.
    FolderUrl(const QUrl &url); // NOLINT(google-explicit-constructor): it is one
    /// `path` must be absolute; a missing slash at its end is added.
    [[nodiscard]] static FolderUrl fromPath(const QString &path);

    operator QUrl() const; // NOLINT(google-explicit-constructor)
    [[nodiscard]] QUrl file(const QString &name) const;

    bool operator==(const FolderUrl &) const = default;

private:
    QString m_path; ///< ends in a slash; empty for none
};
