#include "Platform/SystemLog.h"

#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include <syslog.h>
#include <unistd.h>

#include <cstdio>

SystemLog::SystemLog(const QString &subsystem, const QString &category)
    : m_subsystem("KELVO_SUBSYSTEM=" + subsystem.toUtf8())
    , m_category("KELVO_CATEGORY=" + category.toUtf8())
    // The journal call reports success where no journal listens, so its socket has to be looked for.
    , m_hasJournal(::access("/run/systemd/journal/socket", W_OK) == 0)
{}

SystemLog::~SystemLog() = default;

void SystemLog::write(const QString &message, Type type)
{
    const QByteArray text = message.toUtf8();
    const int priority = type == Type::Error ? LOG_ERR : LOG_INFO;
    if (m_hasJournal) {
        sd_journal_send("MESSAGE=%s", text.constData(), "PRIORITY=%i", priority, "SYSLOG_IDENTIFIER=kelvo",
                        "%s", m_subsystem.constData(), "%s", m_category.constData(), nullptr);
        return;
    }
    std::fprintf(stderr, "kelvo: %s\n", text.constData());
}
