#pragma once

#include <QtGlobal>

/// What this process has used of the host so far (getrusage(2), proc(5)).
struct ProcessUsage
{
    double cpuSeconds = 0;
    /// Of the calling thread alone.
    double threadCpuSeconds = 0;
    qint64 pageFaults = 0;
    qint64 residentBytes = 0;
    qint64 peakResidentBytes = 0;

    [[nodiscard]] static ProcessUsage now();
    /// Lets peakResidentBytes start anew.
    static void resetPeak();
};
