#pragma once

#include <QJsonObject>

/// `vnc --host H --port P --seconds S`: full frames that the VNC client receives from a server and publishes,
/// as a view takes them, and what a frame costs. With `--mode receive-only` the limit to compare with: a loop
/// that asks in the same way and receives the same bytes into one buffer. With `--stall M` the main thread
/// sleeps M ms now and then.
[[nodiscard]] QJsonObject runVNCBenchmark(const QStringList &arguments);
