#pragma once

#include <QJsonObject>
#include <QStringList>

/// The list of machines on the screen, compared with a bare program's: see --help.
[[nodiscard]] QJsonObject runUIBenchmark(const QStringList &arguments);

/// What that starts for each run: one window over the library at the arguments' first place, until it was
/// shown and scrolled.
[[nodiscard]] QJsonObject runUIWindow(const QStringList &arguments);
