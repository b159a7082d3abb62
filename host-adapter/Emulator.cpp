#include "Emulator.h"

#include "Platform/Hypervisor/KVMProbe.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds answerTimeout{2000};
constexpr std::size_t maxAnswerBytes = 65536;

std::vector<char *> argumentVector(std::string &programName, std::vector<std::string> &arguments)
{
    std::vector<char *> result{programName.data()};
    for (std::string &argument : arguments)
        result.push_back(argument.data());
    result.push_back(nullptr);
    return result;
}

std::string readUntilEnd(int descriptor)
{
    std::string result;
    const auto deadline = Clock::now() + answerTimeout;
    while (result.size() < maxAnswerBytes) {
        const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd waiting{.fd = descriptor, .events = POLLIN, .revents = 0};
        if (rest.count() <= 0 || ::poll(&waiting, 1, static_cast<int>(rest.count())) <= 0)
            break;
        std::array<char, 4096> buffer{};
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
        if (count <= 0)
            break;
        result.append(buffer.data(), static_cast<std::size_t>(count));
    }
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

HostOffer Emulator::offerFor(const ArgumentRewriter &rewriter) const
{
    return {
        .hardwareAcceleration = rewriter.asksForAcceleration() && hasHardwareAcceleration(),
        .tpmCrbDevice = rewriter.asksForTpmCrbDevice() && hasTpmCrbDevice(),
    };
}

int Emulator::become(std::string programName, std::vector<std::string> arguments) const
{
    const std::vector<char *> vector = argumentVector(programName, arguments);
    ::execv(m_path.c_str(), vector.data());
    return errno;
}

std::string Emulator::answerTo(std::vector<std::string> arguments) const
{
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return {};

    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::string programName = m_path;
    const std::vector<char *> vector = argumentVector(programName, arguments);
    pid_t child = -1;
    const int error = ::posix_spawn(&child, m_path.c_str(), &actions, nullptr, vector.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);

    std::string answer;
    if (error == 0) {
        answer = readUntilEnd(ends[0]);
        // Its answer is complete or too late; without this a hanging one would be waited for without end.
        ::kill(child, SIGKILL);
        while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    ::close(ends[0]);
    return answer;
}

bool Emulator::hasHardwareAcceleration() const
{
    return isKVMUsable() && answerTo({"-accel", "help"}).find("\nkvm\n") != std::string::npos;
}

bool Emulator::hasTpmCrbDevice() const
{
    // The exit status is 0 whether it knows the device or not.
    return answerTo({"-device", "tpm-crb-device,help"}).find("tpm-crb-device options") != std::string::npos;
}
