#pragma once

#include "Platform/ChildProcess.h"

/// Why an emulator ended, told by what it left behind.
namespace EmulatorEnd {

/// Its last words on standard error, or how it ended where it had none; nothing where it ended in order, as
/// it does when its guest powers itself off. One that ends in order removes its control socket, which tells
/// of those whose exit nobody told us. `folder`: see unwatchedReason().
[[nodiscard]] std::optional<QString> reason(const ChildExit &exit, const QString &lastLine,
                                            const QString &controlSocket, const QString &folder);
/// Of one that did not end in order, and of whose exit nobody told us: with its last words from the
/// EmulatorLog in `folder`, which need not be the cause.
[[nodiscard]] QString unwatchedReason(const QString &folder);

} // namespace EmulatorEnd
