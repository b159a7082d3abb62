#pragma once

#include <QDebug>

/// What this process holds of the host, to find what an operation has left behind.
struct ProcessCensus
{
    qsizetype descriptors = 0;
    qsizetype threads = 0;
    qsizetype children = 0; ///< zombies included

    bool operator==(const ProcessCensus &) const = default;

    /// From proc(5): fd, task, and every process's parent.
    [[nodiscard]] static ProcessCensus take();
};

/// The memory that this process has in RAM (proc(5), statm).
[[nodiscard]] qsizetype residentBytes();

/// For failure messages of QCOMPARE.
[[nodiscard]] char *toString(const ProcessCensus &census);
