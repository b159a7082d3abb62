#pragma once

#include <QJsonObject>

/// `library --bundles N`: how long a library of N machines takes to find, decode and load with warm file
/// caches, in microseconds per bundle, beside a plain loop that reads and parses the same documents and
/// measures the same disk images.
[[nodiscard]] QJsonObject runLibraryBenchmark(const QStringList &arguments);
