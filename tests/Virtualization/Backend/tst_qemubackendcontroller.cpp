#include "Platform/ChildProcess.h"
#include "Platform/FileUrl.h"
#include "Platform/UnixSocket.h"
#include "Services/DiagnosticLogger.h"
#include "support/EventLoopBeat.h"
#include "support/Expectations.h"
#include "support/ProcessCensus.h"
#include "support/QEMUStage.h"
#include "support/ScriptedChild.h"
#include "support/TestMain.h"

#include <QDir>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class TestQEMUBackendController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { DiagnosticLogger::shared().clear(); }
    void cleanup();
    void preparesTheBundle();
    void refusesWhatCannotRun_data();
    void refusesWhatCannotRun();
    void startsPausesResumesAndStops();
    void endsFailedStartsCleanly_data();
    void endsFailedStartsCleanly();
    void neverTakesAForeignGuestForItsOwn();
    void neverSharesAPort();
    void losesItsEmulatorAtAnyStep();
    void runsOnWithoutItsTPM();
    void stopsAfterItsBundleHasGone();
    void stopsWhateverQEMUDoes();
    void followsWhatItsGuestDoes();
    void letsOperationsEndWithoutTheController();
    void leavesGuestsAloneWhenTheApplicationQuits();
    void runsManyMachinesAtOnce();

private:
    ProcessCensus m_clean;
};

namespace {

constexpr QEMUTimeouts timeoutsOf(std::chrono::milliseconds start, std::chrono::milliseconds grace,
                                  std::chrono::milliseconds exchange)
{
    return {.display = start,
            .displayPoll = 10ms,
            .grace = grace,
            .poll = 1h,
            .swtpm = {.socket = start, .grace = grace},
            .qmp = {.socketFile = exchange / 4, .exchange = exchange}};
}

constexpr QEMUTimeouts patient = timeoutsOf(60s, 30s, 30s);
/// For children that come late or never, for those that do not answer, and for those that do not end either.
constexpr QEMUTimeouts forLateOnes = timeoutsOf(2s, 200ms, 2s);
constexpr QEMUTimeouts forSilentOnes = timeoutsOf(60s, 30s, 2s);
constexpr QEMUTimeouts forStubbornOnes = timeoutsOf(60s, 200ms, 2s);

/// A machine and its stage. What operates it waits for the end and returns the error's text.
struct Machine
{
    explicit Machine(QEMUStage given = QEMUStage(), const QEMUTimeouts &timeouts = patient)
        : stage(std::move(given))
        , controller(stage.makeController(timeouts))
    {}

    QString configure()
    {
        return errorTextOf(
            [this] { controller->configure(stage.configuration, VMBuildMode::normalBoot, std::nullopt); });
    }
    QString start() { return QCoro::waitFor(outcomeOf(controller->start())); }
    QString stop() { return QCoro::waitFor(outcomeOf(controller->stop())); }
    QString pause() { return QCoro::waitFor(outcomeOf(controller->pause())); }
    QString resume() { return QCoro::waitFor(outcomeOf(controller->resume())); }
    QString configureAndStart()
    {
        const QString failure = configure();
        return failure.isNull() ? start() : failure;
    }
    [[nodiscard]] VMState state() const { return controller->state(); }
    /// It says that it is off, and no socket or process of any machine is left.
    [[nodiscard]] bool isOff() const
    {
        return state() == VMState::poweredOff && stage.sockets().isEmpty() &&
               ProcessCensus::take().children == 0;
    }

    QEMUStage stage;
    std::unique_ptr<QEMUBackendController> controller;
};

qsizetype childCount()
{
    return ProcessCensus::take().children;
}

QString log()
{
    return DiagnosticLogger::shared().formattedLog();
}

bool isAlive(pid_t process)
{
    return ::kill(process, 0) == 0;
}

} // namespace

