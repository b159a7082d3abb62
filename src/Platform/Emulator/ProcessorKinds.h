#pragma once

#include <sched.h>

#include <string>
#include <vector>

/// The processors of a host may be of several kinds (big.LITTLE). KVM gives a guest one kind, and fails when
/// a processor of the guest moves to one of another.
namespace ProcessorKinds {

/// The numbers of the processors of the strongest kind; empty where all are of one kind, or nothing is known.
/// `folder` is like /sys/devices/system/cpu (Linux, Documentation/ABI/testing/sysfs-devices-system-cpu:
/// regs/identification/midr_el1, cpu_capacity).
[[nodiscard]] std::vector<int> strongest(const std::string &folder = "/sys/devices/system/cpu");

/// Keeps the calling thread, and what it starts, on such processors while it lives: on those of them that the
/// thread may use, and where there are none, on all that it may use.
class StrongestOnly
{
public:
    explicit StrongestOnly(const std::vector<int> &processors = strongest());
    StrongestOnly(const StrongestOnly &) = delete;
    StrongestOnly &operator=(const StrongestOnly &) = delete;
    ~StrongestOnly();

private:
    cpu_set_t m_before{};
    bool m_isLimited = false;
};

} // namespace ProcessorKinds
