#pragma once

#include <QJsonObject>
#include <QStringList>

/// `guest-start --runs N`: milliseconds from a hypervisor guest's start() to the running state, with the real
/// emulator and firmware. The limit to compare with: launching the same emulator with the same arguments, and
/// asking it over the same kind of connection until it says that it runs.
[[nodiscard]] QJsonObject runGuestStartBenchmark(const QStringList &arguments);
