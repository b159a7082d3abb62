#include "support/ScriptedChild.h"

#include <QDir>
#include <QFile>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace ScriptedChild {

QString program()
{
    return QStringLiteral(KELVO_SCRIPTED_CHILD);
}

void install(const QString &path, const QString &script)
{
    QDir().mkpath(path.left(path.lastIndexOf(u'/')));
    QFile::remove(path);
    // A copy: a process is known by the name of its program's file.
    if (!QFile::copy(program(), path))
        qFatal("cannot copy to %s", qPrintable(path));
    QFile file(path + u".script"_s);
    if (!file.open(QIODevice::WriteOnly) || file.write(script.toUtf8()) < 0)
        qFatal("cannot write %s", qPrintable(file.fileName()));
}

QStringList received(const QString &path)
{
    QFile file(path + u".received"_s);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

} // namespace ScriptedChild
