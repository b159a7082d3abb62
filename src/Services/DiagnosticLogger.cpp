#include "Services/DiagnosticLogger.h"

#include "Platform/SystemLog.h"

#include <QDateTime>

using namespace Qt::StringLiterals;

namespace {

QLatin1StringView tag(LogLevel level)
{
    switch (level) {
    case LogLevel::info:
        return "INFO"_L1;
    case LogLevel::error:
        return "ERROR"_L1;
    case LogLevel::warning:
        return "WARN"_L1;
    }
    Q_UNREACHABLE();
}

} // namespace

DiagnosticLogger &DiagnosticLogger::shared()
{
    static DiagnosticLogger logger(std::make_unique<SystemLog>(u"vostarn.id.Kelvo"_s, u"Diagnostics"_s));
    return logger;
}

DiagnosticLogger::DiagnosticLogger(std::unique_ptr<SystemLog> systemLog)
    : m_systemLog(std::move(systemLog))
{}

DiagnosticLogger::~DiagnosticLogger() = default;

void DiagnosticLogger::log(const QString &message, LogLevel level)
{
    const QString timestamp = QDateTime::currentDateTimeUtc().toString(u"yyyy-MM-dd'T'HH:mm:ss'Z'");
    QString entry = u'[' + tag(level) + u"] "_s + timestamp + u' ' + message;
    {
        const std::scoped_lock lock(m_mutex);
        m_entries.push_back(std::move(entry));
        if (m_entries.size() > maxEntries)
            m_entries.erase(m_entries.begin(), m_entries.end() - static_cast<std::ptrdiff_t>(maxEntries));
    }
    m_systemLog->write(message, level == LogLevel::info ? SystemLog::Type::Info : SystemLog::Type::Error);
}

QString DiagnosticLogger::formattedLog() const
{
    const std::scoped_lock lock(m_mutex);
    QString text;
    for (const QString &entry : m_entries) {
        if (!text.isEmpty())
            text += u'\n';
        text += entry;
    }
    return text;
}

void DiagnosticLogger::clear()
{
    const std::scoped_lock lock(m_mutex);
    m_entries.clear();
}
