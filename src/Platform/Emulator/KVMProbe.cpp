#include "Platform/Emulator/KVMProbe.h"

#include <limits>
#include <mutex>

int KVMOffer::maximumProcessors() const
{
    constexpr int processorsOfVersion2 = 8;
    return isUsable() && !hasInterruptController3 ? processorsOfVersion2 : std::numeric_limits<int>::max();
}

std::string KVMOffer::reason() const
{
    switch (obstacle) {
    case Obstacle::none:
        break;
    case Obstacle::otherProcessor:
        return "this is no ARM64 computer";
    case Obstacle::noDevice:
        return "this system has no /dev/kvm";
    case Obstacle::noPermission:
        return detail.empty() ? "this user may not open /dev/kvm"
                              : "this session is not in the group " + detail + ", which may open /dev/kvm";
    case Obstacle::noMachine:
        return "KVM makes no machine: " + detail;
    }
    return {};
}

KVMOffer hostKVM()
{
    static std::mutex mutex;
    static KVMOffer offer{.obstacle = KVMOffer::Obstacle::noDevice};
    const std::scoped_lock lock(mutex);
    if (!offer.isUsable())
        offer = probeKVM();
    return offer;
}

#ifdef __aarch64__

#include <fcntl.h>
#include <grp.h>
#include <linux/kvm.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

namespace {

/// A signal may come in between; making a machine takes a while.
template<typename Call>
int untilDone(const Call &call)
{
    int result = -1;
    do
        result = call();
    while (result < 0 && errno == EINTR);
    return result;
}

/// The group that this process would have to be in to open the device; empty where that is not what it lacks.
std::string missingGroup(const char *device)
{
    struct stat status
    {};
    if (::stat(device, &status) != 0 || (status.st_mode & 0060) != 0060 || status.st_gid == 0)
        return {};
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(::getgroups(0, nullptr), 0)));
    groups.resize(
        static_cast<std::size_t>(std::max(::getgroups(static_cast<int>(groups.size()), groups.data()), 0)));
    groups.push_back(::getegid());
    if (std::ranges::find(groups, status.st_gid) != groups.end())
        return {};
    const group *entry = ::getgrgid(status.st_gid);
    return entry != nullptr ? entry->gr_name : std::to_string(status.st_gid);
}

KVMOffer offerOfMachine(int kvm)
{
    // The type 0 stands for 40 bits, and is refused where the processor has fewer.
    const int addressBits = ::ioctl(kvm, KVM_CHECK_EXTENSION, KVM_CAP_ARM_VM_IPA_SIZE);
    const int machine = untilDone([&] { return ::ioctl(kvm, KVM_CREATE_VM, std::max(addressBits, 0)); });
    if (machine < 0)
        return {.obstacle = KVMOffer::Obstacle::noMachine, .detail = std::strerror(errno)};
    kvm_create_device controller{.type = KVM_DEV_TYPE_ARM_VGIC_V3, .fd = 0, .flags = KVM_CREATE_DEVICE_TEST};
    const bool hasController = ::ioctl(machine, KVM_CREATE_DEVICE, &controller) == 0;
    ::close(machine);
    return {.hasInterruptController3 = hasController};
}

} // namespace

KVMOffer probeKVM()
{
    constexpr const char *device = "/dev/kvm";
    const int kvm = untilDone([] { return ::open(device, O_RDWR | O_CLOEXEC); });
    if (kvm < 0 && (errno == EACCES || errno == EPERM))
        return {.obstacle = KVMOffer::Obstacle::noPermission, .detail = missingGroup(device)};
    if (kvm < 0 && errno != ENOENT && errno != ENODEV && errno != ENXIO)
        return {.obstacle = KVMOffer::Obstacle::noMachine, .detail = std::strerror(errno)};
    if (kvm < 0)
        return {.obstacle = KVMOffer::Obstacle::noDevice};
    const bool isStable = ::ioctl(kvm, KVM_GET_API_VERSION, 0) == KVM_API_VERSION;
    const KVMOffer offer =
        isStable ? offerOfMachine(kvm) : KVMOffer{.obstacle = KVMOffer::Obstacle::noDevice};
    ::close(kvm);
    return offer;
}

#else

KVMOffer probeKVM()
{
    return {.obstacle = KVMOffer::Obstacle::otherProcessor};
}

#endif
