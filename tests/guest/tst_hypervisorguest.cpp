#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/Hypervisor/EmulatorInstallation.h"
#include "Platform/Hypervisor/EmulatorSession.h"
#include "Platform/Hypervisor/VZError.h"
#include "Platform/Hypervisor/VZVirtualMachine.h"
#include "guest/GuestBundle.h"
#include "support/EventLoopBeat.h"
#include "support/Expectations.h"
#include "support/ProcessCensus.h"
#include "support/TestMain.h"

#include <QFile>
#include <QSignalSpy>
#include <QSocketNotifier>

#include <sys/socket.h>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// The hypervisor layer with the real emulator and firmware of this host.
class HypervisorGuestTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void stopsAndStartsAgain();
    void tellsAPowerOffFromAFailure();
    void runsOneMachineOnce();
    void endsAStartThatNobodyWaitsFor();
    void takesUpWhatSomebodyElseHasStarted();
    void takesUpWhatItsLauncherHasLeftStandingStill();
    void followsItsMovedFolder();
};

namespace {

/// Notes what the machine's owner is told.
class Owner final : public VZVirtualMachineDelegate
{
public:
    QStringList told;

    void guestDidStop(VZVirtualMachine &) override { told << u"guest did stop"_s; }
    void virtualMachineDidStopWithError(VZVirtualMachine &, const VZError &error) override
    {
        told << error.localizedDescription();
    }
};

/// The outcome of one operation: its error text, a null string after success.
template<typename Operation>
QString perform(const Operation &operation)
{
    std::optional<QString> outcome;
    operation([&outcome](const std::exception_ptr &error) {
        outcome = errorTextOf([&] {
            if (error)
                std::rethrow_exception(error);
        });
    });
    if (outcome || !QTest::qWaitFor([&] { return outcome.has_value(); }, 60'000))
        qFatal("the operation completed too early or never");
    return *outcome;
}

QString start(VZVirtualMachine &machine)
{
    return perform([&](const auto &handler) { machine.start(VZVirtualMachineStartOptions(), handler); });
}

QString stop(VZVirtualMachine &machine)
{
    return perform([&](const auto &handler) { machine.stop(handler); });
}

/// The process numbers of those among our children.
QList<pid_t> emulators()
{
    QFile file(u"/proc/self/task/%1/children"_s.arg(::getpid()));
    QList<pid_t> result;
    if (file.open(QIODevice::ReadOnly))
        for (const QByteArray &word : file.readAll().simplified().split(' '))
            if (QFile name(u"/proc/%1/comm"_s.arg(QLatin1StringView(word)));
                name.open(QIODevice::ReadOnly) && name.read(4) == "qemu")
                result << word.toInt();
    return result;
}

/// What the screen's server says first; empty when it closes the connection.
QByteArray greeting(const UniqueDescriptor &display)
{
    // It is handed over by the event loop.
    QSocketNotifier readable(display.get(), QSocketNotifier::Read);
    if (!QSignalSpy(&readable, &QSocketNotifier::activated).wait(patience))
        return "nothing";
    QByteArray bytes(12, '\0');
    bytes.resize(std::max<ssize_t>(0, ::recv(display.get(), bytes.data(), bytes.size(), MSG_WAITALL)));
    return bytes;
}

/// What the emulator says of its guest.
QString statusOf(const GuestBundle &bundle)
{
    const QString socket = FileUrl::path(bundle.configuration.controlSocket);
    return finish(QMPChannel::ask(socket, u"query-status"_s, {}, 30s))["status"_L1].toString();
}

} // namespace

void HypervisorGuestTest::initTestCase()
{
    QVERIFY(VZVirtualMachine::isSupported());
}

void HypervisorGuestTest::stopsAndStartsAgain()
{
    const GuestBundle bundle;
    Owner owner;
    ProcessCensus before;
    const EventLoopBeat beat;
    for (int round = 0; round < 3; ++round) {
        VZVirtualMachine machine(bundle.configuration);
        machine.setDelegate(&owner);
        QCOMPARE(errorTextOf([&] { (void)machine.openDisplay(); }),
                 u"The virtual machine cannot be shown now."_s);
        QCOMPARE(start(machine), QString());
        QCOMPARE(machine.state(), VZVirtualMachine::State::running);
        for (int display = 0; display < 2; ++display)
            QCOMPARE(greeting(machine.openDisplay()), QByteArray("RFB 003.008\n"));
        // After a pause that was given up nobody knows whether it runs.
        QCOMPARE(perform([&](const auto &handler) { machine.resume(handler); }), QString());
        QCOMPARE(machine.state(), VZVirtualMachine::State::running);
        QCOMPARE(statusOf(bundle), u"running"_s);
        QCOMPARE(perform([&](const auto &handler) { machine.pause(handler); }), QString());
        QCOMPARE(machine.state(), VZVirtualMachine::State::paused);
        QCOMPARE(statusOf(bundle), u"paused"_s);
        QCOMPARE(stop(machine), QString());
        QCOMPARE(machine.state(), VZVirtualMachine::State::stopped);
        QCOMPARE(stop(machine), u"The virtual machine cannot be stopped now."_s);
        QVERIFY(emulators().isEmpty());
        if (round == 0)
            before = ProcessCensus::take();
    }
    QCOMPARE(ProcessCensus::take(), before);
    QVERIFY(owner.told.isEmpty());
    QCOMPARE(beat.complaint(EventLoopBeat::unnoticedWithLaunch), QString());
}

void HypervisorGuestTest::tellsAPowerOffFromAFailure()
{
    using enum VZVirtualMachine::State;
    for (const auto &[script, signal, told, state] :
         {std::tuple(u"reset -s\r\n"_s, 0, u"guest did stop"_s, stopped),
          {QString(), SIGKILL, u"The emulator was killed by signal 9."_s, error},
          // The emulator says who sent it, and ends as if it had been asked to.
          {QString(), SIGTERM, u"The emulator was ended from outside."_s, error}}) {
        const GuestBundle bundle(script);
        Owner owner;
        VZVirtualMachine machine(bundle.configuration);
        machine.setDelegate(&owner);
        QCOMPARE(start(machine), QString());
        if (signal != 0)
            ::kill(emulators().value(0), signal);
        QTRY_COMPARE_WITH_TIMEOUT(owner.told, QStringList{told}, 90'000);
        QCOMPARE(machine.state(), state);
        QVERIFY(emulators().isEmpty());
        QCOMPARE(start(machine), QString());
        QCOMPARE(stop(machine), QString());
        QCOMPARE(owner.told.size(), 1);
    }
}

void HypervisorGuestTest::runsOneMachineOnce()
{
    const GuestBundle bundle;
    auto first = std::make_unique<VZVirtualMachine>(bundle.configuration);
    VZVirtualMachine second(bundle.configuration);
    QCOMPARE(start(*first), QString());
    const QString refusal = u"This virtual machine is already running."_s;
    QCOMPARE(start(second), refusal);
    // The guest lives on without its owner, and is still known to run.
    const QList<pid_t> guest = emulators();
    first.reset();
    QCOMPARE(start(second), refusal);
    QCOMPARE(emulators(), guest);
    ::kill(guest.value(0), SIGTERM);
    QTRY_VERIFY(emulators().isEmpty());
    QCOMPARE(start(second), QString());
    QCOMPARE(stop(second), QString());
}

void HypervisorGuestTest::endsAStartThatNobodyWaitsFor()
{
    const GuestBundle bundle;
    std::optional<bool> failed;
    {
        VZVirtualMachine machine(bundle.configuration);
        machine.start({}, [&failed](const std::exception_ptr &error) { failed = error != nullptr; });
        QCOMPARE(machine.state(), VZVirtualMachine::State::starting);
    }
    QTRY_VERIFY(failed.value_or(false));
    QTRY_VERIFY(emulators().isEmpty());
}

void HypervisorGuestTest::takesUpWhatSomebodyElseHasStarted()
{
    using State = VZVirtualMachine::State;
    const GuestBundle bundle;
    auto first = std::make_unique<VZVirtualMachine>(bundle.configuration);
    QCOMPARE(start(*first), QString());
    VZVirtualMachineConfiguration strangers = bundle.configuration;
    strangers.platform->machineIdentifier = VZGenericMachineIdentifier();
    VZVirtualMachine stranger(strangers);
    QCOMPARE(finish(stranger.takeUp()).outcome, GuestTakeUp::Outcome::noGuest);

    Owner owner;
    VZVirtualMachine second(bundle.configuration);
    second.setDelegate(&owner);
    QCOMPARE(finish(second.takeUp()).outcome, GuestTakeUp::Outcome::takenUp);
    QCOMPARE(second.state(), State::running);
    QCOMPARE(greeting(second.openDisplay()), QByteArray("RFB 003.008\n"));
    QCOMPARE(perform([&](const auto &handler) { second.pause(handler); }), QString());
    QTRY_COMPARE(first->state(), State::paused);
    first.reset();
    VZVirtualMachine third(bundle.configuration);
    QCOMPARE(finish(third.takeUp()).outcome, GuestTakeUp::Outcome::takenUp);
    QCOMPARE(third.state(), State::paused);
    QCOMPARE(perform([&](const auto &handler) { third.resume(handler); }), QString());
    QCOMPARE(stop(third), QString());
    QTRY_COMPARE(owner.told, QStringList(u"guest did stop"_s));
    QCOMPARE(second.state(), State::stopped);
    QVERIFY(emulators().isEmpty());
    QVERIFY(!QFile::exists(FileUrl::path(bundle.configuration.controlSocket)));
}

/// The application died between the launch and the guest's first step.
void HypervisorGuestTest::takesUpWhatItsLauncherHasLeftStandingStill()
{
    const GuestBundle bundle;
    const QTemporaryDir folder;
    EmulatorInstallation installation = *EmulatorInstallation::find();
    const QString launcher = folder.filePath(u"launcher"_s);
    FileManager::defaultManager().writeAtomically(launcher, "#!/bin/sh\n" + installation.emulator.toUtf8() +
                                                                " \"$@\" &\n");
    QFile::setPermissions(launcher, QFile::ReadOwner | QFile::ExeOwner);
    installation.emulator = launcher;
    {
        const EmulatorSession session(bundle.configuration, installation, EmulatorTimeouts());
        QTRY_VERIFY(session.hasEnded());
    }
    VZVirtualMachine machine(bundle.configuration);
    const auto isFound = [&] {
        return finish(machine.takeUp()).outcome == GuestTakeUp::Outcome::takenUp;
    };
    QVERIFY(QTest::qWaitFor(isFound, patience));
    QCOMPARE(machine.state(), VZVirtualMachine::State::paused);
    QCOMPARE(perform([&](const auto &handler) { machine.resume(handler); }), QString());
    QCOMPARE(statusOf(bundle), u"running"_s);
    QCOMPARE(stop(machine), QString());
    QVERIFY(!QFile::exists(FileUrl::path(bundle.configuration.controlSocket)));
}

void HypervisorGuestTest::followsItsMovedFolder()
{
    const GuestBundle bundle;
    VZVirtualMachine machine(bundle.configuration);
    QCOMPARE(start(machine), QString());
    const QString socket = FileUrl::path(bundle.configuration.controlSocket);
    const QString folder = socket.left(socket.lastIndexOf(u'/'));
    QVERIFY(QFile::rename(folder, folder + u" moved"_s));
    QCOMPARE(perform([&](const auto &handler) { machine.pause(handler); }), QString());
    QCOMPARE(greeting(machine.openDisplay()), QByteArray("RFB 003.008\n"));
    QCOMPARE(stop(machine), QString());
    QVERIFY(!QFile::exists(folder + u" moved/control.sock"_s));
    QVERIFY(QFile::rename(folder + u" moved"_s, folder));
}

KELVO_TEST_MAIN(HypervisorGuestTest)
#include "tst_hypervisorguest.moc"
