#include "Platform/FileLock.h"

#include "Platform/PlatformError.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

using namespace Qt::StringLiterals;

UniqueDescriptor FileLock::take(const QString &path)
{
    UniqueDescriptor file(
        ::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY));
    if (!file.isValid())
        throw PlatformError(errno, u"open"_s, path);
    if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0)
        return file;
    if (errno != EWOULDBLOCK)
        throw PlatformError(errno, u"lock"_s, path);
    return {};
}
