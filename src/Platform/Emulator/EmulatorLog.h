#pragma once

#include "Platform/ChildProcess.h"

/// What an emulator writes to standard error once nobody of ours reads it any more: a file beside its
/// machine's other files, so that it can still be told why a guest ended meanwhile.
namespace EmulatorLog {

inline constexpr QLatin1StringView fileName{"emulator.log"};
/// The end of what was written.
inline constexpr qint64 maximumBytes = 1 << 16;
/// How long after the emulator's end the file may take.
inline constexpr std::chrono::milliseconds timeout{200};

/// From the emulator's launch on: a shell waits until this process is gone, and then has tail(1) read what
/// comes and write the end of it into the file in `folder` once the emulator has ended. Both are one process,
/// which is given back and ends with the emulator; none where it cannot be launched, and then nothing is
/// kept. An earlier file is removed.
std::optional<pid_t> keep(ChildProcess &emulator, const QString &folder);
/// The last line; empty where nothing was kept.
[[nodiscard]] QString lastLine(const QString &folder);

} // namespace EmulatorLog
