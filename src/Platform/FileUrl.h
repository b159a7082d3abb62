#pragma once

#include <QString>
#include <QUrl>

/// File URLs built and taken apart by plain path rules; every character of a name survives.
namespace FileUrl {

/// `path` must be absolute.
[[nodiscard]] QUrl file(const QString &path);
/// The same with the trailing slash that marks a folder.
[[nodiscard]] QUrl directory(const QString &path);
[[nodiscard]] QUrl appending(const QUrl &directory, const QString &component);
[[nodiscard]] QUrl appendingDirectory(const QUrl &directory, const QString &component);
/// The local path, without a trailing slash except for the root.
[[nodiscard]] QString path(const QUrl &url);
[[nodiscard]] QString lastComponent(const QUrl &url);
[[nodiscard]] QUrl deletingLastComponent(const QUrl &url);

} // namespace FileUrl
