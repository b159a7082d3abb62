#include "ArgumentRewriter.h"
#include "Emulator.h"
#include "Platform/Emulator/DisplayDriverMark.h"
#include "Platform/Emulator/EmulatorAnswer.h"
#include "Platform/Emulator/ProcessorKinds.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#ifndef KELVO_EMULATOR
#define KELVO_EMULATOR "/usr/bin/qemu-system-aarch64"
#endif

namespace {

// As shells report a command that is missing or cannot be run.
constexpr int exitNotFound = 127;
constexpr int exitNotRunnable = 126;

} // namespace

#ifdef KELVO_SOURCE_ID
// Lets scripts/setup see whether the program in place was built from these sources.
extern "C" [[gnu::used]] const char kelvoSourceId[] = KELVO_SOURCE_ID;
#endif

int main(int argc, char *argv[])
{
    const Emulator emulator(KELVO_EMULATOR);
    if (!emulator.isInstalled()) {
        std::fputs(
            "kelvo-host-adapter: " KELVO_EMULATOR " is not installed. "
            "Install the package qemu-system-arm (Debian, Ubuntu) or your distribution's equivalent.\n",
            stderr);
        return exitNotFound;
    }

    const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    const ArgumentRewriter rewriter(arguments);
    const std::string obstacle = rewriter.startsGuest() ? emulator.reasonToEmulate() : std::string();
    if (!obstacle.empty())
        std::fprintf(stderr, "kelvo-host-adapter: note: the guest is emulated, because %s.\n",
                     obstacle.c_str());
    std::optional<ProcessorKinds::StrongestOnly> oneKind;
    if (rewriter.startsGuest() && obstacle.empty())
        oneKind.emplace();
    const HostOffer offer{.hardwareAcceleration = obstacle.empty(),
                          .tpmCrbDevice = rewriter.startsGuest() &&
                                          emulatorHasTpmCrbDevice(emulator.path()).value_or(false),
                          .displayDriver = ::access(displayDriverMark, F_OK) == 0};
    const int error = emulator.become(argc > 0 ? argv[0] : KELVO_EMULATOR, rewriter.rewritten(offer));
    std::fprintf(stderr, "kelvo-host-adapter: " KELVO_EMULATOR " could not be run: %s\n",
                 std::strerror(error));
    return error == ENOENT ? exitNotFound : exitNotRunnable;
}
