#include "Platform/Hypervisor/KVMProbe.h"

#ifdef __aarch64__

#include <fcntl.h>
#include <linux/kvm.h>
#include <sys/ioctl.h>
#include <unistd.h>

bool isKVMUsable()
{
    const int kvm = ::open("/dev/kvm", O_RDWR | O_CLOEXEC);
    if (kvm < 0)
        return false;
    bool isUsable = false;
    if (::ioctl(kvm, KVM_GET_API_VERSION, 0) == KVM_API_VERSION) {
        const int machine = ::ioctl(kvm, KVM_CREATE_VM, 0);
        isUsable = machine >= 0;
        if (isUsable)
            ::close(machine);
    }
    ::close(kvm);
    return isUsable;
}

#else

bool isKVMUsable()
{
    return false;
}

#endif
