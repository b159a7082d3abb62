#pragma once

#include <QString>

#include <array>
#include <optional>
#include <string>

class FileManager;

/// The distribution's emulator and the firmware that guests of this layer boot with.
struct EmulatorInstallation
{
    enum class Accelerator
    {
        kvm, ///< the host's own processors
        tcg  ///< emulated ones
    };

    using Version = std::array<int, 2>; ///< major and minor number

    QString emulator;     ///< absolute path of qemu-system-aarch64
    QString firmwareCode; ///< absolute path of a flash image of 64 MiB

    bool operator==(const EmulatorInstallation &) const = default;

    /// No value where one of the two is missing. The firmware is found through the emulator's descriptors
    /// (QEMU's docs/interop/firmware.json), else at the distribution's usual place.
    [[nodiscard]] static std::optional<EmulatorInstallation> find();
    [[nodiscard]] static std::optional<EmulatorInstallation> find(const FileManager &fileManager);

    /// The emulator's, as it says itself. Never waits: no value while it has not answered, which the first
    /// call asks it to do, and so does each that finds that it could not. Main thread only.
    [[nodiscard]] static std::optional<Version> version();
    /// Of an answer to "-version": "QEMU emulator version 10.0.2 (Debian 1:10.0.2+ds-2)"; none in any other.
    [[nodiscard]] static std::optional<Version> versionIn(const std::string &answer);

    /// What hostKVM() says.
    [[nodiscard]] static Accelerator accelerator();
};
