#include "Platform/FolderUrl.h"

#include "Platform/FileUrl.h"

FolderUrl::FolderUrl(const QUrl &url)
    : m_path(fromPath(url.toLocalFile()).m_path)
{}

FolderUrl FolderUrl::fromPath(const QString &path)
{
    FolderUrl folder;
    folder.m_path = path.isEmpty() || path.endsWith(u'/') ? path : QString(path + u'/');
    return folder;
}

FolderUrl::operator QUrl() const
{
    return m_path.isEmpty() ? QUrl() : FileUrl::file(m_path);
}

QUrl FolderUrl::file(const QString &name) const
{
    return FileUrl::file(m_path + name);
}
