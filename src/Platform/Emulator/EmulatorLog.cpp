#include "Platform/Emulator/EmulatorLog.h"

#include "Platform/BoundedLines.h"
#include "Platform/FileManager.h"
#include "Platform/PlatformError.h"

#include <QDir>
#include <QFile>

#include <fcntl.h>
#include <unistd.h>

#include <array>

using namespace Qt::StringLiterals;

namespace {

QString pathIn(const QString &folder)
{
    return QDir(folder).filePath(EmulatorLog::fileName);
}

} // namespace

std::optional<pid_t> EmulatorLog::keep(ChildProcess &emulator, const QString &folder)
{
    QFile::remove(pathIn(folder));
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return std::nullopt;
    const UniqueDescriptor ourEnd(ends[0]); // of our life, which it reads
    const auto ourLife = std::make_shared<UniqueDescriptor>(ends[1]);
    const UniqueDescriptor words = emulator.openStandardError();
    // Nothing is written over that stands there by then, nor through a link.
    const QString script = u"read -r end <&4; set -C; exec /usr/bin/tail -c %1 <&3 >%2"_s;
    ChildProcess::LaunchOptions options;
    options.program = u"/bin/sh"_s;
    options.arguments = {u"-c"_s, script.arg(maximumBytes).arg(fileName)};
    options.workingDirectory = folder;
    options.inheritedDescriptors = {words.get(), ourEnd.get()};
    try {
        const auto writer = std::make_shared<ChildProcess>(options);
        emulator.atEnd([writer, ourLife] { writer->endNow(); });
        return writer->processIdentifier();
    } catch (const PlatformError &) {
        return std::nullopt;
    }
}

QString EmulatorLog::lastLine(const QString &folder)
{
    try {
        BoundedLines lines;
        QStringList reported =
            lines.append(FileManager::defaultManager().readFile(pathIn(folder), maximumBytes));
        reported += lines.finish();
        return reported.isEmpty() ? QString() : reported.constLast();
    } catch (const PlatformError &) {
        return {};
    }
}
