#include "Platform/ChildProcess.h"
#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/QEMU/UnixSocketConnection.h"
#include "support/EventLoopBeat.h"
#include "support/Expectations.h"
#include "support/ProcessCensus.h"
#include "support/QEMUStage.h"
#include "support/ScriptedChild.h"
#include "support/TestMain.h"

#include <QDir>
#include <QRandomGenerator>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class TestQEMUBackendController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void preparesTheBundle();
    void refusesWhatCannotRun_data();
    void refusesWhatCannotRun();
    void touchesNoFileThatALinkLeadsTo_data();
    void touchesNoFileThatALinkLeadsTo();
    void takesPathsUpToTheSocketLimit();
    void startsPausesResumesAndStops();
    void refusesOperationsThatDoNotFit();
    void endsFailedStartsCleanly_data();
    void endsFailedStartsCleanly();
    void neverTakesAForeignGuestForItsOwn_data();
    void neverTakesAForeignGuestForItsOwn();
    void neverSharesAPort();
    void noticesThatQEMUEnded_data();
    void noticesThatQEMUEnded();
    void losesItsEmulatorAtAnyStep_data();
    void losesItsEmulatorAtAnyStep();
    void runsOnWithoutItsTPM();
    void stopsAfterItsBundleHasGone_data();
    void stopsAfterItsBundleHasGone();
    void stopsWhateverQEMUDoes_data();
    void stopsWhateverQEMUDoes();
    void reportsWhatQEMURefuses();
    void letsOperationsEndWithoutTheController();
    void leavesGuestsAloneWhenTheApplicationQuits();
    void leavesNothingBehindAfterManyStarts();
    void startsAndStopsOverlapOnManyMachines();
};

namespace {

constexpr QEMUTimeouts patient = {
    .display = 60s,
    .displayPoll = 10ms,
    .grace = 30s,
    .swtpm = {.socket = 60s, .grace = 30s},
    .qmp = {.socketFile = 30s, .greeting = 10s, .exchange = 30s},
};

/// For children that come late, answer late or never.
constexpr QEMUTimeouts hurried = {
    .display = 2s,
    .displayPoll = 10ms,
    .grace = 200ms,
    .swtpm = {.socket = 2s, .grace = 200ms},
    .qmp = {.socketFile = 300ms, .greeting = 2s, .exchange = 2s},
};

void configure(QEMUBackendController &controller, const QEMUStage &stage)
{
    controller.configure(stage.configuration, VMBuildMode::normalBoot, std::nullopt);
}

QString start(VMBackendController &controller)
{
    return QCoro::waitFor(outcomeOf(controller.start()));
}
QString stop(VMBackendController &controller)
{
    return QCoro::waitFor(outcomeOf(controller.stop()));
}
QString pause(VMBackendController &controller)
{
    return QCoro::waitFor(outcomeOf(controller.pause()));
}
QString resume(VMBackendController &controller)
{
    return QCoro::waitFor(outcomeOf(controller.resume()));
}

/// The state is the one that whoever awaits the start sees.
QCoro::Task<QString> startAndNoteState(VMBackendController &controller, VMState &state)
{
    QCoro::Task<QString> start = outcomeOf(controller.start());
    const QString outcome = co_await start;
    state = controller.state();
    co_return outcome;
}

QString configureText(QEMUBackendController &controller, const QEMUStage &stage)
{
    return errorTextOf([&] { configure(controller, stage); });
}

QString log()
{
    return DiagnosticLogger::shared().formattedLog();
}

QStringList qmpCommands(const QEMUStage &stage)
{
    return ScriptedChild::received(stage.emulator())
        .filter(u"execute"_s)
        .replaceInStrings(uR"({"execute":")"_s, QString())
        .replaceInStrings(uR"("})"_s, QString());
}

bool isAlive(pid_t process)
{
    return ::kill(process, 0) == 0;
}

} // namespace

void TestQEMUBackendController::init()
{
    DiagnosticLogger::shared().clear();
}

