#include "UI/ByteCount.h"
#include "UI/VMPresenter.h"
#include "support/TestMain.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

constexpr quint64 gibibyte = quint64(1) << 30;

VMConfiguration configurationOf(GuestOperatingSystem guestOS, bool hasMedia)
{
    auto configuration = VMConfiguration::defaultConfiguration(u"Work"_s, guestOS);
    configuration.cpuCount = 6;
    configuration.memorySizeBytes = 8 * gibibyte;
    configuration.diskSizeBytes = 1024 * gibibyte;
    if (hasMedia)
        configuration.installationMediaPath = u"/x.iso"_s;
    return configuration;
}

/// The names of the buttons that are there and enabled, in the card's order; one that is enabled and says why
/// it is not, or the other way round, has a question mark.
QString buttons(const VMPresentation &shown)
{
    QStringList names;
    const auto add = [&names](bool condition, const QString &name) {
        if (condition)
            names.append(name);
    };
    add(shown.showsInstall, u"Install"_s);
    const auto addButton = [&add](bool isEnabled, const QString &hint, const QString &name) {
        add(isEnabled, name);
        add(isEnabled != hint.isEmpty(), name + u'?');
    };
    addButton(shown.startEnabled, shown.startHint, u"Start"_s);
    addButton(shown.stopEnabled, shown.stopHint, u"Stop"_s);
    addButton(shown.pauseEnabled, shown.pauseHint, u"Pause"_s);
    addButton(shown.resumeEnabled, shown.resumeHint, u"Resume"_s);
    add(shown.showsFinishInstall, u"Finish"_s);
    return names.join(u' ');
}

} // namespace

class VMPresenterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void badgeSaysTheState_data();
    void badgeSaysTheState();
    void buttonsFollowStateAndInstallation_data();
    void buttonsFollowStateAndInstallation();
    void cardSaysWhatIsKnown();
    void byteCountsReadAsPeopleSayThem_data();
    void byteCountsReadAsPeopleSayThem();
    void notifiesOnceForAChangeAndLetsGo();
};

void VMPresenterTest::badgeSaysTheState_data()
{
    using BadgeTone::Tone;
    QTest::addColumn<VMState>("state");
    QTest::addColumn<QString>("text");
    QTest::addColumn<Tone>("tone");
    QTest::newRow("off") << VMState::poweredOff << u"Powered Off"_s << Tone::Neutral;
    QTest::newRow("starting") << VMState::starting << u"Starting"_s << Tone::Yellow;
    QTest::newRow("running") << VMState::running << u"Running"_s << Tone::Green;
    QTest::newRow("paused") << VMState::paused << u"Paused"_s << Tone::Orange;
    QTest::newRow("stopping") << VMState::stopping << u"Stopping"_s << Tone::Yellow;
    QTest::newRow("suspended") << VMState::suspended << u"Suspended"_s << Tone::Neutral;
    QTest::newRow("error") << VMState::error << u"Error"_s << Tone::Red;
}

void VMPresenterTest::badgeSaysTheState()
{
    QFETCH(const VMState, state);
    QFETCH(const BadgeTone::Tone, tone);
    const VirtualMachine vm(configurationOf(GuestOperatingSystem::linuxARM64, false), state,
                            VMInstallationState::completed);
    QTEST(presentationOf(vm).stateText, "text");
    QCOMPARE(presentationOf(vm).badgeTone, int(tone));
}

void VMPresenterTest::buttonsFollowStateAndInstallation_data()
{
    using Installation = VMInstallationState;
    QTest::addColumn<VMState>("state");
    QTest::addColumn<Installation>("installation");
    QTest::addColumn<bool>("hasMedia");
    QTest::addColumn<QString>("idle");
    const auto row = [](const char *name, VMState state, Installation installation, bool hasMedia,
                        const char *idle) {
        QTest::newRow(name) << state << installation << hasMedia << QString::fromLatin1(idle);
    };
    row("installed", VMState::poweredOff, Installation::completed, true, "Start");
    row("without media", VMState::poweredOff, Installation::notStarted, false, "Start");
    row("ready", VMState::poweredOff, Installation::ready, true, "Install");
    row("installing, off", VMState::poweredOff, Installation::inProgress, true, "Install Finish");
    row("installing, off, media gone", VMState::poweredOff, Installation::inProgress, false, "Start Finish");
    row("installing, failed", VMState::error, Installation::inProgress, true, "Install");
    row("installing, runs", VMState::running, Installation::inProgress, true, "Stop Pause");
    row("runs", VMState::running, Installation::completed, true, "Stop Pause");
    row("starting", VMState::starting, Installation::completed, true, "Stop");
    row("stopping", VMState::stopping, Installation::completed, true, "");
    row("paused", VMState::paused, Installation::completed, true, "Start Stop Resume");
    row("paused while installing", VMState::paused, Installation::inProgress, true, "Install Stop Resume");
    row("suspended", VMState::suspended, Installation::completed, false, "Start");
    row("failed", VMState::error, Installation::completed, false, "Start");
}

