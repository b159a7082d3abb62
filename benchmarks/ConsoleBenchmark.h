#pragma once

#include <QJsonObject>

/// A guest's screen in the application's own console window, at a steady rate, and the time from a key to the
/// picture that answers it: see --help.
[[nodiscard]] QJsonObject runConsoleBenchmark(const QStringList &arguments);
