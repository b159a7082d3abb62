#pragma once

#include <QJsonObject>

/// `log --threads T`: entries per second that T threads put into one diagnostic log, the host's log left out.
[[nodiscard]] QJsonObject runLogBenchmark(const QStringList &arguments);
