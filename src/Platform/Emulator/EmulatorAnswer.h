#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// What a program writes to its standard output: the emulator asked about itself ("-version", "-accel help").
/// `program` is an absolute path. Reads at most 64 KiB and kills it when the time is over. No value when that
/// was not its whole answer, or when it could not be run. Needs nothing but the C library. Any thread.
[[nodiscard]] std::optional<std::string>
emulatorAnswer(const std::string &program, std::vector<std::string> arguments,
               std::chrono::milliseconds timeout = std::chrono::seconds(2));

/// Whether the emulator knows the device "tpm-crb-device"; none when it has not said so in time. Any thread.
[[nodiscard]] std::optional<bool> emulatorHasTpmCrbDevice(const std::string &program);
