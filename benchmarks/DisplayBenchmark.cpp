#include "DisplayBenchmark.h"

#include "Platform/LocalizedError.h"
#include "ProcessUsage.h"
#include "RemoteFramebuffer/ClientMessages.h"
#include "StandInMachine.h"
#include "UI/Components/Display/VZVirtualMachineView.h"

#include <QCommandLineParser>
#include <QEventLoop>
#include <QQuickWindow>
#include <QTimer>

#include <sys/socket.h>

#include <array>
#include <chrono>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto warmUp = 1s;

struct Measurement
{
    double seconds = 0;
    double cpuSeconds = 0;
    qint64 updates = 0;
    qint64 frames = 0;
};

/// What the whole process but the stand-in uses in `duration`, after a while of the same.
Measurement measure(StandInDisplay &display, const qint64 &frames, std::chrono::milliseconds duration)
{
    const auto now = [&] {
        return Measurement{
            .seconds = static_cast<double>(std::chrono::steady_clock::now().time_since_epoch().count()) / 1e9,
            .cpuSeconds = ProcessUsage::now().cpuSeconds - display.cpuSeconds(),
            .updates = display.updates(),
            .frames = frames};
    };
    QEventLoop loop;
    Measurement start;
    QTimer::singleShot(warmUp, &loop, [&] {
        start = now();
        QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    });
    loop.exec();
    const Measurement end = now();
    return {.seconds = end.seconds - start.seconds,
            .cpuSeconds = end.cpuSeconds - start.cpuSeconds,
            .updates = end.updates - start.updates,
            .frames = end.frames - start.frames};
}

Measurement measureView(StandInDisplay &display, const QSize &windowSize, std::chrono::milliseconds duration)
{
    StandInMachine machine(display);
    QQuickWindow window;
    window.resize(windowSize);
    VZVirtualMachineView view(window.contentItem());
    view.setSize(windowSize);
    view.setVirtualMachine(&machine);
    qint64 frames = 0;
    QObject::connect(&window, &QQuickWindow::frameSwapped, &window, [&frames] { ++frames; });
    window.show();
    return measure(display, frames, duration);
}

/// Asks, receives an update into one buffer, and asks again.
void receiveAll(int socket, std::size_t screenBytes, std::size_t changeBytes, const QSize &size)
{
    const auto send = [socket](std::span<const std::byte> bytes) {
        (void)::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    };
    std::vector<std::byte> buffer(screenBytes);
    const auto receive = [&](std::size_t count) {
        return ::recv(socket, buffer.data(), count, MSG_WAITALL) == static_cast<ssize_t>(count);
    };
    constexpr std::size_t greetingSize = 18 + 24;
    send(rfb::protocolVersion());
    send(rfb::securityChoice(rfb::SecurityType::None));
    send(rfb::clientInit(rfb::DesktopSharing::Shared));
    const rfb::Rectangle screen{.width = static_cast<std::uint16_t>(size.width()),
                                .height = static_cast<std::uint16_t>(size.height())};
    const auto request = rfb::framebufferUpdateRequest(rfb::UpdateKind::Incremental, screen);
    send(request);
    bool isThere = receive(greetingSize) && receive(screenBytes);
    while (isThere) {
        send(request);
        isThere = receive(changeBytes);
    }
}

} // namespace

QJsonObject runDisplayBenchmark(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption changeOption(u"change"_s, u"full, line or none."_s, u"WHAT"_s, u"full"_s);
    const QCommandLineOption rateOption(u"rate"_s, u"Updates a second at most."_s, u"N"_s, u"30"_s);
    const QCommandLineOption secondsOption(u"seconds"_s, u"How long to measure."_s, u"S"_s, u"5"_s);
    const QCommandLineOption zoomOption(u"zoom"_s, u"Window's size to the screen's."_s, u"Z"_s, u"1"_s);
    const QCommandLineOption modeOption(u"mode"_s, u"view or receive-only."_s, u"MODE"_s, u"view"_s);
    parser.addHelpOption();
    parser.addOptions({changeOption, rateOption, secondsOption, zoomOption, modeOption});
    parser.process(arguments);
    const QString changeName = parser.value(changeOption);
    const QString mode = parser.value(modeOption);
    const int rate = parser.value(rateOption).toInt();
    if (!QStringList{u"full"_s, u"line"_s, u"none"_s}.contains(changeName) ||
        !QStringList{u"view"_s, u"receive-only"_s}.contains(mode) || rate <= 0)
        throw LocalizedError(u"There is no such change, mode or rate."_s);
    using Change = StandInDisplay::Change;
    const Change change = changeName == u"full"   ? Change::Full
                          : changeName == u"line" ? Change::Line
                                                  : Change::None;

    const QSize screen(1920, 1080);
    const auto duration =
        std::chrono::milliseconds(static_cast<int>(parser.value(secondsOption).toDouble() * 1000));
    Measurement measured;
    {
        StandInDisplay display(screen, change, 1'000'000us / rate);
        if (mode == u"view") {
            measured = measureView(display, screen * parser.value(zoomOption).toDouble(), duration);
        } else {
            const UniqueDescriptor socket = display.takeClientEnd();
            std::thread receiver([&] {
                receiveAll(socket.get(), StandInDisplay::updateBytes(screen, Change::Full),
                           StandInDisplay::updateBytes(screen, change), screen);
            });
            const qint64 frames = 0;
            measured = measure(display, frames, duration);
            ::shutdown(socket.get(), SHUT_RDWR);
            receiver.join();
        }
    }
    return {
        {u"benchmark"_s, u"display"_s},
        {u"mode"_s, mode},
        {u"change"_s, changeName},
        {u"seconds"_s, measured.seconds},
        {u"updatesPerSecond"_s, static_cast<double>(measured.updates) / measured.seconds},
        {u"framesPerSecond"_s, static_cast<double>(measured.frames) / measured.seconds},
        {u"cpuPercentOfCore"_s, 100 * measured.cpuSeconds / measured.seconds},
    };
}
