#include "ConsoleBenchmark.h"
#include "DisplayBenchmark.h"
#include "FrameServer.h"
#include "GuestStartBenchmark.h"
#include "LibraryBenchmark.h"
#include "LogBenchmark.h"
#include "StartBenchmark.h"
#include "UIBenchmark.h"
#include "VNCBenchmark.h"

#include "App/PromptDrawing.h"
#include "Platform/LocalizedError.h"

#include <QGuiApplication>
#include <QJsonDocument>
#include <QJsonObject>

#include <array>
#include <cstdio>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

struct Command
{
    const char *name;
    const char *purpose;
    /// Takes the command line from the program's name on and returns what is printed.
    QJsonObject (*run)(const QStringList &arguments);
};

constexpr std::array commands{
    Command{"console", "a guest's screen in the console window", runConsoleBenchmark},
    Command{"display", "a hypervisor guest's screen in a window", runDisplayBenchmark},
    Command{"guest-start", "from a hypervisor guest's start to the running state", runGuestStartBenchmark},
    Command{"library", "finding and loading many machines", runLibraryBenchmark},
    Command{"log", "entries into the diagnostic log", runLogBenchmark},
    Command{"start", "from a controller's start to the running state", runStartBenchmark},
    Command{"ui", "the list of machines on the screen", runUIBenchmark},
    Command{"ui-window", "one window of it", runUIWindow},
    Command{"vnc", "frames received from a VNC server", runVNCBenchmark},
    Command{"vnc-server", "a server for it, until it is killed", runFrameServer},
};

void printUsage()
{
    std::fputs("usage: kelvo-benchmark COMMAND [--help | OPTIONS]\n", stderr);
    for (const Command &command : commands)
        std::fprintf(stderr, "  %-12s %s\n", command.name, command.purpose);
}

} // namespace

int main(int argc, char *argv[])
{
    // Only what has a window needs a display.
    const QByteArrayView wanted = argc > 1 ? argv[1] : "";
    const bool hasWindow = wanted == "console" || wanted == "display" || wanted == "ui-window";
    drawPromptly();
    const std::unique_ptr<QCoreApplication> application =
        hasWindow ? std::make_unique<QGuiApplication>(argc, argv)
                  : std::make_unique<QCoreApplication>(argc, argv);
    QStringList arguments = QCoreApplication::arguments();
    const QString name = arguments.value(1);
    for (const Command &command : commands) {
        if (name != QLatin1StringView(command.name))
            continue;
        arguments.removeAt(1);
        try {
            const QJsonObject result = command.run(arguments);
            std::fputs(QJsonDocument(result).toJson(QJsonDocument::Indented).constData(), stdout);
            return EXIT_SUCCESS;
        } catch (const std::exception &error) {
            std::fprintf(stderr, "kelvo-benchmark: %s\n", qPrintable(localizedDescription(error)));
            return EXIT_FAILURE;
        }
    }
    printUsage();
    return EXIT_FAILURE;
}
