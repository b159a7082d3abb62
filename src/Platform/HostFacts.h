#pragma once

#include <QString>

/// What the host says of itself; tests replace it. Any thread.
class HostFacts
{
public:
    HostFacts() = default;
    HostFacts(const HostFacts &) = delete;
    HostFacts &operator=(const HostFacts &) = delete;
    virtual ~HostFacts();

    /// The process-wide one that asks the real host.
    [[nodiscard]] static HostFacts &current();

    /// "machdep.cpu.brand_string" (the processor's name) or "hw.model" (the machine's); empty where unknown.
    /// Sources: /proc/cpuinfo, the device tree's model, the DMI product name.
    [[nodiscard]] virtual QString systemControlText(const QString &key) const;
    [[nodiscard]] virtual qint64 processorCount() const;
    [[nodiscard]] virtual quint64 physicalMemoryBytes() const;
    /// The distribution's name and version with the kernel's release, for people to read.
    [[nodiscard]] virtual QString operatingSystemVersionString() const;
};