void TestQEMUBackendController::initTestCase()
{
    // What the first start makes for good.
    Machine machine;
    QCOMPARE(machine.configureAndStart(), QString());
    QCOMPARE(machine.stop(), QString());
    QTest::qWait(100);
    m_clean = ProcessCensus::take();
}

/// No test leaves a process, a thread or a descriptor behind.
void TestQEMUBackendController::cleanup()
{
    const auto isClean = [this] {
        const ProcessCensus now = ProcessCensus::take();
        return now.children == 0 && now.threads <= m_clean.threads && now.descriptors <= m_clean.descriptors;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isClean(), patience);
}

void TestQEMUBackendController::preparesTheBundle()
{
    Machine machine;
    QFile store(machine.stage.path(u"Windows 11.vm/uefi_vars.fd"_s));
    QFile stale(machine.stage.path(u"Windows 11.vm/qmp.sock"_s));
    QVERIFY(stale.open(QIODevice::WriteOnly));
    QVERIFY(!machine.controller->vncPort());
    QCOMPARE(machine.configure(), QString());
    QCOMPARE(machine.controller->vncPort(), std::optional(machine.stage.configuration.vncPort));
    QCOMPARE(machine.stage.sockets(), QStringList());

    QVERIFY(store.open(QIODevice::ReadWrite));
    QCOMPARE(store.readAll(), "template"_ba);
    store.write(" with boot entries");
    store.close();
    QCOMPARE(machine.configure(), QString());
    QVERIFY(store.open(QIODevice::ReadOnly));
    QCOMPARE(store.readAll(), "template with boot entries"_ba);

    // A folder whose name has a byte too many for the longer one of its sockets.
    machine.stage.configuration.storageDirectory = FileUrl::directory(u'/' + QString(92, u'x'));
    QVERIFY(machine.configure().endsWith(u"/tpm/swtpm.sock” must have at most 107 bytes."_s));
}

void TestQEMUBackendController::refusesWhatCannotRun_data()
{
    QTest::addColumn<qint64>("port");
    QTest::addColumn<QString>("lost");
    QTest::addColumn<bool>("isLinked");
    QTest::addColumn<QString>("failure");
    const QString invalid = u"Virtual machine configuration is invalid. "_s;
    QTest::newRow("no swtpm")
        << qint64(5901) << u"bin/swtpm"_s << false
        << u"QEMU dependencies are missing: swtpm. Install them with Homebrew: brew install qemu swtpm"_s;
    QTest::newRow("no disk") << qint64(5901) << u"Windows 11.vm/disk.img"_s << false
                             << invalid + u"Its disk image “disk.img” is missing."_s;
    for (const qint64 port : {5899, 65536})
        QTest::addRow("port %lld", static_cast<long long>(port))
            << port << u"none"_s << false
            << invalid + u"The VNC port %1 is not between 5900 and 65535."_s.arg(port);
    // The bundle came with a link to something else of the user's.
    const QString link = u"“%1” is a link. A virtual machine uses only files in its own folder."_s;
    for (const auto &name :
         {u"disk.img"_s, u"uefi_vars.fd"_s, u"serial.log"_s, u"tpm"_s, u"tpm/tpm2-00.permall"_s})
        QTest::addRow("link in the place of %s", qPrintable(name))
            << qint64(5901) << u"Windows 11.vm/"_s + name << true
            << invalid + link.arg(name.section(u'/', -1));
}

void TestQEMUBackendController::refusesWhatCannotRun()
{
    QFETCH(const qint64, port);
    QFETCH(const QString, lost);
    QFETCH(const bool, isLinked);
    Machine machine;
    machine.stage.configuration.vncPort = port;
    const QFileInfo file(machine.stage.path(lost));
    const QDir precious(machine.stage.path(u"precious"_s));
    QVERIFY(QDir().mkpath(file.path()) && QDir().mkpath(precious.path()));
    QFile::remove(file.filePath());
    QVERIFY(!isLinked || QFile::link(precious.path(), file.filePath()));
    QTEST(machine.configure(), "failure");
    QVERIFY(precious.isEmpty());
    QVERIFY(!machine.controller->vncPort());
    QCOMPARE(machine.start(), u"Virtual machine configuration is invalid. QEMU backend is not configured."_s);
    QVERIFY(machine.isOff());
}

