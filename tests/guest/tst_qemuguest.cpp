#include "Platform/Emulator/EmulatorLog.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/QEMUBackendController.h"
#include "Virtualization/QEMU/QEMUCommandBuilder.h"
#include "guest/GuestBundle.h"
#include "support/Expectations.h"
#include "support/ProcessCensus.h"
#include "support/QEMUStage.h"
#include "support/TestMain.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QProcess>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The controller with the real emulator, firmware and TPM of this host, as scripts/setup installs them.
class TestQEMUGuest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { DiagnosticLogger::shared().clear(); }
    void livesAWholeLife();
    void oneDiskImageServesOneMachine();
    void takesUpWhatSomebodyElseHasStarted();
    void clearsAwayWhatEndedMeanwhile();
    void disconnectsTheNetwork();
    void waitsForSpaceOnAFullDisk();
};

namespace {

constexpr QEMUTimeouts patient = {.display = 60s};

/// A machine with an empty disk in a folder of its own.
class Machine
{
public:
    explicit Machine(const QString &name)
    {
        configuration = VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::windows11ARM64);
        const QString folder = m_folder.filePath(VMConfiguration::bundleFolderName(name));
        configuration.storageDirectory = FileUrl::directory(folder);
        configuration.cpuCount = 2;
        configuration.memorySizeBytes = quint64(512) << 20;
        configuration.vncPort = freePort();
        FileManager &files = FileManager::defaultManager();
        files.createDirectory(folder);
        files.writeAtomically(diskPath(), {});
        files.truncateFile(diskPath(), quint64(64) << 20);
    }

    VMConfiguration configuration;

    [[nodiscard]] QString diskPath() const { return FileUrl::path(configuration.diskURL()); }

    [[nodiscard]] QString start(QEMUBackendController &controller) const
    {
        controller.configure(configuration, VMBuildMode::normalBoot, std::nullopt);
        return QCoro::waitFor(outcomeOf(controller.start()));
    }

    /// What QEMU answers to us.
    [[nodiscard]] QJsonValue ask(const QString &command) const
    {
        return finish(QMPChannel::ask(qmpSocket(), command, {}, 30s));
    }

    [[nodiscard]] QString status() const
    {
        return ask(u"query-status"_s).toObject().value("status"_L1).toString();
    }

    /// The emulator's own process.
    [[nodiscard]] pid_t process() const
    {
        return UnixSocket::peerOf(UnixSocket::connect(qmpSocket())).identifier;
    }

    /// The local paths that the emulator has open, as far as they are in the machine's folder.
    [[nodiscard]] QStringList openFiles() const
    {
        const QString folder = u"/proc/%1/fd"_s.arg(process());
        const QString bundle = FileUrl::path(configuration.storageDirectory);
        QStringList paths;
        for (const QFileInfo &entry :
             QDir(folder).entryInfoList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System))
            if (const QString target = entry.symLinkTarget(); target.startsWith(bundle))
                paths.append(target.mid(bundle.size() + 1));
        paths.removeDuplicates();
        paths.sort();
        return paths;
    }

    [[nodiscard]] bool hasSockets() const
    {
        return QFile::exists(qmpSocket()) || QFile::exists(FileUrl::path(tpmSocket()));
    }

private:
    [[nodiscard]] QString qmpSocket() const { return FileUrl::path(configuration.qmpSocketURL()); }
    [[nodiscard]] QUrl tpmSocket() const
    {
        return QEMURuntimePaths::forConfiguration(configuration).tpmSocket;
    }

    QTemporaryDir m_folder;
};

std::unique_ptr<QEMUBackendController> makeController()
{
    return std::make_unique<QEMUBackendController>(QEMUDependencyService(), FileManager::defaultManager(),
                                                   patient);
}

/// A guest of that machine whose firmware has a shell, as none has that checks signatures. Its empty
/// variables take no space.
std::shared_ptr<QEMUGuest> makeGuestWithShell(const Machine &machine)
{
    QEMUDependencies dependencies = *QEMUDependencyService().status().dependencies;
    dependencies.uefiCode = FileUrl::file(EmulatorInstallation::find()->firmwareCode);
    const QEMURuntimePaths paths = QEMURuntimePaths::forConfiguration(machine.configuration);
    FileManager::defaultManager().createFile(FileUrl::path(paths.uefiVars));
    FileManager::defaultManager().truncateFile(FileUrl::path(paths.uefiVars), quint64(64) << 20);
    auto guest = std::make_shared<QEMUGuest>(patient);
    guest->setPlan({
        .configuration = machine.configuration,
        .runtimePaths = paths,
        .dependencies = dependencies,
        .arguments = QEMUCommandBuilder(dependencies)
                         .buildArguments(machine.configuration, VMBuildMode::normalBoot, std::nullopt,
                                         paths.uefiVars, paths.tpmSocket, paths.qmpSocket),
        .qmpClient = QMPClient(paths.qmpSocket),
    });
    return guest;
}

