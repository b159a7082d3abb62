#include "VNCBenchmark.h"

#include "Platform/LocalizedError.h"
#include "Platform/UniqueDescriptor.h"
#include "ProcessUsage.h"
#include "RemoteFramebuffer/ClientMessages.h"
#include "RemoteFramebuffer/ServerMessages.h"
#include "UI/Components/Display/VNCClient.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <QTimer>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <chrono>
#include <span>
#include <vector>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto warmUp = 300ms;

struct Options
{
    QString host;
    quint16 port = 0;
    std::chrono::milliseconds duration{};
    std::chrono::milliseconds stall{};
};

struct Measurement
{
    qint64 frames = 0;
    qint64 frameBytes = 0;
    double seconds = 0;
    ProcessUsage idle;
    ProcessUsage start;
    ProcessUsage end;
};

Measurement measureClient(const Options &options)
{
    Measurement measurement;
    measurement.idle = ProcessUsage::now();
    ProcessUsage::resetPeak();
    VNCClient client;
    QEventLoop loop;
    qint64 frames = 0;
    QObject::connect(&client, &VNCClient::imageChanged, &loop, [&] { ++frames; });
    QObject::connect(&client, &VNCClient::errorMessageChanged, &loop, &QEventLoop::quit);

    QElapsedTimer clock;
    qint64 framesAtStart = 0;
    QTimer::singleShot(warmUp, &loop, [&] {
        measurement.start = ProcessUsage::now();
        framesAtStart = frames;
        clock.start();
        QTimer::singleShot(options.duration, &loop, &QEventLoop::quit);
    });
    QTimer stallTimer;
    if (options.stall > 0ms) {
        QObject::connect(&stallTimer, &QTimer::timeout, &loop,
                         [&] { QThread::msleep(static_cast<unsigned long>(options.stall.count())); });
        stallTimer.start(2 * options.stall);
    }
    client.connect(options.host, options.port);
    loop.exec();
    measurement.end = ProcessUsage::now();
    if (!client.errorMessage().isEmpty())
        throw LocalizedError(client.errorMessage());
    measurement.seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    measurement.frames = frames - framesAtStart;
    measurement.frameBytes = client.image().sizeInBytes();
    return measurement;
}

