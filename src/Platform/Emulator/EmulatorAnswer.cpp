#include "Platform/Emulator/EmulatorAnswer.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t maxAnswerBytes = 65536;

std::optional<std::string> readUntilEnd(int descriptor, Clock::time_point deadline)
{
    std::string result;
    while (result.size() < maxAnswerBytes) {
        const auto rest = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd waiting{.fd = descriptor, .events = POLLIN, .revents = 0};
        if (rest.count() <= 0 || (::poll(&waiting, 1, static_cast<int>(rest.count())) < 0 && errno != EINTR))
            return std::nullopt;
        if (waiting.revents == 0)
            continue;
        std::array<char, 4096> buffer{};
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
        if (count < 0 && errno != EINTR)
            return std::nullopt;
        if (count == 0)
            return result;
        result.append(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> emulatorAnswer(const std::string &program, std::vector<std::string> arguments,
                                          std::chrono::milliseconds timeout)
{
    const Clock::time_point deadline = Clock::now() + timeout;
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return std::nullopt;

    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::string name = program;
    std::vector<char *> vector{name.data()};
    for (std::string &argument : arguments)
        vector.push_back(argument.data());
    vector.push_back(nullptr);
    pid_t child = -1;
    const int error = ::posix_spawn(&child, program.c_str(), &actions, nullptr, vector.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);

    std::optional<std::string> answer;
    if (error == 0) {
        answer = readUntilEnd(ends[0], deadline);
        // Its answer is complete or too late; without this a hanging one would be waited for without end.
        ::kill(child, SIGKILL);
        while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
    ::close(ends[0]);
    return answer;
}

std::optional<bool> emulatorHasTpmCrbDevice(const std::string &program)
{
    // The exit status is 0 whether it knows the device or not.
    const std::optional<std::string> answer = emulatorAnswer(program, {"-device", "tpm-crb-device,help"});
    if (!answer)
        return std::nullopt;
    return answer->find("tpm-crb-device options") != std::string::npos;
}
