#pragma once

#include <QString>

/// The host's log: the journal where one runs (sd_journal_send(3)), standard error elsewhere. Any thread.
class SystemLog
{
public:
    enum class Type
    {
        Info, ///< LOG_INFO
        Error ///< LOG_ERR
    };

    SystemLog(const QString &subsystem, const QString &category);
    virtual ~SystemLog();

    virtual void write(const QString &message, Type type);

private:
    QByteArray m_subsystem;
    QByteArray m_category;
    bool m_hasJournal;
};
