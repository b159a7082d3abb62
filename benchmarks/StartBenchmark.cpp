#include "StartBenchmark.h"

#include "Statistics.h"

#include "Platform/FileUrl.h"
#include "Virtualization/QEMU/LoopbackPort.h"
#include "support/QEMUStage.h"

#include <QCommandLineParser>
#include <QCoroTask>
#include <QElapsedTimer>

#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

double millisecondsSince(const QElapsedTimer &timer)
{
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

double startOnce(const QEMUStage &stage, QEMUBackendController &controller)
{
    controller.configure(stage.configuration, VMBuildMode::normalBoot, std::nullopt);
    QElapsedTimer timer;
    timer.start();
    QCoro::waitFor(controller.start());
    const double milliseconds = millisecondsSince(timer);
    QCoro::waitFor(controller.stop());
    return milliseconds;
}

pid_t spawn(const QString &program, const QStringList &arguments)
{
    QByteArrayList bytes{program.toUtf8()};
    for (const QString &argument : arguments)
        bytes.append(argument.toUtf8());
    std::vector<char *> pointers;
    for (QByteArray &argument : bytes)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    pid_t process = -1;
    ::posix_spawn(&process, pointers.front(), nullptr, nullptr, pointers.data(), ::environ);
    return process;
}

double launchAndConnect(const QEMUStage &stage)
{
    const QEMURuntimePaths paths = QEMURuntimePaths::forConfiguration(stage.configuration);
    const QString tpmSocket = u"type=unixio,path="_s + FileUrl::path(paths.tpmSocket);
    const QString display = u"vnc=127.0.0.1:%1,password=off"_s.arg(stage.configuration.vncDisplayNumber());
    const QString qmp = u"unix:"_s + FileUrl::path(paths.qmpSocket) + u",server,nowait"_s;

    QElapsedTimer timer;
    timer.start();
    const pid_t tpm = spawn(stage.tpm(), {u"socket"_s, u"--ctrl"_s, tpmSocket});
    const pid_t emulator = spawn(stage.emulator(), {u"-display"_s, display, u"-qmp"_s, qmp});
    while (!LoopbackPort::isOpen(stage.configuration.vncPort)) {
    }
    const double milliseconds = millisecondsSince(timer);

    for (const pid_t process : {tpm, emulator}) {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
    }
    QEMUGuest::removeSocket(paths.qmpSocket);
    QEMUGuest::removeSocket(paths.tpmSocket);
    return milliseconds;
}

QJsonObject summary(const QList<double> &milliseconds)
{
    const auto [minimum, maximum] = std::ranges::minmax(milliseconds);
    return {{"median"_L1, median(milliseconds)}, {"min"_L1, minimum}, {"max"_L1, maximum}};
}

} // namespace

QJsonObject runStartBenchmark(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption runs(u"runs"_s, u"Number of starts."_s, u"N"_s, u"30"_s);
    parser.addOption(runs);
    parser.addHelpOption();
    parser.process(arguments);
    const int count = std::max(1, parser.value(runs).toInt());

    const QEMUStage stage;
    const auto controller = stage.makeController(QEMUTimeouts());
    QList<double> starts;
    QList<double> limits;
    for (int run = 0; run < count; ++run) {
        starts.append(startOnce(stage, *controller));
        limits.append(launchAndConnect(stage));
    }
    return {
        {"benchmark"_L1, "start"_L1},
        {"runs"_L1, count},
        {"startMilliseconds"_L1, summary(starts)},
        {"limitMilliseconds"_L1, summary(limits)},
        {"ratioToLimit"_L1, median(starts) / median(limits)},
    };
}
