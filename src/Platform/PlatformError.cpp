#include "Platform/PlatformError.h"

#include <cstring>

using namespace Qt::StringLiterals;

static QString describe(int code, const QString &attempt, const QString &path)
{
    // Errors are in English whatever the desktop's language; strerror(3) is not.
    const char *text = ::strerrordesc_np(code);
    const QString reason = text ? QString::fromLatin1(text) : u"error %1"_s.arg(code);
    if (path.isEmpty())
        return u"Could not %1: %2."_s.arg(attempt, reason);
    return u"Could not %1 “%2”: %3."_s.arg(attempt, path, reason);
}

PlatformError::PlatformError(int code, const QString &attempt, const QString &path)
    : LocalizedError(describe(code, attempt, path))
    , m_code(code)
{}
