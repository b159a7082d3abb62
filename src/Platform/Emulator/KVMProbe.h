#pragma once

#include <string>

/// What the host's processors do for guests of this process, or why they do nothing.
struct KVMOffer
{
    enum class Obstacle
    {
        none,
        otherProcessor, ///< not ARM64, so its KVM runs guests of its own kind only
        noDevice,       ///< no /dev/kvm, or nothing behind it
        noPermission,   ///< `detail` is the group that it takes to open it; empty when that is not what is
                        ///< missing
        noMachine       ///< `detail` is the kernel's reason
    };

    Obstacle obstacle = Obstacle::none;
    std::string detail = {};
    bool hasInterruptController3 = true; ///< GICv3

    [[nodiscard]] bool isUsable() const { return obstacle == Obstacle::none; }
    /// That KVM gives one guest; emulation has no limit of its own.
    [[nodiscard]] int maximumProcessors() const;
    /// The obstacle as half a sentence: "this system has no /dev/kvm".
    [[nodiscard]] std::string reason() const;

    bool operator==(const KVMOffer &) const = default;
};

/// Opens /dev/kvm and makes a machine with as many bits of guest addresses as the processor has, which may be
/// fewer than the usual 40 (Linux, Documentation/virt/kvm/api.rst, KVM_CREATE_VM).
[[nodiscard]] KVMOffer probeKVM();

/// The same, but asked no more once it is usable: whoever lifts an obstacle need not start anew.
[[nodiscard]] KVMOffer hostKVM();
