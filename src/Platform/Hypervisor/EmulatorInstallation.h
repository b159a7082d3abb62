#pragma once

#include <QString>

#include <optional>

class FileManager;

/// The distribution's emulator and the firmware that guests of this layer boot with.
struct EmulatorInstallation
{
    enum class Accelerator
    {
        kvm, ///< the host's own processors
        tcg  ///< emulated ones
    };

    QString emulator;     ///< absolute path of qemu-system-aarch64
    QString firmwareCode; ///< absolute path of a flash image of 64 MiB

    bool operator==(const EmulatorInstallation &) const = default;

    /// No value where one of the two is missing. The firmware is found through the emulator's descriptors
    /// (QEMU's docs/interop/firmware.json), else at the distribution's usual place.
    [[nodiscard]] static std::optional<EmulatorInstallation> find();
    [[nodiscard]] static std::optional<EmulatorInstallation> find(const FileManager &fileManager);

    /// What isKVMUsable() says, once a process.
    [[nodiscard]] static Accelerator accelerator();
};
