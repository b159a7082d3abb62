#pragma once

#include <span>
#include <string>
#include <vector>

/// What a host offers of the things that the argument list may ask for.
struct HostOffer
{
    /// Guests run on the processor itself (KVM); otherwise they are emulated (TCG).
    bool hardwareAcceleration = false;
    /// The emulator knows the device "tpm-crb-device".
    bool tpmCrbDevice = false;
    /// The guest has a driver for a virtio display, see displayDriverMark.
    bool displayDriver = false;

    bool operator==(const HostOffer &) const = default;
};

/// Fits an argument list of qemu-system-aarch64 that was written for an hvf host to this one. Arguments
/// exclude the program's name. Options are told from values as QEMU does it (one or two leading dashes, the
/// next argument is the value whatever it looks like), so that a machine named "-accel" stays one. Pure;
/// never fails: what QEMU would refuse is left for QEMU to refuse.
class ArgumentRewriter
{
public:
    /// The list must outlive the object.
    explicit ArgumentRewriter(std::span<const std::string> arguments);

    /// The result depends on HostOffer::hardwareAcceleration.
    [[nodiscard]] bool asksForAcceleration() const;
    /// The result depends on HostOffer::tpmCrbDevice.
    [[nodiscard]] bool asksForTpmCrbDevice() const;

    /// Replaces the accelerator "hvf" by "kvm" or "tcg" and, where tcg stands in for it, the processor "host"
    /// by "max,pauth=off"; "tpm-crb-device" by "tpm-tis-device" where the former is missing; a bare
    /// "virtio-gpu-pci" by "ramfb" where the guest has no driver for the former, and so would have no picture
    /// from the moment its boot loader hands over; gives a "virt" machine of more than eight processors
    /// "gic-version=max" unless the list names a version; and keeps a "virtio-net-pci" from a boot ROM that
    /// need not be installed. Such a list is for a guest that takes the clock for local time:
    /// "-rtc base=localtime" comes before it unless it has the option.
    [[nodiscard]] std::vector<std::string> rewritten(const HostOffer &offer) const;

private:
    /// An option with its value's place in the list.
    struct Option
    {
        std::string name;
        std::size_t valueIndex;
    };

    [[nodiscard]] bool needsInterruptControllerVersion() const;

    std::span<const std::string> m_arguments;
    std::vector<Option> m_options;
};
