#include "ConsoleBenchmark.h"

#include "App/KelvoApp.h"
#include "App/State/AppState.h"
#include "LibraryOnDisk.h"
#include "Platform/ChildProcess.h"
#include "Platform/FileUrl.h"
#include "Platform/LocalizedError.h"
#include "ProcessUsage.h"
#include "StandInMachine.h"
#include "Statistics.h"
#include "Virtualization/VMManager.h"
#include "support/EventLoopBeat.h"
#include "support/Expectations.h"
#include "support/FakeController.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QQuickWindow>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto warmUp = 1500ms;
constexpr int keyRounds = 100;

struct Options
{
    QString home;
    QSize screen;
    int rate = 0;
    std::chrono::milliseconds duration{};
    bool isVNC = false;
};

void pause(std::chrono::milliseconds duration)
{
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
}

/// The application with one running machine and its console. The machine's picture comes from `machine`, or
/// from the VNC server on its port.
class Application
{
public:
    Application(const Options &options, VZVirtualMachine *machine)
    {
        VMManager::Collaborators collaborators = VMManager::defaultCollaborators();
        collaborators.makeController = [machine](VMBackendType) {
            auto controller = std::make_unique<FakeController>();
            controller->machine = machine;
            controller->display = machine ? VMDisplayKind::hypervisorView : VMDisplayKind::vnc;
            return controller;
        };
        m_kelvo =
            std::make_unique<KelvoApp>(std::make_unique<AppState>(std::make_unique<VMManager>(collaborators)),
                                       options.home + u"/windows.conf"_s);
        if (!m_kelvo->start())
            throw LocalizedError(u"The main window could not be made."_s);
    }

    [[nodiscard]] VirtualMachine &vm() const { return *manager().virtualMachines().first(); }

    QQuickWindow &showConsole()
    {
        finish(manager().start(&vm()));
        m_kelvo->showConsole(vm().id());
        return *m_kelvo->consoleWindow(vm().id());
    }

private:
    [[nodiscard]] VMManager &manager() const { return *m_kelvo->state().vmManager(); }

    std::unique_ptr<KelvoApp> m_kelvo;
};

/// `standInSeconds`: what of the process's time is not the application's.
template<typename StandInSeconds>
QJsonObject watch(QQuickWindow &window, const Options &options, const StandInSeconds &standInSeconds)
{
    qint64 frames = 0;
    const auto counting =
        QObject::connect(&window, &QQuickWindow::frameSwapped, &window, [&frames] { ++frames; });
    pause(warmUp);
    const qint64 framesBefore = frames;
    const ProcessUsage before = ProcessUsage::now();
    const double standInBefore = standInSeconds();
    const EventLoopBeat beat;
    QElapsedTimer clock;
    clock.start();
    pause(options.duration);
    const double seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    const ProcessUsage after = ProcessUsage::now();
    const double cpuSeconds = after.cpuSeconds - before.cpuSeconds - (standInSeconds() - standInBefore);
    const auto shown = static_cast<double>(frames - framesBefore);
    QObject::disconnect(counting);
    if (shown == 0)
        throw LocalizedError(u"No frame was shown."_s);
    return {
        {u"seconds"_s, seconds},
        {u"framesPerSecond"_s, shown / seconds},
        {u"droppedFrames"_s, std::max(0.0, std::floor(options.rate * seconds) - shown)},
        {u"mainThreadMillisecondsPerFrame"_s,
         1000 * (after.threadCpuSeconds - before.threadCpuSeconds) / shown},
        {u"cpuPercentOfCore"_s, 100 * cpuSeconds / seconds},
        {u"longestPauseMilliseconds"_s, static_cast<qint64>(beat.longestPause().count())},
    };
}

void sendKey(QQuickWindow &window, QEvent::Type type)
{
    constexpr quint32 scanCodeOfA = 38; // of X11
    QKeyEvent event(type, Qt::Key_A, Qt::NoModifier, scanCodeOfA, 0, 0, u"a"_s);
    QCoreApplication::sendEvent(&window, &event);
}

