#pragma once

#include <QString>

#include <deque>
#include <memory>
#include <mutex>

class SystemLog;

enum class LogLevel
{
    info,
    error,
    warning
};

/// The application's one diagnostic log: the newest 500 entries in memory, each message also in the host's
/// log. Any thread.
class DiagnosticLogger
{
public:
    static constexpr std::size_t maxEntries = 500;

    [[nodiscard]] static DiagnosticLogger &shared();

    explicit DiagnosticLogger(std::unique_ptr<SystemLog> systemLog);
    DiagnosticLogger(const DiagnosticLogger &) = delete;
    DiagnosticLogger &operator=(const DiagnosticLogger &) = delete;
    ~DiagnosticLogger();

    /// The entry is stored when this returns. The message is kept unchanged, line feeds included.
    void log(const QString &message, LogLevel level);
    /// All entries, oldest first, joined by line feeds: "[INFO] 2025-03-01T14:07:09Z message".
    [[nodiscard]] QString formattedLog() const;
    void clear();

private:
    mutable std::mutex m_mutex;
    std::deque<QString> m_entries;
    std::unique_ptr<SystemLog> m_systemLog;
};