QString log()
{
    return DiagnosticLogger::shared().formattedLog();
}

} // namespace

void TestQEMUGuest::initTestCase()
{
    const QEMUDependencyStatus status = QEMUDependencyService().status();
    QVERIFY2(status.isReady(),
             qPrintable(u"Run scripts/setup first; missing: "_s + status.missingComponents.join(u", ")));
}

void TestQEMUGuest::livesAWholeLife()
{
    for (const auto &name : {u"Windows 11"_s, u"Gerät, \"new\", 'x',,"_s, u"id=7,k=v"_s}) {
        const Machine machine(name);
        const ProcessCensus before = ProcessCensus::take();
        auto controller = makeController();
        for (int round = 0; round < 2; ++round) {
            QVERIFY2(machine.start(*controller).isNull(), qPrintable(log()));
            QCOMPARE(controller->state(), VMState::running);
            QVERIFY(LoopbackPort::isOpen(machine.configuration.vncPort));
            QCOMPARE(machine.ask(u"query-name"_s).toObject().value("name"_L1).toString(), name);
            QCOMPARE(machine.openFiles(), (QStringList{u"disk.img"_s, u"serial.log"_s, u"uefi_vars.fd"_s}));
            QCOMPARE(machine.ask(u"query-tpm"_s).toArray().size(), 1);
            QCOMPARE(machine.status(), u"running"_s);

            QCOMPARE(QCoro::waitFor(outcomeOf(controller->pause())), QString());
            QCOMPARE(machine.status(), u"paused"_s);
            QCOMPARE(QCoro::waitFor(outcomeOf(controller->resume())), QString());
            QCOMPARE(machine.status(), u"running"_s);

            QCOMPARE(QCoro::waitFor(outcomeOf(controller->stop())), QString());
            QCOMPARE(controller->state(), VMState::poweredOff);
            QCOMPARE(ProcessCensus::take().children, before.children);
            QVERIFY(!machine.hasSockets());
            QVERIFY(!LoopbackPort::isOpen(machine.configuration.vncPort));
            QVERIFY2(!log().contains(u"has no TPM"_s), qPrintable(log()));
        }
        controller.reset();
        QTRY_COMPARE(ProcessCensus::take(), before);
    }
}

void TestQEMUGuest::oneDiskImageServesOneMachine()
{
    const Machine first(u"First"_s);
    const Machine second(u"Second"_s);
    QVERIFY(QFile::remove(second.diskPath()));
    const QByteArray path = QFile::encodeName(first.diskPath());
    QCOMPARE(::link(path.constData(), QFile::encodeName(second.diskPath()).constData()), 0);
    const auto controller = makeController();
    QVERIFY2(first.start(*controller).isNull(), qPrintable(log()));
    const ProcessCensus before = ProcessCensus::take();

    const auto other = makeController();
    const QString failure = second.start(*other);
    QVERIFY2(failure.startsWith(u"Timed out waiting for the VM display. "_s) &&
                 failure.contains(u"Is another process using the image"_s),
             qPrintable(failure));
    QVERIFY2(log().contains(u"[WARN]"_s), qPrintable(log()));
    QTRY_COMPARE(other->state(), VMState::poweredOff);
    QCOMPARE(ProcessCensus::take().children, before.children);
    QVERIFY(!second.hasSockets());
    QCOMPARE(first.status(), u"running"_s);

    QCOMPARE(QCoro::waitFor(outcomeOf(controller->stop())), QString());
    QVERIFY2(second.start(*other).isNull(), qPrintable(log()));
    QCOMPARE(QCoro::waitFor(outcomeOf(other->stop())), QString());
}

