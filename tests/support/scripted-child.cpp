// Plays any child process. Its script is the argument after "--script", or the file beside the program that
// is named like it with ".script" appended (so that links to it play emulators that are given fixed
// arguments). Commands stand on lines of their own or are separated by semicolons; see makeCommands().

#include <arpa/inet.h>
#include <dirent.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

std::vector<std::string> arguments;
int listener = -1;
int connection = -1;
std::string socketPath;

[[noreturn]] void fail(const std::string &text)
{
    std::fprintf(stderr, "scripted-child: %s: %s\n", text.c_str(), std::strerror(errno));
    ::_exit(99);
}

/// What follows `key` in the argument that has it, up to the next single comma.
std::string optionValue(const std::string &key)
{
    for (const std::string &argument : arguments) {
        const std::size_t found = argument.find(key);
        if (found == std::string::npos)
            continue;
        std::string value;
        for (std::size_t i = found + key.size(); i < argument.size(); ++i) {
            if (argument[i] == ',' && argument[++i] != ',')
                break;
            value += argument[i];
        }
        return value;
    }
    fail("no argument has " + key);
}

void writeAll(int descriptor, const std::string &bytes)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::write(descriptor, bytes.data() + done, bytes.size() - done);
        if (count < 0)
            fail("write");
        done += static_cast<std::size_t>(count);
    }
}

/// A client may have left again.
bool sendIfConnected(const std::string &bytes)
{
    return ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL) > 0;
}

void note(const std::string &text)
{
    std::ofstream(arguments[0] + ".received", std::ios::app) << text << '\n';
}

void flood(const std::string &megabytes)
{
    std::string block;
    while (block.size() < 1 << 20)
        block += "the same warning over and over again\n";
    for (int i = 0; i < std::stoi(megabytes); ++i)
        writeAll(STDERR_FILENO, block);
}

void openPort(const std::string &given)
{
    const int port = given.empty() ? 5900 + std::stoi(optionValue("vnc=127.0.0.1:")) : std::stoi(given);
    const int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(server, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    address.sin_port = ::htons(static_cast<in_port_t>(port));
    if (::bind(server, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(server, 64) != 0)
        fail("bind");
    std::thread([server] {
        while (true)
            ::close(::accept(server, nullptr, nullptr));
    }).detach();
}

void openSocket(const std::string &given)
{
    const bool isEmulator = std::find(arguments.begin(), arguments.end(), "-qmp") != arguments.end();
    socketPath = !given.empty() ? given : optionValue(isEmulator ? "unix:" : "type=unixio,path=");
    listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // Whoever sees the file finds a listener.
    std::string unready = socketPath;
    unready.back() = '~';
    std::strncpy(address.sun_path, unready.c_str(), sizeof address.sun_path - 1);
    if (::bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(listener, 8) != 0 || ::link(unready.c_str(), socketPath.c_str()) != 0 ||
        ::unlink(unready.c_str()) != 0)
        fail("bind " + socketPath);
}

void acceptConnection(const std::string &)
{
    ::close(connection);
    connection = ::accept(listener, nullptr, nullptr);
}

std::string readLine()
{
    std::string line;
    char byte = 0;
    while (::read(connection, &byte, 1) == 1 && byte != '\n')
        line += byte;
    return line;
}

/// Until the peer leaves.
void repeat(const std::string &line)
{
    const std::string bytes = line + "\n";
    while (sendIfConnected(bytes)) {
    }
}

/// What the guest does: what the file beside the program says, where there is one.
std::string guestStatus(bool isRunning)
{
    std::ifstream file(arguments[0] + ".status");
    std::string status;
    return file >> status ? status : isRunning ? "running" : "paused";
}

/// Answers so many commands, or all, as an emulator whose guest does what it is told. It listens where
/// open-socket says, or else on the inherited descriptor, and then its guest stands still at first.
void serveQmp(const std::string &count)
{
    bool isRunning = listener >= 0;
    if (!isRunning)
        listener = 3;
    long left = count.empty() ? 1'000'000 : std::stol(count);
    while (left > 0) {
        acceptConnection({});
        sendIfConnected("{\"QMP\": {\"version\": {}, \"capabilities\": [\"oob\"]}}\r\n");
        for (std::string line = readLine(); !line.empty(); line = left > 0 ? readLine() : std::string()) {
            --left;
            note(line);
            if (line.find("\"cont\"") != std::string::npos || line.find("\"stop\"") != std::string::npos)
                isRunning = line.find("\"cont\"") != std::string::npos;
            const std::string answer = line.find("\"query-block\"") != std::string::npos
                                           ? "[{\"io-status\": \"nospace\"}]"
                                           : "{\"status\": \"" + guestStatus(isRunning) + "\"}";
            sendIfConnected("{\"event\": \"NOTE\", \"data\": {}}\r\n{\"return\": " + answer + "}\r\n");
            if (line.find("\"quit\"") != std::string::npos) {
                ::unlink(socketPath.c_str());
                ::_exit(0);
            }
        }
    }
}

void serveTpm(const std::string &)
{
    while (true) {
        acceptConnection({});
        char command[4] = {};
        if (::read(connection, command, sizeof command) == 4 && command[3] == 3) {
            note("shutdown");
            ::close(connection);
            std::this_thread::sleep_for(std::chrono::milliseconds(300)); // it writes its state
            ::unlink(socketPath.c_str());
            ::_exit(0);
        }
    }
}

/// Has itself traced by a process that does not reap, so that its end stays unseen for a while.
void hideEnd(const std::string &ms)
{
    ::prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
    int ready[2] = {-1, -1};
    if (::pipe(ready) != 0)
        fail("pipe");
    if (::fork() == 0) {
        const bool isTraced = ::ptrace(PTRACE_SEIZE, ::getppid(), nullptr, nullptr) == 0;
        const int output = ::dup2(ready[1], 0);
        ::close_range(1, ~0U, 0);
        if (!isTraced || ::write(output, "x", 1) != 1)
            ::_exit(1);
        ::close(output);
        std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(ms)));
        ::_exit(0);
    }
    ::close(ready[1]);
    char byte = 0;
    writeAll(STDERR_FILENO, ::read(ready[0], &byte, 1) == 1 ? "traced\n" : "cannot be traced\n");
}