void VMPresenterTest::buttonsFollowStateAndInstallation()
{
    QFETCH(const VMState, state);
    QFETCH(const VMInstallationState, installation);
    QFETCH(const bool, hasMedia);
    VirtualMachine vm(configurationOf(GuestOperatingSystem::windows11ARM64, hasMedia), state, installation);
    QTEST(buttons(presentationOf(vm)), "idle");
    vm.setOperationInProgress(true);
    const bool mayFinish = installation == VMInstallationState::inProgress && state == VMState::poweredOff;
    QCOMPARE(buttons(presentationOf(vm)), mayFinish ? u"Finish"_s : QString());
}

void VMPresenterTest::cardSaysWhatIsKnown()
{
    VirtualMachine windows(configurationOf(GuestOperatingSystem::windows11ARM64, true), VMState::poweredOff,
                           VMInstallationState::ready);
    VMPresentation shown = presentationOf(windows);
    QCOMPARE(shown.guestName, u"Windows 11 ARM64"_s);
    QCOMPARE(QStringList({shown.architecture, shown.cpuText, shown.memoryText, shown.diskText}),
             QStringList({u"ARM64"_s, u"6 cores"_s, u"8 GB RAM"_s, u"1024 GB disk"_s}));
    QCOMPARE(shown.installationText, u"Ready to Install"_s);
    QCOMPARE(shown.backendText + u'/' + shown.backendSymbol, u"QEMU (HVF)/terminal"_s);
    QVERIFY(shown.hostUsageText.isEmpty());

    windows.setActualDiskUsageBytes(63'950'000'000);
    windows.setInstallationState(VMInstallationState::completed);
    shown = presentationOf(windows);
    QCOMPARE(shown.hostUsageText, u"Host usage: 63.95 GB"_s);
    QVERIFY(shown.installationText.isEmpty());

    const VirtualMachine debian(configurationOf(GuestOperatingSystem::linuxARM64, false), VMState::poweredOff,
                                VMInstallationState::completed);
    QCOMPARE(presentationOf(debian).backendText + u'/' + presentationOf(debian).backendSymbol,
             u"Apple Virtualization/apple.logo"_s);
}

void VMPresenterTest::byteCountsReadAsPeopleSayThem_data()
{
    QTest::addColumn<quint64>("bytes");
    QTest::addColumn<QString>("fileStyle");
    QTest::addColumn<QString>("memoryStyle");
    QTest::newRow("none") << quint64(0) << u"Zero KB"_s << u"Zero KB"_s;
    QTest::newRow("one") << quint64(1) << u"1 byte"_s << u"1 byte"_s;
    QTest::newRow("few") << quint64(999) << u"999 bytes"_s << u"999 bytes"_s;
    QTest::newRow("thousand") << quint64(1000) << u"1 KB"_s << u"1,000 bytes"_s;
    QTest::newRow("rounds into the next unit") << quint64(999'999) << u"1 MB"_s << u"977 KB"_s;
    QTest::newRow("tenths of MB") << quint64(12'340'000) << u"12.3 MB"_s << u"11.8 MB"_s;
    QTest::newRow("memory") << 8 * gibibyte << u"8.59 GB"_s << u"8 GB"_s;
    QTest::newRow("disk") << 1024 * gibibyte << u"1.1 TB"_s << u"1 TB"_s;
    QTest::newRow("largest") << ~quint64(0) << u"18,446.74 PB"_s << u"16,384 PB"_s;
}

void VMPresenterTest::byteCountsReadAsPeopleSayThem()
{
    QFETCH(const quint64, bytes);
    QTEST(ByteCount::fileStyle(bytes), "fileStyle");
    QTEST(ByteCount::memoryStyle(bytes), "memoryStyle");
}

void VMPresenterTest::notifiesOnceForAChangeAndLetsGo()
{
    auto vm = std::make_unique<VirtualMachine>(configurationOf(GuestOperatingSystem::linuxARM64, false),
                                               VMState::poweredOff, VMInstallationState::completed);
    VMPresenter presenter;
    const QSignalSpy spy(&presenter, &VMPresenter::shownChanged);
    presenter.setVM(vm.get());
    QCOMPARE(spy.count(), 1);
    vm->setState(VMState::running);
    QCOMPARE(spy.count(), 2);
    vm->setLastError(u"not on the card"_s);
    QCOMPARE(spy.count(), 2);

    VirtualMachine other(configurationOf(GuestOperatingSystem::linuxARM64, false), VMState::running,
                         VMInstallationState::completed);
    presenter.setVM(&other);
    QCOMPARE(spy.count(), 2); // looks the same
    vm->setState(VMState::error);
    QCOMPARE(spy.count(), 2);
    presenter.setVM(vm.get());
    vm.reset();
    QCOMPARE(presenter.shown(), VMPresentation());
}

KELVO_TEST_MAIN(VMPresenterTest)
#include "tst_vmpresenter.moc"