void TestQEMUBackendController::preparesTheBundle()
{
    const QEMUStage stage;
    const auto controller = stage.makeController(patient);
    QVERIFY(!controller->vncPort());
    QFile stale(stage.path(u"Windows 11.vm/qmp.sock"_s));
    QVERIFY(stale.open(QIODevice::WriteOnly));

    configure(*controller, stage);
    QCOMPARE(controller->vncPort(), std::optional(stage.configuration.vncPort));
    QCOMPARE(controller->vncHost(), std::optional(u"127.0.0.1"_s));
    QVERIFY(QDir(stage.path(u"Windows 11.vm/tpm"_s)).exists());
    QCOMPARE(stage.sockets(), QStringList());

    QFile store(stage.path(u"Windows 11.vm/uefi_vars.fd"_s));
    QVERIFY(store.open(QIODevice::ReadWrite));
    QCOMPARE(store.readAll(), "template"_ba);
    store.write(" with boot entries");
    store.close();
    configure(*controller, stage);
    QVERIFY(store.open(QIODevice::ReadOnly));
    QCOMPARE(store.readAll(), "template with boot entries"_ba);
    QCOMPARE(controller->state(), VMState::poweredOff);
}

void TestQEMUBackendController::refusesWhatCannotRun_data()
{
    QTest::addColumn<qint64>("port");
    QTest::addColumn<QString>("lost");
    QTest::addColumn<QString>("failure");
    const QString invalid = u"Virtual machine configuration is invalid. "_s;
    QTest::newRow("no swtpm")
        << qint64(5901) << u"bin/swtpm"_s
        << u"QEMU dependencies are missing: swtpm. Install them with Homebrew: brew install qemu swtpm"_s;
    QTest::newRow("no disk") << qint64(5901) << u"Windows 11.vm/disk.img"_s
                             << invalid + u"Its disk image “disk.img” is missing."_s;
    QTest::newRow("port too low") << qint64(5899) << QString()
                                  << invalid + u"The VNC port 5899 is not between 5900 and 65535."_s;
    QTest::newRow("port too high") << qint64(65536) << QString()
                                   << invalid + u"The VNC port 65536 is not between 5900 and 65535."_s;
    QTest::newRow("port negative") << qint64(-1) << QString()
                                   << invalid + u"The VNC port -1 is not between 5900 and 65535."_s;
}

void TestQEMUBackendController::refusesWhatCannotRun()
{
    QFETCH(const qint64, port);
    QFETCH(const QString, lost);
    QEMUStage stage;
    stage.configuration.vncPort = port;
    if (!lost.isEmpty())
        QVERIFY(QFile::remove(stage.path(lost)));
    const auto controller = stage.makeController(patient);
    QTEST(configureText(*controller, stage), "failure");
    QVERIFY(!controller->vncPort());
    QCOMPARE(start(*controller),
             u"Virtual machine configuration is invalid. QEMU backend is not configured."_s);
    QCOMPARE(controller->state(), VMState::poweredOff);
}

void TestQEMUBackendController::touchesNoFileThatALinkLeadsTo_data()
{
    QTest::addColumn<QString>("planted");
    for (const auto &name :
         {u"disk.img"_s, u"uefi_vars.fd"_s, u"serial.log"_s, u"tpm"_s, u"tpm/tpm2-00.permall"_s})
        QTest::newRow(qPrintable(name)) << name;
}

/// The bundle came with a link to something else of the user's.
void TestQEMUBackendController::touchesNoFileThatALinkLeadsTo()
{
    QFETCH(const QString, planted);
    QEMUStage stage;
    const QString link = FileUrl::path(stage.configuration.storageDirectory) + u'/' + planted;
    QVERIFY(QDir().mkpath(QFileInfo(link).path()));
    QFile::remove(link);
    QVERIFY(QDir().mkpath(stage.path(u"precious"_s)));
    QVERIFY(QFile::link(stage.path(u"precious"_s), link));
    const auto controller = stage.makeController(patient);
    QCOMPARE(
        configureText(*controller, stage),
        u"Virtual machine configuration is invalid. “%1” is a link. A virtual machine uses only files in its own folder."_s
            .arg(QFileInfo(planted).fileName()));
    QVERIFY(QDir(stage.path(u"precious"_s)).isEmpty());
}

