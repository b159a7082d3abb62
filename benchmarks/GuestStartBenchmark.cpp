#include "GuestStartBenchmark.h"

#include "Statistics.h"

#include "Platform/ChildProcess.h"
#include "Platform/Emulator/QMPMessages.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/Hypervisor/EmulatorCommandLine.h"
#include "Platform/Hypervisor/VZError.h"
#include "Platform/Hypervisor/VZVirtualMachine.h"
#include "Platform/UnixSocket.h"

#include <QCommandLineParser>
#include <QCoroTask>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

/// A small machine with an empty disk.
VZVirtualMachineConfiguration makeConfiguration(const QTemporaryDir &folder)
{
    const QString disk = folder.filePath(u"disk.img"_s);
    FileManager::defaultManager().createFile(disk);
    FileManager::defaultManager().truncateFile(disk, quint64(64) << 20);
    const QUrl store = FileUrl::file(folder.filePath(u"variables"_s));
    VZVirtualMachineConfiguration configuration;
    configuration.cpuCount = 1;
    configuration.memorySize = quint64(1) << 30;
    configuration.platform = VZGenericPlatformConfiguration{VZGenericMachineIdentifier()};
    configuration.bootLoader = VZEFIBootLoader{VZEFIVariableStore::creatingVariableStore(store)};
    configuration.storageDevices = {
        VZVirtioBlockDeviceConfiguration{VZDiskImageStorageDeviceAttachment(FileUrl::file(disk), false)}};
    configuration.graphicsDevices = {VZVirtioGraphicsDeviceConfiguration{{{1280, 800}}}};
    configuration.pointingDevices = {VZUSBScreenCoordinatePointingDeviceConfiguration()};
    configuration.keyboards = {VZUSBKeyboardConfiguration()};
    configuration.controlSocket = FileUrl::file(folder.filePath(u"control.sock"_s));
    return configuration;
}

double millisecondsSince(const QElapsedTimer &timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// Waits for one operation; throws what it fails with.
template<typename Operation>
void complete(const Operation &operation)
{
    QEventLoop loop;
    std::exception_ptr failure;
    operation([&](const std::exception_ptr &error) {
        failure = error;
        loop.quit();
    });
    loop.exec();
    if (failure)
        std::rethrow_exception(failure);
}

double startOnce(const VZVirtualMachineConfiguration &configuration)
{
    VZVirtualMachine machine(configuration);
    QElapsedTimer timer;
    timer.start();
    complete([&](const auto &handler) { machine.start({}, handler); });
    const double milliseconds = millisecondsSince(timer);
    complete([&](const auto &handler) { machine.stop(handler); });
    return milliseconds;
}

double launchAndAsk(const VZVirtualMachineConfiguration &configuration)
{
    const QString socket = FileUrl::path(configuration.controlSocket);
    UniqueDescriptor theirs = UnixSocket::listen(socket);
    const UniqueDescriptor ours = UnixSocket::connect(socket);
    ::fcntl(ours.get(), F_SETFL, 0); // blocking
    const std::optional<EmulatorInstallation> installation = EmulatorInstallation::find();
    if (!installation)
        throw VZError(u"no emulator is installed"_s);
    ChildProcess::LaunchOptions options;
    options.program = installation->emulator;
    options.arguments =
        EmulatorCommandLine::arguments(configuration, *installation, EmulatorInstallation::accelerator(), 3);
    options.inheritedDescriptors = {theirs.get()};

    QElapsedTimer timer;
    timer.start();
    ChildProcess emulator(options);
    theirs.reset();
    const QByteArray commands = QMPMessages::command(u"qmp_capabilities"_s) +
                                QMPMessages::command(u"cont"_s) + QMPMessages::command(u"query-status"_s);
    QByteArray received;
    std::array<char, 4096> buffer{};
    bool hasAsked = false;
    while (!received.contains("\"running\": true")) {
        const ssize_t count = ::recv(ours.get(), buffer.data(), buffer.size(), 0);
        if (count <= 0)
            throw VZError(u"the emulator ended"_s);
        received.append(buffer.data(), count);
        if (!std::exchange(hasAsked, true))
            (void)::send(ours.get(), commands.constData(), static_cast<std::size_t>(commands.size()), 0);
    }
    const double milliseconds = millisecondsSince(timer);
    emulator.kill();
    QCoro::waitFor(emulator.waitForExit());
    return milliseconds;
}

} // namespace

QJsonObject runGuestStartBenchmark(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption runs(u"runs"_s, u"Number of starts."_s, u"N"_s, u"10"_s);
    parser.addOption(runs);
    parser.addHelpOption();
    parser.process(arguments);
    const int count = std::max(1, parser.value(runs).toInt());

    const QTemporaryDir folder;
    const VZVirtualMachineConfiguration configuration = makeConfiguration(folder);
    QList<double> starts;
    QList<double> limits;
    for (int run = 0; run < count; ++run) {
        starts.append(startOnce(configuration));
        limits.append(launchAndAsk(configuration));
    }
    return {
        {"benchmark"_L1, "guest-start"_L1},
        {"runs"_L1, count},
        {"startMilliseconds"_L1, median(starts)},
        {"limitMilliseconds"_L1, median(limits)},
        {"overLimitMilliseconds"_L1, median(starts) - median(limits)},
    };
}
