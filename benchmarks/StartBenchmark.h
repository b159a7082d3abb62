#pragma once

#include <QJsonObject>
#include <QStringList>

/// `start --runs N`: milliseconds from a controller's start() to the running state, with stand-ins for the
/// emulator and the TPM emulator that open their port and socket at once. The limit to compare with:
/// launching both and connecting to the port in a loop until that succeeds.
[[nodiscard]] QJsonObject runStartBenchmark(const QStringList &arguments);
