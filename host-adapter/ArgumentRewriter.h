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

/// Fits the argument list that QEMUCommandBuilder writes, for an hvf host, to this one. Such a list consists
/// of options that each have a value, "-accel hvf" among them; any other is somebody's question to the
/// emulator and stays as it is. Arguments exclude the program's name. Pure; never fails.
class ArgumentRewriter
{
public:
    /// The list must outlive the object.
    explicit ArgumentRewriter(std::span<const std::string> arguments);

    /// The list starts a guest, so that the result depends on the host.
    [[nodiscard]] bool startsGuest() const { return m_startsGuest; }

    /// The list for this host:
    /// - accelerator "hvf": "kvm" or, with the processor "max,pauth=off", "tcg";
    /// - "tpm-crb-device": "tpm-tis-device" where the former is missing;
    /// - "virtio-gpu-pci": "ramfb" where the guest has no driver for the former, and so would have no picture
    ///   from the moment its boot loader hands over;
    /// - "virtio-net-pci": without a boot ROM, which need not be installed;
    /// - more than eight processors: "gic-version=max", as the machine does not choose that by itself under
    ///   emulation;
    /// - "-rtc base=localtime" comes before it all, as the guest takes its clock for local time.
    [[nodiscard]] std::vector<std::string> rewritten(const HostOffer &offer) const;

private:
    std::span<const std::string> m_arguments;
    bool m_startsGuest;
};