void TestQEMUBackendController::startsPausesResumesAndStops()
{
    Machine machine;
    const QEMUStage &stage = machine.stage;
    const QString busy = u"Another virtualization operation is already in progress."_s;
    QCOMPARE(machine.configure(), QString());
    QCOMPARE(machine.pause(), u"Cannot pause while virtual machine is powered off."_s);
    QCOMPARE(machine.stop(), u"Cannot stop while virtual machine is powered off."_s);

    QCoro::Task<QString> start = outcomeOf(machine.controller->start());
    QCOMPARE(machine.state(), VMState::starting);
    QCOMPARE(machine.stop(), busy);
    QCOMPARE(machine.start(), busy);
    QCOMPARE(QCoro::waitFor(std::move(start)), QString());
    QCOMPARE(machine.state(), VMState::running);
    QVERIFY(log().endsWith(u"QEMU VM running on VNC port %1"_s.arg(stage.configuration.vncPort)));
    QCOMPARE(stage.sockets(), (QStringList{u"qmp.sock"_s, u"swtpm.sock"_s}));
    QCOMPARE(machine.start(), u"Cannot start while virtual machine is running."_s);
    QCOMPARE(machine.resume(), u"Cannot resume while virtual machine is running."_s);

    QCOMPARE(machine.pause(), QString());
    QCOMPARE(machine.state(), VMState::paused);
    QCOMPARE(machine.resume(), QString());
    QCOMPARE(machine.state(), VMState::running);
    QCOMPARE(machine.pause(), QString());
    QCOMPARE(machine.stop(), QString());
    QVERIFY(machine.isOff());
    QVERIFY(log().endsWith(u"QEMU VM stopped"_s));
    QStringList commands;
    for (const auto &name : {u"stop"_s, u"cont"_s, u"stop"_s, u"quit"_s})
        commands += {uR"({"execute":"qmp_capabilities"})"_s, uR"({"execute":"%1"})"_s.arg(name)};
    QCOMPARE(ScriptedChild::received(stage.emulator()).filter(u"execute"_s), commands);
}

void TestQEMUBackendController::endsFailedStartsCleanly_data()
{
    QTest::addColumn<QString>("emulator");
    QTest::addColumn<QString>("tpm");
    QTest::addColumn<QEMUTimeouts>("timeouts");
    QTest::addColumn<QString>("warning");
    const QString good = QEMUStage::goodEmulator;
    const QString goodTPM = QEMUStage::goodTPM;
    QTest::newRow("TPM exits") << good << u"stderr no rights; exit 1"_s << patient << u"swtpm: no rights"_s;
    QTest::newRow("TPM hangs") << good << u"ignore-term; hang"_s << forLateOnes
                               << u"swtpm did not end when asked to and is killed."_s;
    QTest::newRow("QEMU crashes after many words") << u"flood 3; stderr out of memory; crash"_s << goodTPM
                                                   << patient << u"qemu-system-aarch64: out of memory"_s;
    QTest::newRow("no display") << u"ignore-term; open-socket; serve-qmp"_s << goodTPM << forLateOnes
                                << QString();
}

void TestQEMUBackendController::endsFailedStartsCleanly()
{
    QFETCH(const QString, emulator);
    QFETCH(const QString, tpm);
    QFETCH(const QEMUTimeouts, timeouts);
    QFETCH(const QString, warning);
    const bool failsBeforeQEMU = tpm != QEMUStage::goodTPM;
    QString failure = failsBeforeQEMU ? u"Timed out waiting for swtpm socket."_s
                                      : u"Timed out waiting for the VM display."_s;
    if (emulator.contains(u"out of memory"_s))
        failure += u" out of memory"_s;
    Machine machine(QEMUStage(emulator, tpm), timeouts);
    const EventLoopBeat beat;
    QCOMPARE(machine.configureAndStart(), failure);
    QCOMPARE(beat.complaint(EventLoopBeat::unnoticedWithLaunch), QString());
    QTRY_COMPARE(machine.state(), failsBeforeQEMU ? VMState::error : VMState::poweredOff);
    QCOMPARE(machine.stage.sockets(), QStringList());
    QCOMPARE(childCount(), 0);
    QVERIFY2(log().contains(warning), qPrintable(log()));
    QVERIFY2(log().contains(u"QEMU lifecycle error: "_s + failure), qPrintable(log()));
    QVERIFY2(log().count(u'\n') < 50, qPrintable(log()));
}

