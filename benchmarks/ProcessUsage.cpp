#include "ProcessUsage.h"

#include "Platform/LocalizedError.h"

#include <QFile>

#include <sys/resource.h>

using namespace Qt::StringLiterals;

static double cpuSeconds(const rusage &usage)
{
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

static qint64 statusBytes(const QByteArray &status, const QByteArray &key)
{
    const qsizetype start = status.indexOf(key) + key.size();
    return status.mid(start, status.indexOf("kB", start) - start).trimmed().toLongLong() * 1024;
}

ProcessUsage ProcessUsage::now()
{
    rusage process{};
    rusage thread{};
    ::getrusage(RUSAGE_SELF, &process);
    ::getrusage(RUSAGE_THREAD, &thread);
    QFile file(u"/proc/self/status"_s);
    if (!file.open(QIODevice::ReadOnly))
        throw LocalizedError(u"Could not open /proc/self/status."_s);
    const QByteArray status = file.readAll();
    return {
        .cpuSeconds = ::cpuSeconds(process),
        .threadCpuSeconds = ::cpuSeconds(thread),
        .pageFaults = process.ru_minflt + process.ru_majflt,
        .residentBytes = statusBytes(status, "VmRSS:"),
        .peakResidentBytes = statusBytes(status, "VmHWM:"),
    };
}

void ProcessUsage::resetPeak()
{
    QFile file(u"/proc/self/clear_refs"_s);
    if (!file.open(QIODevice::WriteOnly) || file.write("5") != 1)
        throw LocalizedError(u"Could not write to /proc/self/clear_refs."_s);
}