void TestQEMUBackendController::takesPathsUpToTheSocketLimit()
{
    QEMUStage stage;
    const auto useFolderSuchThatTheSocketHas = [&](qsizetype bytes) {
        const QString start = stage.path(u"ü"_s);
        const qsizetype fixed = start.toUtf8().size() + u"/tpm/swtpm.sock"_s.size();
        const QString folder = start + QString(bytes - fixed, u'x');
        QVERIFY(QDir().mkpath(folder));
        stage.configuration.storageDirectory = FileUrl::directory(folder);
        QVERIFY(QFile::copy(stage.path(u"Windows 11.vm/disk.img"_s), folder + u"/disk.img"_s));
    };
    const auto controller = stage.makeController(patient);
    useFolderSuchThatTheSocketHas(UnixSocketConnection::maximumPathBytes + 1);
    const QString failure = configureText(*controller, stage);
    QVERIFY2(failure.contains(u"too long a path"_s) && failure.contains(u"107 bytes"_s), qPrintable(failure));

    useFolderSuchThatTheSocketHas(UnixSocketConnection::maximumPathBytes);
    QCOMPARE(configureText(*controller, stage), QString());
    QCOMPARE(start(*controller), QString());
    QCOMPARE(stop(*controller), QString());
}

void TestQEMUBackendController::startsPausesResumesAndStops()
{
    const QEMUStage stage;
    const ProcessCensus before = ProcessCensus::take();
    {
        const auto controller = stage.makeController(patient);
        for (int round = 0; round < 2; ++round) {
            configure(*controller, stage);
            QCOMPARE(start(*controller), QString());
            QCOMPARE(controller->state(), VMState::running);
            const QString port = QString::number(stage.configuration.vncPort);
            QVERIFY(log().endsWith(u"QEMU VM running on VNC port "_s + port));
            QCOMPARE(stage.sockets(), (QStringList{u"qmp.sock"_s, u"swtpm.sock"_s}));

            QCOMPARE(pause(*controller), QString());
            QCOMPARE(controller->state(), VMState::paused);
            QCOMPARE(resume(*controller), QString());
            QCOMPARE(controller->state(), VMState::running);
            QCOMPARE(pause(*controller), QString());
            QCOMPARE(stop(*controller), QString());
            QCOMPARE(controller->state(), VMState::poweredOff);
            QVERIFY(log().endsWith(u"QEMU VM stopped"_s));
            QCOMPARE(stage.sockets(), QStringList());
            QCOMPARE(ProcessCensus::take().children, before.children);
        }
    }
    const QString negotiate = u"qmp_capabilities"_s;
    const QStringList round = {negotiate, u"stop"_s, negotiate, u"cont"_s,
                               negotiate, u"stop"_s, negotiate, u"quit"_s};
    QCOMPARE(qmpCommands(stage), round + round);
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void TestQEMUBackendController::refusesOperationsThatDoNotFit()
{
    const QEMUStage stage;
    const auto controller = stage.makeController(patient);
    configure(*controller, stage);
    QCOMPARE(pause(*controller), u"Cannot pause while virtual machine is powered off."_s);
    QCOMPARE(resume(*controller), u"Cannot resume while virtual machine is powered off."_s);
    QCOMPARE(stop(*controller), u"Cannot stop while virtual machine is powered off."_s);

    const QString busy = u"Another virtualization operation is already in progress."_s;
    bool isStarted = false;
    QCoro::connect(controller->start(), this, [&] { isStarted = true; });
    QCOMPARE(controller->state(), VMState::starting);
    QCOMPARE(stop(*controller), busy);
    QCOMPARE(start(*controller), busy);
    QTRY_VERIFY(isStarted);

    QCOMPARE(start(*controller), u"Cannot start while virtual machine is running."_s);
    QCOMPARE(resume(*controller), u"Cannot resume while virtual machine is running."_s);
    QCOMPARE(pause(*controller), QString());
    QCOMPARE(start(*controller), u"Cannot Starting while virtual machine is paused."_s);
    QCOMPARE(stop(*controller), QString());
}

void TestQEMUBackendController::endsFailedStartsCleanly_data()
{
    QTest::addColumn<QString>("emulator");
    QTest::addColumn<QString>("tpm");
    QTest::addColumn<QString>("failure");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<VMState>("finalState");
    const QString noDisplay = u"Timed out waiting for the VM display."_s;
    const QString noTPM = u"Timed out waiting for swtpm socket."_s;
    const QString good = QEMUStage::goodEmulator;

    QTest::newRow("TPM exits") << good << u"stderr no rights; exit 1"_s << noTPM << u"swtpm: no rights"_s
                               << VMState::error;
    QTest::newRow("TPM hangs") << good << u"ignore-term; hang"_s << noTPM
                               << u"swtpm did not end when asked to and is killed."_s << VMState::error;
    QTest::newRow("QEMU exits") << u"stderr invalid accelerator hvf; exit 1"_s << QEMUStage::goodTPM
                                << noDisplay << u"qemu-system-aarch64: invalid accelerator hvf"_s
                                << VMState::poweredOff;
    QTest::newRow("QEMU crashes after many words")
        << u"flood 3; stderr out of memory; crash"_s << QEMUStage::goodTPM << noDisplay
        << u"qemu-system-aarch64: out of memory"_s << VMState::poweredOff;
    QTest::newRow("no display") << u"ignore-term; open-socket; serve-qmp"_s << QEMUStage::goodTPM << noDisplay
                                << QString() << VMState::poweredOff;
}

void TestQEMUBackendController::endsFailedStartsCleanly()
{
    QFETCH(const QString, emulator);
    QFETCH(const QString, tpm);
    QFETCH(const QString, failure);
    QFETCH(const QString, warning);
    QFETCH(const VMState, finalState);
    const ProcessCensus before = ProcessCensus::take();
    {
        const QEMUStage stage(emulator, tpm);
        const bool mustTimeOut = warning.isEmpty() || tpm.contains(u"hang"_s);
        const auto controller = stage.makeController(mustTimeOut ? hurried : patient);
        configure(*controller, stage);

        const EventLoopBeat beat;
        VMState stateAtFailure = VMState::running;
        const QString text = QCoro::waitFor(startAndNoteState(*controller, stateAtFailure));
        QCOMPARE(text, failure);
        QCOMPARE(stateAtFailure, VMState::error);
        QCOMPARE(beat.complaint(EventLoopBeat::unnoticedWithLaunch), QString());
        QTRY_COMPARE(controller->state(), finalState);
        QCOMPARE(stage.sockets(), QStringList());
        QCOMPARE(ProcessCensus::take().children, before.children);
        QVERIFY2(log().contains(u"[WARN]"_s) || warning.isEmpty(), qPrintable(log()));
        QVERIFY2(log().contains(warning), qPrintable(log()));
        QVERIFY2(log().contains(u"QEMU lifecycle error: "_s + failure), qPrintable(log()));
        QVERIFY2(log().count(u'\n') < 50, qPrintable(log()));

        // And the next one works.
        ScriptedChild::install(stage.emulator(), QEMUStage::goodEmulator);
        ScriptedChild::install(stage.tpm(), QEMUStage::goodTPM);
        configure(*controller, stage);
        QCOMPARE(start(*controller), QString());
        QCOMPARE(stop(*controller), QString());
    }
    // A thread of the test before may have been about to end.
    QTRY_VERIFY(ProcessCensus::take().threads <= before.threads);
    QTRY_COMPARE(ProcessCensus::take().descriptors, before.descriptors);
    QCOMPARE(ProcessCensus::take().children, before.children);
}

void TestQEMUBackendController::neverTakesAForeignGuestForItsOwn_data()
{
    QTest::addColumn<QString>("foreignScript");
    QTest::addColumn<QString>("failure");
    QTest::newRow("port in use") << u"open-port %1; open-socket %2; serve-qmp"_s
                                 << u"VNC port %1 is already in use."_s;
    QTest::newRow("control channel in use")
        << u"open-socket %2; serve-qmp"_s << u"This virtual machine is already running outside Kelvo."_s;
}

void TestQEMUBackendController::neverTakesAForeignGuestForItsOwn()
{
    QFETCH(const QString, foreignScript);
    QFETCH(const QString, failure);
    const QEMUStage stage;
    const QString port = QString::number(stage.configuration.vncPort);
    const QString socket = FileUrl::path(stage.configuration.qmpSocketURL());
    ChildProcess::LaunchOptions options;
    options.program = ScriptedChild::program();
    options.arguments = {u"--script"_s,
                         QString(foreignScript).replace(u"%1"_s, port).replace(u"%2"_s, socket)};
    ChildProcess foreign(options);
    QTRY_VERIFY(UnixSocketConnection::hasListener(socket));

    const auto controller = stage.makeController(patient);
    configure(*controller, stage);
    QCOMPARE(start(*controller), QString(failure).replace(u"%1"_s, port));
    QCOMPARE(controller->state(), VMState::error);
    QVERIFY(!QFile::exists(stage.tpm() + u".received"_s));
    QCOMPARE(stage.emulatorProcesses(), QList<pid_t>());
    QVERIFY2(UnixSocketConnection::hasListener(socket), "the foreign guest lost its control channel");
    QVERIFY(foreign.isRunning());

    foreign.kill();
    QVERIFY(QCoro::waitFor(foreign.waitForExit()));
    configure(*controller, stage);
    QCOMPARE(start(*controller), QString());
    QCOMPARE(stop(*controller), QString());
}

void TestQEMUBackendController::neverSharesAPort()
{
    const QEMUStage one;
    QEMUStage other;
    other.configuration.vncPort = one.configuration.vncPort;
    const auto first = one.makeController(patient);
    const auto second = other.makeController(patient);
    configure(*first, one);
    configure(*second, other);
    bool isStarted = false;
    QCoro::connect(first->start(), this, [&] { isStarted = true; });
    const QString inUse = u"VNC port %1 is already in use."_s.arg(one.configuration.vncPort);
    QCOMPARE(start(*second), inUse); // nobody listens yet
    QTRY_VERIFY(isStarted);
    QCOMPARE(start(*second), inUse);
    QCOMPARE(stop(*first), QString());
    QCOMPARE(start(*second), QString());
    QCOMPARE(stop(*second), QString());
}

void TestQEMUBackendController::noticesThatQEMUEnded_data()
{
    QTest::addColumn<bool>("isPaused");
    QTest::addColumn<int>("signal");
    QTest::newRow("while it runs") << false << SIGKILL;
    QTest::newRow("while it is paused") << true << SIGKILL;
    QTest::newRow("terminated") << false << SIGTERM;
}

void TestQEMUBackendController::noticesThatQEMUEnded()
{
    QFETCH(const bool, isPaused);
    QFETCH(const int, signal);
    const ProcessCensus before = ProcessCensus::take();
    {
        const QEMUStage stage;
        const auto controller = stage.makeController(patient);
        configure(*controller, stage);
        QCOMPARE(start(*controller), QString());
        if (isPaused)
            QCOMPARE(pause(*controller), QString());
        QCOMPARE(::kill(stage.emulatorProcesses().last(), signal), 0);
        QTRY_COMPARE(controller->state(), VMState::poweredOff);
        QCOMPARE(stage.sockets(), QStringList());
        QCOMPARE(ProcessCensus::take().children, before.children);

        configure(*controller, stage);
        QCOMPARE(start(*controller), QString());
        QCOMPARE(stop(*controller), QString());
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void TestQEMUBackendController::losesItsEmulatorAtAnyStep_data()
{
    QTest::addColumn<int>("commands");
    QTest::addColumn<QString>("pauseFailure");
    QTest::addColumn<QString>("resumeFailure");
    const QString lost = u"Failed to read from QMP socket."_s;
    QTest::newRow("pausing") << 0 << lost << u"Cannot resume while virtual machine is powered off."_s;
    QTest::newRow("resuming") << 1 << QString() << lost;
    QTest::newRow("stopping") << 2 << QString() << QString();
}

/// QEMU obeys some commands and dies of the next.
void TestQEMUBackendController::losesItsEmulatorAtAnyStep()
{
    QFETCH(const int, commands);
    const ProcessCensus before = ProcessCensus::take();
    {
        const QString meet = uR"(accept; send {"QMP": {}}; read-line; send {"return": {}}; read-line; )"_s;
        const QString obey = meet + uR"(send {"return": {}}; )"_s;
        const QEMUStage stage(u"open-port; open-socket; "_s + obey.repeated(commands) + meet + u"crash"_s);
        const auto controller = stage.makeController(patient);
        configure(*controller, stage);
        QCOMPARE(start(*controller), QString());
        const EventLoopBeat beat;
        QTEST(pause(*controller), "pauseFailure");
        if (commands == 0)
            QTRY_COMPARE(controller->state(), VMState::poweredOff);
        QTEST(resume(*controller), "resumeFailure");
        if (commands == 2)
            QCOMPARE(stop(*controller), QString());
        QTRY_COMPARE(controller->state(), VMState::poweredOff);
        QCOMPARE(beat.complaint(EventLoopBeat::unnoticed), QString());
        QCOMPARE(stage.sockets(), QStringList());
        QCOMPARE(ProcessCensus::take().children, before.children);
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void TestQEMUBackendController::runsOnWithoutItsTPM()
{
    const ProcessCensus before = ProcessCensus::take();
    {
        const QEMUStage stage(QEMUStage::goodEmulator, u"note-pid; "_s + QEMUStage::goodTPM);
        const auto controller = stage.makeController(patient);
        for (const int signal : {SIGKILL, SIGTERM}) {
            configure(*controller, stage);
            QCOMPARE(start(*controller), QString());
            QCOMPARE(
                ::kill(
                    ScriptedChild::received(stage.tpm()).filter(QRegularExpression(u"^\\d"_s)).last().toInt(),
                    signal),
                0);
            QTRY_COMPARE(ProcessCensus::take().children, before.children + 1);
            QTRY_VERIFY(log().endsWith(u"its guest has no TPM until it is started again."_s));
            QCOMPARE(pause(*controller), QString());
            QCOMPARE(resume(*controller), QString());
            QCOMPARE(controller->state(), VMState::running);
            QCOMPARE(stop(*controller), QString());
            QCOMPARE(stage.sockets(), QStringList());
        }
        QCOMPARE(log().count(u"has no TPM"_s), 2);
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void TestQEMUBackendController::stopsAfterItsBundleHasGone_data()
{
    QTest::addColumn<bool>("isMoved");
    QTest::newRow("moved") << true;
    QTest::newRow("deleted") << false;
}

void TestQEMUBackendController::stopsAfterItsBundleHasGone()
{
    QFETCH(const bool, isMoved);
    const ProcessCensus before = ProcessCensus::take();
    {
        const QEMUStage stage;
        QEMUTimeouts timeouts = patient;
        timeouts.qmp.socketFile = hurried.qmp.socketFile;
        const auto controller = stage.makeController(timeouts);
        configure(*controller, stage);
        QCOMPARE(start(*controller), QString());
        const QString bundle = stage.path(u"Windows 11.vm"_s);
        const QString elsewhere = stage.path(u"moved.vm"_s);
        QVERIFY(isMoved ? QDir().rename(bundle, elsewhere) : QDir(bundle).removeRecursively());
        QCOMPARE(pause(*controller), u"Timed out waiting for QMP socket."_s);
        QCOMPARE(stop(*controller), QString());
        QCOMPARE(controller->state(), VMState::poweredOff);
        QCOMPARE(ProcessCensus::take().children, before.children);
        QVERIFY2(!QDir(bundle).exists(), "it was made anew");
        QCOMPARE(QFile::exists(elsewhere + u"/disk.img"_s), isMoved);
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void TestQEMUBackendController::stopsWhateverQEMUDoes_data()
{
    QTest::addColumn<QString>("emulator");
    QTest::addColumn<bool>("isKilled");
    QTest::newRow("does not answer") << u"open-port; open-socket; hang"_s << false;
    QTest::newRow("has no control channel") << u"open-port; hang"_s << false;
    QTest::newRow("ignores everything") << u"ignore-term; open-port; open-socket; hang"_s << true;
    QTest::newRow("floods") << u"open-port; open-socket; flood 100000"_s << false;
}

void TestQEMUBackendController::stopsWhateverQEMUDoes()
{
    QFETCH(const QString, emulator);
    QFETCH(const bool, isKilled);
    const ProcessCensus before = ProcessCensus::take();
    {
        const QEMUStage stage(emulator);
        QEMUTimeouts timeouts = patient;
        timeouts.qmp = hurried.qmp;
        timeouts.grace = isKilled ? hurried.grace : patient.grace;
        const auto controller = stage.makeController(timeouts);
        configure(*controller, stage);
        QCOMPARE(start(*controller), QString());
        const EventLoopBeat beat;
        QCOMPARE(stop(*controller), QString());
        QCOMPARE(beat.complaint(EventLoopBeat::unnoticed), QString());
        QCOMPARE(controller->state(), VMState::poweredOff);
        QCOMPARE(stage.sockets(), QStringList());
        QCOMPARE(log().contains(u"QEMU did not end when asked to and is killed."_s), isKilled);
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void TestQEMUBackendController::reportsWhatQEMURefuses()
{
    const QString refusing =
        uR"(accept; send {"QMP": {}}; read-line; send {"return": {}}; read-line; send {"error": {"desc": "Not now"}};)"_s;
    const QEMUStage stage(u"note-pid; open-port; open-socket;"_s + refusing + refusing + u"hang"_s);
    QEMUTimeouts timeouts = patient;
    timeouts.qmp = hurried.qmp;
    const auto controller = stage.makeController(timeouts);
    configure(*controller, stage);
    QCOMPARE(start(*controller), QString());
    QCOMPARE(pause(*controller), u"Not now"_s);
    QCOMPARE(controller->state(), VMState::paused);
    QCOMPARE(resume(*controller), u"Not now"_s);
    QCOMPARE(controller->state(), VMState::paused);
    QCOMPARE(resume(*controller), u"Failed to read from QMP socket."_s); // it hangs by now
    QCOMPARE(stop(*controller), QString());
}

void TestQEMUBackendController::letsOperationsEndWithoutTheController()
{
    const ProcessCensus before = ProcessCensus::take();
    {
        const QEMUStage stage;
        auto controller = stage.makeController(patient);
        configure(*controller, stage);
        bool isStarted = false;
        QCoro::connect(controller->start(), this, [&] { isStarted = true; });
        controller.reset();
        QTRY_VERIFY(isStarted);
        const pid_t process = stage.emulatorProcesses().last();
        QVERIFY(isAlive(process));
        QCOMPARE(::kill(process, SIGKILL), 0);
        QTRY_VERIFY(!isAlive(process));

        ScriptedChild::install(stage.tpm(), QEMUStage::goodTPM); // the first one is a stray now
        controller = stage.makeController(patient);
        configure(*controller, stage);
        QCOMPARE(start(*controller), QString());
        bool isStopped = false;
        QCoro::connect(controller->stop(), this, [&] { isStopped = true; });
        controller.reset();
        QTRY_VERIFY(isStopped);
        QCOMPARE(stage.sockets(), QStringList());
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

/// The application of the next test: one guest runs and another one is being started when it quits.
static int runApplicationThatQuits(const QString &folder)
{
    const QEMUStage running(folder + u"/running"_s, QEMUStage::goodEmulator, QEMUStage::goodTPM);
    const QEMUStage starting(folder + u"/starting"_s, u"note-pid; hang"_s, QEMUStage::goodTPM);
    const auto runningController = running.makeController(patient);
    const auto startingController = starting.makeController(patient);
    configure(*runningController, running);
    configure(*startingController, starting);
    if (!start(*runningController).isNull())
        return EXIT_FAILURE;
    QCoro::connect(startingController->start(), QCoreApplication::instance(), [] {});
    const bool isLaunched =
        QTest::qWaitFor([&] { return !starting.emulatorProcesses().isEmpty(); }, patience);
    return isLaunched ? EXIT_SUCCESS : EXIT_FAILURE;
}

void TestQEMUBackendController::leavesGuestsAloneWhenTheApplicationQuits()
{
    const QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkpath(u"running"_s) && QDir(folder.path()).mkpath(u"starting"_s));
    ChildProcess::LaunchOptions options;
    options.program = QCoreApplication::applicationFilePath();
    options.arguments = {u"--application"_s, folder.path()};
    const QByteArray sanitizerOptions = qgetenv("ASAN_OPTIONS");
    qputenv("ASAN_OPTIONS", "detect_leaks=0"); // what is suspended at the exit never ends
    ChildProcess application(options);
    qputenv("ASAN_OPTIONS", sanitizerOptions);
    QVERIFY(QCoro::waitFor(application.waitForExit(60s)));
    QCOMPARE(*application.exit(), (ChildExit{ChildExit::Kind::exited, EXIT_SUCCESS}));

    const auto processOf = [&](const QString &name) {
        return ScriptedChild::received(folder.filePath(name + u"/bin/qemu-system-aarch64"_s))
            .value(0)
            .toInt();
    };
    const QString socket = folder.filePath(u"running/Windows 11.vm/qmp.sock"_s);
    const QMPClient client(FileUrl::file(socket));
    QVERIFY(isAlive(processOf(u"running"_s)));
    QCOMPARE(QCoro::waitFor(outcomeOf(client.quit())), QString()); // and it still listens
    QTRY_VERIFY(!isAlive(processOf(u"running"_s)));
    ::kill(processOf(u"starting"_s), SIGKILL);
    for (const auto &name : {u"running"_s, u"starting"_s}) {
        UnixSocketConnection tpm(folder.filePath(name + u"/Windows 11.vm/tpm/swtpm.sock"_s), 1s);
        tpm.write(QByteArrayView("\0\0\0\3", 4));
    }
}

void TestQEMUBackendController::leavesNothingBehindAfterManyStarts()
{
    const QEMUStage stage;
    // What waits for a time-out that is no longer needed goes with it, and must not be counted.
    const auto controller = stage.makeController(isSoak() ? hurried : patient);
    const auto round = [&] {
        configure(*controller, stage);
        return start(*controller).isNull() && stop(*controller).isNull();
    };
    for (int i = 0; i < (isSoak() ? 100 : 5); ++i)
        QVERIFY(round()); // the log and what else is kept comes to its full size
    QTest::qWait(50);
    const ProcessCensus before = ProcessCensus::take();
    const qsizetype bytesBefore = residentBytes();
    for (int i = 0; i < (isSoak() ? 400 : 20); ++i)
        QVERIFY(round());
    QTRY_COMPARE(ProcessCensus::take(), before);
    QCOMPARE(stage.sockets(), QStringList());
    const qsizetype growth = residentBytes() - bytesBefore;
    qInfo("%lld KiB more", static_cast<long long>(growth / 1024));
#ifndef __SANITIZE_ADDRESS__ // which keeps freed memory from being used again
    QVERIFY2(!isSoak() || growth < 512 * 1024, qPrintable(QString::number(growth)));
#endif
}

/// Whatever is asked of whichever machine meanwhile, each ends where it says it is.
void TestQEMUBackendController::startsAndStopsOverlapOnManyMachines()
{
    constexpr int machineCount = 20;
    QRandomGenerator random(19);
    const ProcessCensus before = ProcessCensus::take();
    {
        struct Machine
        {
            QEMUStage stage;
            std::unique_ptr<QEMUBackendController> controller = stage.makeController(QEMUTimeouts());
        };
        std::vector<Machine> machines(machineCount);
        int underWay = 0;
        QStringList failures;
        const auto perform = [&](QCoro::Task<> operation) {
            ++underWay;
            QCoro::connect(outcomeOf(std::move(operation)), this, [&](const QString &failure) {
                --underWay;
                if (!failure.isNull() && !failure.startsWith(u"Cannot "_s) &&
                    !failure.startsWith(u"Another virtualization operation"_s))
                    failures.append(failure);
            });
        };
        const EventLoopBeat beat;
        for (int step = 0; step < 15 * machineCount; ++step) {
            Machine &machine = machines[random.bounded(machineCount)];
            QEMUBackendController &controller = *machine.controller;
            switch (random.bounded(4)) {
            case 0:
            case 1:
                if (controller.state() == VMState::poweredOff)
                    configure(controller, machine.stage);
                perform(controller.start());
                break;
            case 2:
                perform(controller.state() == VMState::paused ? controller.resume() : controller.pause());
                break;
            default:
                perform(controller.stop());
            }
            QTest::qWait(random.bounded(10));
        }
        QTRY_COMPARE(underWay, 0);
        QCOMPARE(failures, QStringList());
        qsizetype running = 0;
        for (const Machine &machine : machines) {
            const VMState state = machine.controller->state();
            QVERIFY(state == VMState::poweredOff || state == VMState::running || state == VMState::paused);
            running += state == VMState::poweredOff ? 0 : 1;
            QCOMPARE(machine.stage.sockets().isEmpty(), state == VMState::poweredOff);
        }
        QTRY_COMPARE(ProcessCensus::take().children, before.children + 2 * running);
        QCOMPARE(beat.complaint(EventLoopBeat::unnoticedWithLaunch), QString());
        for (const Machine &machine : machines)
            if (machine.controller->state() != VMState::poweredOff)
                QCOMPARE(stop(*machine.controller), QString());
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

int main(int argc, char *argv[])
{
    if (!isHomeForTests())
        return EXIT_FAILURE;
    QCoreApplication application(argc, argv);
    if (application.arguments().value(1) == u"--application")
        return runApplicationThatQuits(application.arguments().value(2));
    TestQEMUBackendController test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_qemubackendcontroller.moc"
