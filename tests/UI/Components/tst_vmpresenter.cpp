#include "UI/Components/ByteCount.h"
#include "UI/Components/VMPresenter.h"
#include "support/TestMain.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

constexpr quint64 gibibyte = quint64(1) << 30;

VMConfiguration configurationOf(GuestOperatingSystem guestOS, bool hasMedia)
{
    auto configuration = VMConfiguration::defaultConfiguration(u"Work"_s, guestOS);
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
    addButton(shown.shutDownEnabled, shown.shutDownHint, u"ShutDown"_s);
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
    void buttonsFollowStateAndInstallation();
    void cardSaysWhatIsKnown();
    void byteCountsReadAsPeopleSayThem();
    void notifiesOnceForAChangeAndLetsGo();
};

void VMPresenterTest::buttonsFollowStateAndInstallation()
{
    using Installation = VMInstallationState;
    for (const auto &[state, installation, hasMedia, shown] :
         {std::tuple(VMState::poweredOff, Installation::completed, true, u"Start"_s),
          {VMState::poweredOff, Installation::ready, true, u"Install"_s},
          {VMState::poweredOff, Installation::inProgress, true, u"Install Finish"_s},
          {VMState::poweredOff, Installation::inProgress, false, u"Start Finish"_s},
          {VMState::error, Installation::inProgress, true, u"Install"_s},
          {VMState::running, Installation::inProgress, true, u"ShutDown Stop Pause"_s},
          {VMState::starting, Installation::completed, true, u"Stop"_s},
          {VMState::stopping, Installation::completed, true, QString()},
          {VMState::paused, Installation::completed, true, u"Start Stop Resume"_s},
          {VMState::paused, Installation::inProgress, true, u"Install Stop Resume"_s}}) {
        VirtualMachine vm(configurationOf(GuestOperatingSystem::windows11ARM64, hasMedia), state,
                          installation);
        QCOMPARE(buttons(presentationOf(vm)), shown);
        vm.setOperationInProgress(true);
        QCOMPARE(buttons(presentationOf(vm)), shown.endsWith(u"Finish") ? u"Finish"_s : QString());
    }
}

void VMPresenterTest::cardSaysWhatIsKnown()
{
    VirtualMachine windows(configurationOf(GuestOperatingSystem::windows11ARM64, true), VMState::poweredOff,
                           VMInstallationState::ready);
    VMPresentation shown = presentationOf(windows);
    QCOMPARE(shown.diskText, u"1024 GB disk"_s);
    QCOMPARE(shown.installationText, u"Ready to Install"_s);
    QVERIFY(shown.hostUsageText.isEmpty());

    windows.setActualDiskUsageBytes(63'950'000'000);
    windows.setInstallationState(VMInstallationState::completed);
    shown = presentationOf(windows);
    QCOMPARE(shown.hostUsageText, u"Host usage: 63.95 GB"_s);
    QVERIFY(shown.installationText.isEmpty() && shown.errorText.isEmpty());
    windows.setLastError(u"It crashed."_s);
    QCOMPARE(presentationOf(windows).errorText, u"It crashed."_s);
}

void VMPresenterTest::byteCountsReadAsPeopleSayThem()
{
    for (const auto &[bytes, fileStyle, memoryStyle] :
         {std::tuple(quint64(0), u"Zero KB"_s, u"Zero KB"_s),
          {1, u"1 byte"_s, u"1 byte"_s},
          {1000, u"1 KB"_s, u"1,000 bytes"_s},
          {999'999, u"1 MB"_s, u"977 KB"_s}, // rounds into the next unit
          {12'340'000, u"12.3 MB"_s, u"11.8 MB"_s},
          {8 * gibibyte, u"8.59 GB"_s, u"8 GB"_s},
          {~quint64(0), u"18,446.74 PB"_s, u"16,384 PB"_s}}) {
        QCOMPARE(ByteCount::fileStyle(bytes), fileStyle);
        QCOMPARE(ByteCount::memoryStyle(bytes), memoryStyle);
    }
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
