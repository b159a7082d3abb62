#pragma once

#include <QString>

/// What became of looking for a machine's guest that somebody else has started.
struct GuestTakeUp
{
    enum class Outcome
    {
        noGuest, ///< and nothing of one is left
        takenUp,
        undecided ///< it is just being started or ended elsewhere: look again
    };

    Outcome outcome = Outcome::noGuest;
    QString reason; ///< why the guest stands still or did not end in order; else empty
};