void receiveAll(int server, std::span<std::byte> bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::recv(server, bytes.data(), bytes.size(), 0);
        if (count <= 0)
            throw LocalizedError(u"The server is gone."_s);
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

void sendAll(int server, std::span<const std::byte> bytes)
{
    if (::send(server, bytes.data(), bytes.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(bytes.size()))
        throw LocalizedError(u"The server is gone."_s);
}

UniqueDescriptor connectTo(const Options &options)
{
    UniqueDescriptor server(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    ::setsockopt(server.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(options.port);
    if (::inet_pton(AF_INET, options.host.toLatin1().constData(), &address.sin_addr) != 1 ||
        ::connect(server.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        throw LocalizedError(
            u"Could not connect to the IPv4 address %1, port %2."_s.arg(options.host).arg(options.port));
    return server;
}

Measurement measureReceiving(const Options &options)
{
    Measurement measurement;
    measurement.idle = ProcessUsage::now();
    ProcessUsage::resetPeak();
    const UniqueDescriptor server = connectTo(options);
    std::array<std::byte, rfb::ServerInit::size> header{};
    const auto receiveHeader = [&](std::size_t count) {
        receiveAll(server.get(), std::span(header).first(count));
    };
    receiveHeader(12);
    sendAll(server.get(), rfb::protocolVersion());
    receiveHeader(2);
    sendAll(server.get(), rfb::securityChoice(rfb::SecurityType::None));
    receiveHeader(4);
    sendAll(server.get(), rfb::clientInit(rfb::DesktopSharing::Shared));
    receiveHeader(rfb::ServerInit::size);
    const auto init = rfb::ServerInit::parse(header);
    receiveHeader(init.nameLength);
    sendAll(server.get(), rfb::setEncodings(std::array{rfb::Encoding::Raw}));

    const auto request =
        rfb::framebufferUpdateRequest(rfb::UpdateKind::Full, {.width = init.width, .height = init.height});
    constexpr std::size_t updateHeaderSize = 4 + rfb::RectangleHeader::size;
    measurement.frameBytes = qint64{init.width} * init.height * 4;
    std::vector<std::byte> update(updateHeaderSize + static_cast<std::size_t>(measurement.frameBytes));
    QElapsedTimer clock;
    const auto receiveFor = [&](std::chrono::milliseconds duration) {
        qint64 frames = 0;
        clock.start();
        for (; !clock.hasExpired(duration.count()); ++frames) {
            sendAll(server.get(), request);
            receiveAll(server.get(), update);
        }
        return frames;
    };
    receiveFor(warmUp);
    measurement.start = ProcessUsage::now();
    measurement.frames = receiveFor(options.duration);
    measurement.seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    measurement.end = ProcessUsage::now();
    return measurement;
}

} // namespace

QJsonObject runVNCBenchmark(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption hostOption(u"host"_s, u"Server's address."_s, u"H"_s, u"127.0.0.1"_s);
    const QCommandLineOption portOption(u"port"_s, u"Server's port."_s, u"P"_s, u"5999"_s);
    const QCommandLineOption secondsOption(u"seconds"_s, u"How long to measure."_s, u"S"_s, u"3"_s);
    const QCommandLineOption stallOption(u"stall"_s, u"Milliseconds that the main thread sleeps."_s, u"M"_s,
                                         u"0"_s);
    const QCommandLineOption modeOption(u"mode"_s, u"client or receive-only."_s, u"MODE"_s, u"client"_s);
    parser.addHelpOption();
    parser.addOptions({hostOption, portOption, secondsOption, stallOption, modeOption});
    parser.process(arguments);
    const Options options{
        .host = parser.value(hostOption),
        .port = parser.value(portOption).toUShort(),
        .duration =
            std::chrono::milliseconds(static_cast<int>(parser.value(secondsOption).toDouble() * 1000)),
        .stall = std::chrono::milliseconds(parser.value(stallOption).toInt()),
    };
    const QString mode = parser.value(modeOption);
    if (mode != u"client" && mode != u"receive-only")
        throw LocalizedError(u"There is no mode “%1”."_s.arg(mode));

    const Measurement measured = mode == u"client" ? measureClient(options) : measureReceiving(options);
    if (measured.frames == 0)
        throw LocalizedError(u"No frame came."_s);
    const auto perFrame = [&measured](double amount) {
        return amount / static_cast<double>(measured.frames);
    };
    return {
        {u"benchmark"_s, u"vnc"_s},
        {u"mode"_s, mode},
        {u"seconds"_s, measured.seconds},
        {u"frames"_s, measured.frames},
        {u"frameBytes"_s, measured.frameBytes},
        {u"framesPerSecond"_s, static_cast<double>(measured.frames) / measured.seconds},
        {u"bytesPerSecond"_s, static_cast<double>(measured.frames * measured.frameBytes) / measured.seconds},
        {u"cpuSecondsPerFrame"_s, perFrame(measured.end.cpuSeconds - measured.start.cpuSeconds)},
        {u"mainThreadSecondsPerFrame"_s,
         perFrame(measured.end.threadCpuSeconds - measured.start.threadCpuSeconds)},
        {u"pageFaultsPerFrame"_s,
         perFrame(static_cast<double>(measured.end.pageFaults - measured.start.pageFaults))},
        {u"idleResidentBytes"_s, measured.idle.residentBytes},
        {u"peakResidentBytes"_s, measured.end.peakResidentBytes},
        {u"peakFramesOverIdle"_s,
         static_cast<double>(measured.end.peakResidentBytes - measured.idle.residentBytes) /
             static_cast<double>(measured.frameBytes)},
    };
}
