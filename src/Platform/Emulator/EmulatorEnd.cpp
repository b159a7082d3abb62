#include "Platform/Emulator/EmulatorEnd.h"

#include "Platform/Emulator/EmulatorLog.h"

#include <QFile>

#include <csignal>

using namespace Qt::StringLiterals;

std::optional<QString> EmulatorEnd::reason(const ChildExit &exit, const QString &lastLine,
                                           const QString &controlSocket, const QString &folder)
{
    if (exit.kind == ChildExit::Kind::unknown)
        return QFile::exists(controlSocket) ? std::optional(unwatchedReason(folder)) : std::nullopt;
    if (exit == ChildExit{ChildExit::Kind::exited, 0}) {
        if (lastLine.contains("terminating on signal"_L1))
            return u"The emulator was ended from outside."_s;
        return std::nullopt;
    }
    const bool isKilled = exit == ChildExit{ChildExit::Kind::signalled, SIGKILL}; // whatever it said before
    if (!lastLine.isEmpty() && !isKilled)
        return lastLine;
    return (exit.kind == ChildExit::Kind::signalled ? u"The emulator was killed by signal %1."_s
                                                    : u"The emulator ended with exit status %1."_s)
        .arg(exit.value);
}

QString EmulatorEnd::unwatchedReason(const QString &folder)
{
    const QString reason = u"The emulator ended unexpectedly."_s;
    const QString line = EmulatorLog::lastLine(folder);
    return line.isEmpty() ? reason : reason + u" Its last words: "_s + line;
}