void TestQEMUBackendController::neverTakesAForeignGuestForItsOwn()
{
    Machine machine;
    const qint64 port = machine.stage.configuration.vncPort;
    const QString socket = FileUrl::path(machine.stage.configuration.qmpSocketURL());
    const QString serve = u"open-socket %1; serve-qmp"_s.arg(socket);
    const std::pair<QString, QString> foreigners[] = {
        {serve, u"This virtual machine is already running outside Kelvo."_s},
        {u"open-port %1; "_s.arg(port) + serve, u"VNC port %1 is already in use."_s.arg(port)}};
    for (const auto &[script, failure] : foreigners) {
        QFile::remove(socket);
        ChildProcess::LaunchOptions options;
        options.program = ScriptedChild::program();
        options.arguments = {u"--script"_s, script};
        ChildProcess foreign(options);
        QTRY_VERIFY(UnixSocket::hasListener(socket));
        QCOMPARE(machine.configureAndStart(), failure);
        QCOMPARE(machine.state(), VMState::error);
        QVERIFY(!QFile::exists(machine.stage.tpm() + u".received"_s));
        QCOMPARE(machine.stage.emulatorProcesses(), QList<pid_t>());
        QVERIFY2(UnixSocket::hasListener(socket), "the foreign guest lost its control channel");
        foreign.kill();
        QVERIFY(QCoro::waitFor(foreign.waitForExit()));
    }
    QCOMPARE(machine.configureAndStart(), QString());
    QCOMPARE(machine.stop(), QString());
}

void TestQEMUBackendController::neverSharesAPort()
{
    Machine first;
    Machine second;
    second.stage.configuration.vncPort = first.stage.configuration.vncPort;
    QCOMPARE(first.configure(), QString());
    QCoro::Task<QString> start = outcomeOf(first.controller->start());
    const QString inUse = u"VNC port %1 is already in use."_s.arg(first.stage.configuration.vncPort);
    QCOMPARE(second.configureAndStart(), inUse); // nobody listens yet
    QCOMPARE(QCoro::waitFor(std::move(start)), QString());
    QCOMPARE(second.start(), inUse);
    QCOMPARE(first.stop(), QString());
    QCOMPARE(second.start(), QString());
    QCOMPARE(second.stop(), QString());
}

/// QEMU obeys some commands and dies of the next.
void TestQEMUBackendController::losesItsEmulatorAtAnyStep()
{
    const QString obey = u"serve-qmp 2; "_s; // the negotiation is the first
    const QString meet = u"serve-qmp 1; read-line; "_s;
    const QString lost = u"Failed to read from QMP socket."_s;
    for (int obeyed = 0; obeyed < 3; ++obeyed) {
        Machine machine(QEMUStage(u"open-port; open-socket; "_s + obey.repeated(obeyed) + meet + u"crash"_s));
        QCOMPARE(machine.configureAndStart(), QString());
        QCOMPARE(machine.pause(), obeyed == 0 ? lost : QString());
        if (obeyed > 0)
            QCOMPARE(machine.resume(), obeyed == 1 ? lost : QString());
        if (obeyed > 1)
            QCOMPARE(machine.stop(), QString());
        QTRY_COMPARE(machine.state(), VMState::poweredOff);
        QVERIFY(machine.isOff());
    }
}

