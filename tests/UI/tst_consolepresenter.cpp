#include "App/AppStage.h"
#include "Platform/Hypervisor/VZVirtualMachine.h"
#include "UI/ConsolePresenter.h"
#include "support/TestMain.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

class ConsolePresenterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void panelSaysHowThingsStand_data();
    void panelSaysHowThingsStand();
    void errorComesBeforeMissingTools();
    void missingToolsMatterToQEMUAlone();
    void screenIsShownWhileThereIsOne();
    void panelOffersTheNextStep_data();
    void panelOffersTheNextStep();
};

void ConsolePresenterTest::panelSaysHowThingsStand_data()
{
    QTest::addColumn<VMState>("state");
    QTest::addColumn<bool>("hasMedia");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("message");
    const auto row = [](VMState state, bool hasMedia, const QString &title, const QString &message) {
        QTest::addRow("%s%s", qPrintable(rawValue(state)), hasMedia ? " with media" : "")
            << state << hasMedia << title << message;
    };
    row(VMState::poweredOff, false, u"Virtual Machine is Off"_s,
        u"Start the virtual machine to view its display."_s);
    row(VMState::poweredOff, true, u"Virtual Machine is Off"_s,
        u"Install boots your Windows ISO with QEMU, a virtual TPM and UEFI firmware."_s);
    row(VMState::starting, true, u"Starting…"_s, u"The virtual machine is booting."_s);
    row(VMState::stopping, false, u"Stopping…"_s, u"The virtual machine is shutting down."_s);
    row(VMState::running, false, u"Running"_s, u"Running"_s);
    row(VMState::paused, false, u"Paused"_s, u"Paused"_s);
    row(VMState::suspended, false, u"Suspended"_s, u"Suspended"_s);
    row(VMState::error, true, u"Error"_s, u"Error"_s);
}

void ConsolePresenterTest::panelSaysHowThingsStand()
{
    QFETCH(const VMState, state);
    QFETCH(const bool, hasMedia);
    AppStage stage;
    VirtualMachine *vm = stage.add(u"a"_s, hasMedia ? std::optional(u"/x.iso"_s) : std::nullopt);
    vm->setState(state);
    ConsolePresenter presenter;
    presenter.setManager(stage.state->vmManager());
    presenter.setVM(vm);
    QTEST(presenter.statusTitle(), "title");
    QTEST(presenter.statusMessage(), "message");
    QCOMPARE(presenter.isBusy(), presenter.statusTitle().endsWith(u'…'));
    QCOMPARE(presenter.display(), ConsolePresenter::StatusPanel); // nobody has configured a display
}

void ConsolePresenterTest::errorComesBeforeMissingTools()
{
    AppStage stage;
    VirtualMachine *vm = stage.add(u"a"_s);
    ConsolePresenter presenter;
    presenter.setVM(vm);
    presenter.setManager(stage.state->vmManager());
    stage.host.removeTools();
    const QSignalSpy spy(&presenter, &ConsolePresenter::statusChanged);
    presenter.refresh();
    QCOMPARE(presenter.statusMessage(), stage.host.dependencyService().status().installHint);
    vm->setState(VMState::starting);
    QCOMPARE(presenter.statusMessage(), stage.host.dependencyService().status().installHint);
    QVERIFY(!presenter.offersDiagnostics());
    vm->setLastError(u"it broke"_s);
    QCOMPARE(presenter.statusMessage(), u"it broke"_s);
    QVERIFY(presenter.offersDiagnostics());
    QCOMPARE(spy.count(), 3);
}

void ConsolePresenterTest::missingToolsMatterToQEMUAlone()
{
    AppStage stage;
    VirtualMachine *vm = stage.add(u"a"_s);
    VMConfiguration other = vm->configuration();
    other.backend = VMBackendType::appleVirtualization;
    stage.host.removeTools();
    vm->setConfiguration(other);
    ConsolePresenter presenter;
    presenter.setManager(stage.state->vmManager());
    presenter.setVM(vm);
    QCOMPARE(presenter.statusMessage(), u"Start the virtual machine to view its display."_s);
}