void TestQEMUGuest::takesUpWhatSomebodyElseHasStarted()
{
    Machine machine(u"Taken up"_s);
    const ProcessCensus before = ProcessCensus::take();
    auto controller = makeController();
    QVERIFY2(machine.start(*controller).isNull(), qPrintable(log()));
    controller.reset();
    const qint64 port = std::exchange(machine.configuration.vncPort, 5999); // by hand

    controller = makeController();
    QCOMPARE(finish(controller->takeUp(machine.configuration)).outcome, GuestTakeUp::Outcome::takenUp);
    QCOMPARE(controller->state(), VMState::running);
    QCOMPARE(controller->vncPort(), std::optional(port));
    QCOMPARE(QCoro::waitFor(outcomeOf(controller->pause())), QString());
    QCOMPARE(machine.status(), u"paused"_s);
    const auto other = makeController();
    QCOMPARE(finish(other->takeUp(machine.configuration)).outcome, GuestTakeUp::Outcome::takenUp);
    QCOMPARE(other->state(), VMState::paused);
    QCOMPARE(QCoro::waitFor(outcomeOf(controller->resume())), QString());
    QTRY_COMPARE(other->state(), VMState::running);
    QCOMPARE(QCoro::waitFor(outcomeOf(other->stop())), QString());
    QTRY_COMPARE(controller->state(), VMState::poweredOff);
    QCOMPARE(ProcessCensus::take().children, before.children);
    QVERIFY(!machine.hasSockets());
}

/// Its QEMU, that is; the TPM has stayed.
void TestQEMUGuest::clearsAwayWhatEndedMeanwhile()
{
    for (const auto &[signal, reason] :
         {std::pair(SIGTERM, QString()),
          {SIGKILL, u"The emulator ended unexpectedly. Its last words: it hurts"_s}}) {
        const Machine machine(u"Ended meanwhile"_s);
        const ProcessCensus before = ProcessCensus::take();
        auto controller = makeController();
        QVERIFY2(machine.start(*controller).isNull(), qPrintable(log()));
        const pid_t process = machine.process();
        controller.reset();
        QCOMPARE(::kill(process, signal), 0);
        QTRY_VERIFY(!QFile::exists(u"/proc/%1"_s.arg(process)));
        const QString folder = FileUrl::path(machine.configuration.storageDirectory);
        FileManager::defaultManager().writeAtomically(QDir(folder).filePath(EmulatorLog::fileName),
                                                      "first\nit hurts\n");
        controller = makeController();
        const GuestTakeUp found = finish(controller->takeUp(machine.configuration));
        QCOMPARE(found.outcome, GuestTakeUp::Outcome::noGuest);
        QCOMPARE(found.reason, reason);
        QCOMPARE(controller->state(), VMState::poweredOff);
        QCOMPARE(ProcessCensus::take().children, before.children);
        QVERIFY(!machine.hasSockets());
    }
}

/// As the guest itself sees it: the firmware's shell writes it to the disk.
void TestQEMUGuest::disconnectsTheNetwork()
{
    for (const VMNetworkMode mode : {VMNetworkMode::nat, VMNetworkMode::disconnected}) {
        Machine machine(u"Network"_s);
        machine.configuration.networkMode = mode;
        GuestBundle::addScript(machine.diskPath(),
                               u"connect -r\r\nfs0:\r\nifconfig -l >a network.txt\r\nreset -s\r\n"_s);
        const auto guest = makeGuestWithShell(machine);
        QVERIFY2(QCoro::waitFor(outcomeOf(guest->start())).isNull(), qPrintable(log()));
        QTRY_COMPARE_WITH_TIMEOUT(guest->state(), VMState::poweredOff, 90'000);
        QProcess reader;
        reader.start(u"mtype"_s, {u"-i"_s, machine.diskPath(), u"::/network.txt"_s});
        QVERIFY(reader.waitForFinished());
        const QByteArray text = reader.readAllStandardOutput();
        QVERIFY2(text.contains("Media State"), text.constData());
        QCOMPARE(text.contains("Media disconnected"), mode == VMNetworkMode::disconnected);
    }
}

void TestQEMUGuest::waitsForSpaceOnAFullDisk()
{
    if (::geteuid() != 0)
        QSKIP("mounts a file system");
    const SmallFileSystem disk;
    const Machine machine(u"Full"_s);
    GuestBundle::addScript(machine.diskPath(), SmallFileSystem::fillingScript);
    SmallFileSystem::addLargeFile(machine.diskPath());
    const auto guest = makeGuestWithShell(machine);
    QString told;
    guest->onUnaskedChange([&told](const QString &reason) { told = reason; });
    QVERIFY2(QCoro::waitFor(outcomeOf(guest->start())).isNull(), qPrintable(log()));
    QTRY_COMPARE_WITH_TIMEOUT(guest->state(), VMState::paused, 90'000);
    QCOMPARE(told, u"The host has no space left for the virtual disk. Make room, then resume."_s);
    disk.grow();
    QCOMPARE(QCoro::waitFor(outcomeOf(guest->resume())), QString());
    QTRY_COMPARE_WITH_TIMEOUT(guest->state(), VMState::poweredOff, 90'000);
    QCOMPARE(told, QString());
}

KELVO_TEST_MAIN(TestQEMUGuest)
#include "tst_qemuguest.moc"
