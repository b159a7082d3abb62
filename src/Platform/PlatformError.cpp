#include "Platform/PlatformError.h"

#include <system_error>

using namespace Qt::StringLiterals;

static QString describe(int code, const QString &attempt, const QString &path)
{
    const QString reason = QString::fromLocal8Bit(std::generic_category().message(code).c_str());
    if (path.isEmpty())
        return u"Could not %1: %2."_s.arg(attempt, reason);
    return u"Could not %1 “%2”: %3."_s.arg(attempt, path, reason);
}

PlatformError::PlatformError(int code, const QString &attempt, const QString &path)
    : LocalizedError(describe(code, attempt, path))
    , m_code(code)
    , m_path(path)
{}
