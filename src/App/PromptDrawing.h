#pragma once

#include <QtGlobal>

/// A window that wants to be drawn waits for one more millisecond, not for the toolkit's five: what a guest
/// shows after a key is seen that much sooner. What the user has set in QT_QPA_UPDATE_IDLE_TIME holds. To be
/// called before there are threads and windows.
inline void drawPromptly()
{
    constexpr auto variable = "QT_QPA_UPDATE_IDLE_TIME";
    if (!qEnvironmentVariableIsSet(variable))
        qputenv(variable, "1");
}