void ConsolePresenterTest::screenIsShownWhileThereIsOne()
{
    AppStage stage;
    VirtualMachine *vm = stage.add(u"a"_s);
    ConsolePresenter presenter;
    presenter.setManager(stage.state->vmManager());
    presenter.setVM(vm);
    const QSignalSpy spy(&presenter, &ConsolePresenter::displayChanged);
    finish(stage.state->vmManager()->start(vm));
    QCOMPARE(presenter.display(), ConsolePresenter::VNC);
    QCOMPARE(presenter.vncHost(), u"127.0.0.1"_s);
    QCOMPARE(presenter.vncPort(), vm->configuration().vncPort);
    finish(stage.state->vmManager()->pause(vm));
    QCOMPARE(presenter.display(), ConsolePresenter::VNC);
    QCOMPARE(spy.count(), 1);
    finish(stage.state->vmManager()->stop(vm));
    QCOMPARE(presenter.display(), ConsolePresenter::StatusPanel);

    stage.controllerOf(vm)->display = VMDisplayKind::hypervisorView;
    finish(stage.state->vmManager()->start(vm));
    QCOMPARE(presenter.display(), ConsolePresenter::StatusPanel); // a view without a machine
    QCOMPARE(presenter.statusTitle(), u"Running"_s);

    auto machine = std::make_unique<VZVirtualMachine>(VZVirtualMachineConfiguration());
    stage.controllerOf(vm)->machine = machine.get();
    presenter.refresh();
    QCOMPARE(presenter.display(), ConsolePresenter::HypervisorView);
    QCOMPARE(presenter.vzMachine(), machine.get());
    stage.controllerOf(vm)->machine = nullptr;
    machine.reset();
    QCOMPARE(presenter.vzMachine(), nullptr);
    finish(stage.state->vmManager()->stop(vm));
    QCOMPARE(presenter.display(), ConsolePresenter::StatusPanel);
}

void ConsolePresenterTest::panelOffersTheNextStep_data()
{
    using Installation = VMInstallationState;
    QTest::addColumn<VMState>("state");
    QTest::addColumn<Installation>("installation");
    QTest::addColumn<bool>("hasMedia");
    QTest::addColumn<QString>("offers");
    QTest::newRow("ready") << VMState::poweredOff << Installation::ready << true << u"install"_s;
    QTest::newRow("installing") << VMState::poweredOff << Installation::inProgress << true
                                << u"install finish"_s;
    QTest::newRow("installed") << VMState::poweredOff << Installation::completed << true << u"start"_s;
    QTest::newRow("no media") << VMState::error << Installation::notStarted << false << u"start"_s;
    QTest::newRow("starting") << VMState::starting << Installation::completed << true << QString();
}

void ConsolePresenterTest::panelOffersTheNextStep()
{
    QFETCH(const VMState, state);
    QFETCH(const VMInstallationState, installation);
    QFETCH(const bool, hasMedia);
    AppStage stage;
    VirtualMachine *vm = stage.add(u"a"_s, hasMedia ? std::optional(u"/x.iso"_s) : std::nullopt);
    vm->setState(state);
    vm->setInstallationState(installation);
    ConsolePresenter presenter;
    presenter.setManager(stage.state->vmManager());
    presenter.setVM(vm);
    QStringList offers;
    if (presenter.offersInstall())
        offers.append(u"install"_s);
    if (presenter.offersStart())
        offers.append(u"start"_s);
    if (presenter.offersFinishInstall())
        offers.append(u"finish"_s);
    QTEST(offers.join(u' '), "offers");
}

KELVO_TEST_MAIN(ConsolePresenterTest)
#include "tst_consolepresenter.moc"