/// From the key's arrival in the window to the frame with the guest's answer.
QJsonObject measureKeys(const Options &options)
{
    StandInDisplay display(options.screen, StandInDisplay::Change::Answer, 1ms);
    StandInMachine machine(display);
    Application application(options, &machine);
    QQuickWindow &window = application.showConsole();
    pause(warmUp);
    QFocusEvent focus(QEvent::FocusIn);
    QCoreApplication::sendEvent(&window, &focus);
    const QPointF middle(window.width() / 2.0, window.height() / 2.0);
    for (const auto type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        const bool isPress = type == QEvent::MouseButtonPress;
        QMouseEvent click(type, middle, window.mapToGlobal(middle), Qt::LeftButton,
                          isPress ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&window, &click);
    }
    pause(300ms);

    QList<double> milliseconds;
    for (int round = 0; round < keyRounds; ++round) {
        QEventLoop loop;
        const qint64 updates = display.updates();
        QObject::connect(&window, &QQuickWindow::frameSwapped, &loop, [&] {
            if (display.updates() > updates)
                loop.quit();
        });
        QTimer::singleShot(2s, &loop, [&loop] { loop.exit(EXIT_FAILURE); });
        QElapsedTimer clock;
        clock.start();
        sendKey(window, QEvent::KeyPress);
        if (loop.exec() != EXIT_SUCCESS)
            throw LocalizedError(u"A key was not answered."_s);
        milliseconds.append(static_cast<double>(clock.nsecsElapsed()) / 1e6);
        sendKey(window, QEvent::KeyRelease);
        pause(20ms);
    }
    const double typical = median(milliseconds);
    return {{u"medianMilliseconds"_s, typical},
            {u"longestMilliseconds"_s, *std::ranges::max_element(milliseconds)}};
}

QJsonObject measureHypervisorView(const Options &options)
{
    StandInDisplay display(options.screen, StandInDisplay::Change::Full, 1'000'000us / options.rate);
    StandInMachine machine(display);
    Application application(options, &machine);
    return watch(application.showConsole(), options, [&display] { return display.cpuSeconds(); });
}

QJsonObject measureVNC(const Options &options)
{
    Application application(options, nullptr);
    ChildProcess::LaunchOptions launch;
    launch.program = QCoreApplication::applicationFilePath();
    const auto text = [](qint64 number) {
        return QString::number(number);
    };
    launch.arguments = {u"vnc-server"_s,
                        u"--port"_s,
                        text(application.vm().configuration().vncPort),
                        u"--width"_s,
                        text(options.screen.width()),
                        u"--height"_s,
                        text(options.screen.height()),
                        u"--rate"_s,
                        text(options.rate)};
    ChildProcess server(launch);
    pause(500ms);
    const auto end = qScopeGuard([&server] { server.kill(); });
    return watch(application.showConsole(), options, [] { return 0.0; });
}

} // namespace

QJsonObject runConsoleBenchmark(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption secondsOption(u"seconds"_s, u"How long to measure."_s, u"S"_s, u"5"_s);
    const QCommandLineOption rateOption(u"rate"_s, u"Full frames a second."_s, u"N"_s, u"60"_s);
    const QCommandLineOption widthOption(u"width"_s, u"Guest's width in pixels."_s, u"W"_s, u"1920"_s);
    const QCommandLineOption heightOption(u"height"_s, u"Guest's height in pixels."_s, u"H"_s, u"1080"_s);
    const QCommandLineOption viewOption(u"view"_s, u"hypervisor or vnc."_s, u"KIND"_s, u"hypervisor"_s);
    parser.addHelpOption();
    parser.addOptions({secondsOption, rateOption, widthOption, heightOption, viewOption});
    parser.process(arguments);
    const QString view = parser.value(viewOption);
    const QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    makeLibrary(FileUrl::directory(home.filePath(u"Virtual Machines"_s)), 1);
    const Options options{
        .home = home.path(),
        .screen = {parser.value(widthOption).toInt(), parser.value(heightOption).toInt()},
        .rate = parser.value(rateOption).toInt(),
        .duration =
            std::chrono::milliseconds(static_cast<int>(parser.value(secondsOption).toDouble() * 1000)),
        .isVNC = view == u"vnc",
    };
    if (options.rate <= 0 || options.screen.isEmpty() || (!options.isVNC && view != u"hypervisor"))
        throw LocalizedError(u"There is no such view, size or rate."_s);

    QJsonObject result = options.isVNC ? measureVNC(options) : measureHypervisorView(options);
    if (!options.isVNC)
        result.insert(u"keyToPicture"_s, measureKeys(options));
    result.insert(u"benchmark"_s, u"console"_s);
    result.insert(u"view"_s, view);
    return result;
}