void TestQEMUBackendController::runsOnWithoutItsTPM()
{
    Machine machine(QEMUStage(QEMUStage::goodEmulator, u"note-pid; "_s + QEMUStage::goodTPM));
    QCOMPARE(machine.configureAndStart(), QString());
    QCOMPARE(::kill(ScriptedChild::received(machine.stage.tpm()).constFirst().toInt(), SIGKILL), 0);
    QTRY_COMPARE(childCount(), 2); // the emulator, and who waits to listen to it
    QTRY_VERIFY(log().endsWith(u"its guest has no TPM until it is started again."_s));
    QCOMPARE(machine.pause(), QString());
    QCOMPARE(machine.resume(), QString());
    QCOMPARE(machine.stop(), QString());
    QVERIFY(machine.isOff());
    QCOMPARE(log().count(u"has no TPM"_s), 1);
}

void TestQEMUBackendController::stopsAfterItsBundleHasGone()
{
    Machine machine(QEMUStage(), forSilentOnes);
    QCOMPARE(machine.configureAndStart(), QString());
    const QString bundle = machine.stage.path(u"Windows 11.vm"_s);
    const QString elsewhere = machine.stage.path(u"moved.vm"_s);
    QVERIFY(QDir().rename(bundle, elsewhere));
    QCOMPARE(machine.pause(), u"Timed out waiting for QMP socket."_s);
    QCOMPARE(machine.stop(), QString());
    QVERIFY(machine.isOff());
    QVERIFY2(!QDir(bundle).exists(), "it was made anew");
    QVERIFY(QFile::exists(elsewhere + u"/disk.img"_s));
}

void TestQEMUBackendController::stopsWhateverQEMUDoes()
{
    for (const bool ignoresSignals : {false, true}) {
        const QString script = ignoresSignals ? u"ignore-term; open-port; open-socket; hang"_s
                                              : u"open-port; open-socket; flood 100000"_s;
        Machine machine(QEMUStage(script), ignoresSignals ? forStubbornOnes : forSilentOnes);
        QCOMPARE(machine.configureAndStart(), QString());
        const EventLoopBeat beat;
        QCOMPARE(machine.stop(), QString());
        QCOMPARE(beat.complaint(EventLoopBeat::unnoticed), QString());
        QVERIFY(machine.isOff());
        QCOMPARE(log().contains(u"QEMU did not end when asked to and is killed."_s), ignoresSignals);
    }
}

/// Another hand pauses and resumes it, the host's disk runs full, and in the end the host cannot run it.
void TestQEMUBackendController::followsWhatItsGuestDoes()
{
    QEMUTimeouts timeouts = patient;
    timeouts.poll = 10ms;
    Machine machine(QEMUStage(), timeouts);
    QStringList told;
    machine.controller->onUnaskedChange([&](const QString &reason) { told.append(reason); });
    const auto setStatus = [&](const QByteArray &status) {
        FileManager::defaultManager().writeAtomically(machine.stage.emulator() + u".status"_s, status);
    };
    QCOMPARE(machine.configureAndStart(), QString());
    const QMPClient other(machine.stage.configuration.qmpSocketURL());
    QCOMPARE(QCoro::waitFor(outcomeOf(other.pause())), QString());
    QTRY_COMPARE(machine.state(), VMState::paused);
    QCOMPARE(QCoro::waitFor(outcomeOf(other.resume())), QString());
    QTRY_COMPARE(machine.state(), VMState::running);
    QCOMPARE(told, (QStringList{QString(), QString()}));

    const QString full = u"The host has no space left for the virtual disk. Make room, then resume."_s;
    setStatus("io-error");
    QTRY_COMPARE(machine.state(), VMState::paused);
    QCOMPARE(told.last(), full);
    told.clear();
    QCOMPARE(machine.resume(), QString());
    QTRY_COMPARE(told, QStringList(full)); // there is still none
    QCOMPARE(machine.state(), VMState::paused);
    setStatus("running");
    QTRY_COMPARE(machine.state(), VMState::running);

    setStatus("internal-error");
    QTRY_COMPARE(machine.state(), VMState::error);
    QCOMPARE(told.last(), u"The host cannot run the guest any further."_s);
    QCOMPARE(childCount(), 0);
    QCOMPARE(machine.stage.sockets(), QStringList());
    QFile::remove(machine.stage.emulator() + u".status"_s);
    QCOMPARE(machine.configureAndStart(), QString());
    QCOMPARE(machine.stop(), QString());
}

