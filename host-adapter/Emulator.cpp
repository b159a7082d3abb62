#include "Emulator.h"

#include "Platform/Emulator/EmulatorAnswer.h"
#include "Platform/Emulator/KVMProbe.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace {

std::vector<char *> argumentVector(std::string &programName, std::vector<std::string> &arguments)
{
    std::vector<char *> result{programName.data()};
    for (std::string &argument : arguments)
        result.push_back(argument.data());
    result.push_back(nullptr);
    return result;
}

} // namespace

Emulator::Emulator(std::string path)
    : m_path(std::move(path))
{}

bool Emulator::isInstalled() const
{
    struct stat emulator
    {};
    struct stat self
    {};
    if (::stat(m_path.c_str(), &emulator) != 0 || ::access(m_path.c_str(), X_OK) != 0)
        return false;
    const bool isSelf = ::stat("/proc/self/exe", &self) == 0 && self.st_dev == emulator.st_dev &&
                        self.st_ino == emulator.st_ino;
    return S_ISREG(emulator.st_mode) && !isSelf;
}

int Emulator::become(std::string programName, std::vector<std::string> arguments) const
{
    const std::vector<char *> vector = argumentVector(programName, arguments);
    ::execv(m_path.c_str(), vector.data());
    return errno;
}

std::string Emulator::reasonToEmulate() const
{
    const KVMOffer host = probeKVM();
    if (!host.isUsable())
        return host.reason();
    // One that is slow to answer is believed to have what the probe has shown the host to have.
    const std::optional<std::string> accelerators = emulatorAnswer(m_path, {"-accel", "help"});
    const bool hasKVM = !accelerators || accelerators->find("\nkvm\n") != std::string::npos;
    return hasKVM ? std::string() : m_path + " was built without KVM";
}
