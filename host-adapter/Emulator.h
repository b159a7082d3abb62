#pragma once

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
    /// Why the host's processors cannot run guests; empty when they can. An emulator that takes longer than
    /// two seconds to say what it was built with is believed to be able to use them.
    [[nodiscard]] std::string reasonToEmulate() const;
    [[nodiscard]] const std::string &path() const { return m_path; }
    /// Becomes the emulator: same process, descriptors and environment. Returns only on failure, with errno.
    [[nodiscard]] int become(std::string programName, std::vector<std::string> arguments) const;

private:
    std::string m_path;
};
