#include "Platform/FileUrl.h"

namespace FileUrl {

QUrl file(const QString &path)
{
    return QUrl::fromLocalFile(path);
}

QUrl directory(const QString &path)
{
    return QUrl::fromLocalFile(path.endsWith(u'/') ? path : path + u'/');
}

QUrl appending(const QUrl &directory, const QString &component)
{
    const QString base = path(directory);
    return file(base.endsWith(u'/') ? QString(base + component) : QString(base + u'/' + component));
}

QUrl appendingDirectory(const QUrl &directory, const QString &component)
{
    return FileUrl::directory(path(appending(directory, component)));
}

QString path(const QUrl &url)
{
    QString path = url.toLocalFile();
    while (path.size() > 1 && path.endsWith(u'/'))
        path.chop(1);
    return path;
}

QString lastComponent(const QUrl &url)
{
    const QString whole = path(url);
    return whole.mid(whole.lastIndexOf(u'/') + 1);
}

QUrl deletingLastComponent(const QUrl &url)
{
    const QString whole = path(url);
    return directory(whole.left(whole.lastIndexOf(u'/') + 1));
}

} // namespace FileUrl
