#pragma once

#include "Platform/Emulator/QMPChannel.h"

/// What an emulator says of its guest (QMP, query-status).
struct EmulatorStatus
{
    enum class Guest
    {
        starting, ///< it has not begun to run
        running,
        paused,
        failed ///< the host can run it no further
    };

    Guest guest = Guest::starting;
    QString reason; ///< why it is paused or failed, where nobody has asked for that

    /// Throws QMPError.
    [[nodiscard]] static QCoro::Task<EmulatorStatus> ask(std::shared_ptr<QMPChannel> channel);
};
