#pragma once

#include <QtTest>

/// How long to wait for what must come, in milliseconds: a healthy program may be slow on a busy host.
inline constexpr int patience = 30'000;

// Qt's own wait for five seconds.
#undef QTRY_VERIFY
#define QTRY_VERIFY(expression) QTRY_VERIFY_WITH_TIMEOUT((expression), patience)
#undef QTRY_COMPARE
#define QTRY_COMPARE(expression, expected) QTRY_COMPARE_WITH_TIMEOUT((expression), expected, patience)

/// Under the label "timing": how long things took is judged, which tells nothing of the program elsewhere.
[[nodiscard]] inline bool judgesTime()
{
    return qEnvironmentVariableIsSet("KELVO_TIMING");
}

/// Under the label "soak": many rounds, and how much memory they took is judged.
[[nodiscard]] inline bool isSoak()
{
    return qEnvironmentVariableIsSet("KELVO_SOAK");
}
