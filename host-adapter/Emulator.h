#pragma once

#include "ArgumentRewriter.h"

#include <string>
#include <vector>

/// The distribution's emulator, known by its absolute path: looking it up by name could find this program
/// again.
class Emulator
{
public:
    explicit Emulator(std::string path);

    /// The path leads to an executable file that is not this very program.
    [[nodiscard]] bool isInstalled() const;
    /// Asks the host and the emulator for what the list depends on, and for nothing else. What cannot be
    /// found out within two seconds counts as missing.
    [[nodiscard]] HostOffer offerFor(const ArgumentRewriter &rewriter) const;
    /// Becomes the emulator: same process, descriptors and environment. Returns only on failure, with errno.
    [[nodiscard]] int become(std::string programName, std::vector<std::string> arguments) const;

private:
    /// Standard output of the emulator run with these arguments; empty when it could not be run.
    [[nodiscard]] std::string answerTo(std::vector<std::string> arguments) const;
    [[nodiscard]] bool hasHardwareAcceleration() const;
    [[nodiscard]] bool hasTpmCrbDevice() const;

    std::string m_path;
};