void TestQEMUBackendController::letsOperationsEndWithoutTheController()
{
    Machine machine;
    QCOMPARE(machine.configure(), QString());
    QCoro::Task<QString> start = outcomeOf(machine.controller->start());
    machine.controller.reset();
    QCOMPARE(QCoro::waitFor(std::move(start)), QString());
    const pid_t process = machine.stage.emulatorProcesses().last();
    QVERIFY(isAlive(process));
    QCOMPARE(::kill(process, SIGKILL), 0);
    QTRY_VERIFY(!isAlive(process));

    machine.controller = machine.stage.makeController(patient); // the first TPM is a stray now
    QCOMPARE(machine.configureAndStart(), QString());
    QCoro::Task<QString> stop = outcomeOf(machine.controller->stop());
    machine.controller.reset();
    QCOMPARE(QCoro::waitFor(std::move(stop)), QString());
    QCOMPARE(machine.stage.sockets(), QStringList());
}

/// The application of the next test: one guest runs and another one is being started when it quits.
static int runApplicationThatQuits(const QString &folder)
{
    Machine running(QEMUStage(QEMUStage::goodEmulator, QEMUStage::goodTPM, folder + u"/running"_s));
    Machine starting(QEMUStage(u"note-pid; hang"_s, QEMUStage::goodTPM, folder + u"/starting"_s));
    if (!running.configureAndStart().isNull() || !starting.configure().isNull())
        return EXIT_FAILURE;
    QCoro::connect(starting.controller->start(), QCoreApplication::instance(), [] {});
    const auto isLaunched = [&] {
        return !starting.stage.emulatorProcesses().isEmpty();
    };
    return QTest::qWaitFor(isLaunched, patience) ? EXIT_SUCCESS : EXIT_FAILURE;
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
    const pid_t running = processOf(u"running"_s);
    const QMPClient client(FileUrl::file(folder.filePath(u"running/Windows 11.vm/qmp.sock"_s)));
    QVERIFY(isAlive(running));
    QCOMPARE(QCoro::waitFor(outcomeOf(client.quit())), QString()); // and it still listens
    QTRY_VERIFY(!isAlive(running));
    ::kill(processOf(u"starting"_s), SIGKILL);
    for (const auto &name : {u"running"_s, u"starting"_s}) {
        SWTPMProcessManager tpm;
        const QString socket = folder.filePath(name + u"/Windows 11.vm/tpm/swtpm.sock"_s);
        QVERIFY(tpm.takeUp(FileUrl::file(socket)));
        QCoro::waitFor(tpm.stop());
    }
}

void TestQEMUBackendController::runsManyMachinesAtOnce()
{
    std::vector<Machine> machines(20);
    for (Machine &machine : machines)
        QCOMPARE(machine.configure(), QString());
    const EventLoopBeat beat;
    for (const bool starts : {true, false}) {
        QStringList outcomes;
        for (const Machine &machine : machines) {
            QCoro::connect(outcomeOf(starts ? machine.controller->start() : machine.controller->stop()), this,
                           [&](const QString &outcome) { outcomes.append(outcome); });
        }
        QTRY_COMPARE(outcomes, QStringList(machines.size()));
        for (const Machine &machine : machines)
            QCOMPARE(machine.state(), starts ? VMState::running : VMState::poweredOff);
        QCOMPARE(childCount(), starts ? 60 : 0);
    }
    QCOMPARE(beat.complaint(EventLoopBeat::unnoticedWithLaunch), QString());
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