/// The working folder and what was given, in one line.
std::string placeAndArguments(std::size_t firstArgument)
{
    char folder[4096] = {};
    std::string text = ::getcwd(folder, sizeof folder);
    for (std::size_t i = firstArgument; i < arguments.size(); ++i)
        text += '|' + arguments[i];
    return text;
}

/// Where it stands, on standard error: what a launcher may have got wrong.
void report(const std::string &)
{
    std::ostringstream text;
    text << placeAndArguments(3) << '\n';
    text << "leads its session=" << (::getsid(0) == ::getpid()) << '\n';
    struct sigaction action = {};
    ::sigaction(SIGPIPE, nullptr, &action);
    text << "ignores SIGPIPE=" << (action.sa_handler == SIG_IGN) << '\n';
    text << "descriptors=";
    for (int descriptor = 0; descriptor < 256; ++descriptor)
        if (::fcntl(descriptor, F_GETFD) >= 0)
            text << descriptor << ' ';
    text << '\n';
    writeAll(STDERR_FILENO, text.str());
}

std::string script()
{
    if (arguments.size() > 2 && arguments[1] == "--script")
        return arguments[2];
    std::ifstream file(arguments[0] + ".script");
    if (!file)
        fail("no script");
    return {std::istreambuf_iterator<char>(file), {}};
}

using Commands = std::map<std::string, std::function<void(const std::string &)>>;

Commands makeCommands()
{
    Commands commands = {
        {"accept", acceptConnection}, {"flood", flood},   {"hide-end", hideEnd}, {"open-port", openPort},
        {"open-socket", openSocket},  {"repeat", repeat}, {"report", report},    {"serve-qmp", serveQmp},
        {"serve-tpm", serveTpm}};
    const auto add = [&](const char *name, const Commands::mapped_type &command) {
        commands.emplace(name, command);
    };
    add("crash", [](const auto &) { std::abort(); });
    add("exit", [](const auto &status) { ::_exit(std::stoi(status)); });
    add("hang", [](const auto &) { std::this_thread::sleep_for(std::chrono::hours(1)); });
    add("ignore-term", [](const auto &) { ::signal(SIGTERM, SIG_IGN); });
    add("note-pid", [](const auto &) { note(std::to_string(::getpid())); });
    add("note-start", [](const auto &) { note(placeAndArguments(1)); });
    add("read-line", [](const auto &) { note(readLine()); });
    add("send", [](const auto &text) { writeAll(connection, text + "\r\n"); });
    add("shut", [](const auto &) { ::close(std::exchange(connection, -1)); });
    add("stderr", [](const auto &text) { writeAll(STDERR_FILENO, text + '\n'); });
    return commands;
}

} // namespace

int main(int argc, char *argv[])
{
    arguments.assign(argv, argv + argc);
    const rlimit noCore = {0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    ::alarm(100); // a test that failed may have forgotten about us

    std::string text = script();
    std::replace(text.begin(), text.end(), ';', '\n');
    std::istringstream lines(text);
    const Commands commands = makeCommands();
    for (std::string line; std::getline(lines, line);) {
        line.erase(0, line.find_first_not_of(' '));
        if (line.empty())
            continue;
        const std::size_t space = line.find(' ');
        const auto command = commands.find(line.substr(0, space));
        if (command == commands.end())
            fail("unknown command " + line);
        command->second(space == std::string::npos ? std::string() : line.substr(space + 1));
    }
    ::_exit(0);
}
