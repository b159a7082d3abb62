#pragma once

#include <QJsonObject>

/// `display --change full|line|none --seconds S`: what the window that shows a hypervisor guest costs its
/// process while a stand-in emulator changes all of a 1920x1080 screen, one line of text, or nothing, up to
/// `--rate` times a second. With `--mode receive-only` the limit to compare with: a thread that asks in the
/// same way and receives the same bytes into one buffer. Needs a display, or QT_QPA_PLATFORM=offscreen.
[[nodiscard]] QJsonObject runDisplayBenchmark(const QStringList &arguments);
