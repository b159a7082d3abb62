#pragma once

#include "Platform/ChildProcess.h"
#include "Platform/Emulator/EmulatorStatus.h"

/// An emulator that an earlier run of the application, or another one of the same user, has launched.
struct RunningEmulator
{
    UnixSocket::Peer peer;
    std::shared_ptr<QMPChannel> channel; ///< to be let go of soon, as it keeps others waiting

    /// Who listens at the control socket; nothing where that is nobody, or no emulator of this user. Throws
    /// QMPError (silent) where it has no time for us.
    [[nodiscard]] static QCoro::Task<std::optional<RunningEmulator>> find(QString controlSocket,
                                                                          std::chrono::milliseconds timeout);
    /// Whether the application that has launched it still runs.
    [[nodiscard]] bool hasLauncher() const;
    /// Once: its process from now on.
    [[nodiscard]] std::shared_ptr<ChildProcess> takeProcess();
};
