#include "App/AppStage.h"
#include "support/TestMain.h"

#include <QDir>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

class AppStateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void propertiesNotifyOnRealChangesOnly();
    void machineIsAtWorkUnlessItStandsStill();
    void selectionOfAMissingMachineIsNone();
    void settingsShowTheSelectedMachineElseTheApplication();
    void failedCommandsLeaveTheLatestText();
    void consoleIsAskedForOnlyOnceInstallationBegan();
    void guestThatEndedByItselfIsSeen();
    void stateMayGoWhileACommandWaits();
};

void AppStateTest::propertiesNotifyOnRealChangesOnly()
{
    AppStage stage;
    AppState &state = *stage.state;
    const QSignalSpy list(&state, &AppState::filteredVirtualMachinesChanged);
    const QSignalSpy selection(&state, &AppState::selectedVMChanged);
    const QSignalSpy error(&state, &AppState::errorMessageChanged);

    state.setSelectedSection(SidebarSection::running);
    VirtualMachine *vm = stage.add(u"a"_s);
    QCOMPARE(list.count(), 0); // both sections list nothing, and a new machine does not run
    state.select(vm);
    state.setSelectedVMID(vm->id());
    QCOMPARE(selection.count(), 1);
    stage.setState(vm, VMState::running);
    stage.setState(vm, VMState::paused);
    QCOMPARE(list.count(), 1);

    state.setErrorMessage(u"x"_s);
    state.setErrorMessage(u"x"_s);
    state.setErrorMessage({});
    QCOMPARE(error.count(), 2);
}

void AppStateTest::machineIsAtWorkUnlessItStandsStill()
{
    AppStage stage;
    VirtualMachine *first = stage.add(u"first"_s);
    VirtualMachine *second = stage.add(u"second"_s);
    const QSignalSpy atWork(stage.state.get(), &AppState::machineAtWorkChanged);
    for (const VMState state : {VMState::starting, VMState::running, VMState::stopping})
        stage.setState(first, state);
    stage.setState(second, VMState::running);
    stage.setState(first, VMState::error);
    QCOMPARE(atWork.count(), 1);
    QVERIFY(stage.state->isMachineAtWork());
    stage.setState(second, VMState::paused);
    QCOMPARE(atWork.count(), 2);
    QVERIFY(!stage.state->isMachineAtWork());
    QVERIFY(stage.state->quitNotice().contains(u"“second”"_s)); // it outlives the application all the same
    stage.setState(first, VMState::running);
    QVERIFY(stage.state->quitNotice().contains(u"2 virtual machines"_s));
    stage.setState(second, VMState::poweredOff);
    QDir(FileUrl::path(first->configuration().storageDirectory)).removeRecursively();
    stage.state->load();
    QVERIFY(!stage.state->isMachineAtWork());
    QCOMPARE(stage.state->quitNotice(), QString());
}

void AppStateTest::selectionOfAMissingMachineIsNone()
{
    AppStage stage;
    stage.state->setSelectedVMID(QUuid::createUuid());
    QCOMPARE(stage.state->selectedVM(), nullptr);
    stage.state->performOnSelectedVM(VMCommand::Start);
    QVERIFY(stage.state->errorMessage().isEmpty());

    VirtualMachine *vm = stage.add(u"a"_s);
    stage.state->select(vm);
    const QSignalSpy selection(stage.state.get(), &AppState::selectedVMChanged);
    stage.state->load();
    QCOMPARE(selection.count(), 1); // the same machine, another object
    QVERIFY(stage.state->selectedVM() && stage.state->selectedVM() != vm);
    QDir(FileUrl::path(vm->configuration().storageDirectory)).removeRecursively();
    stage.state->load();
    QCOMPARE(selection.count(), 2);
    QCOMPARE(stage.state->selectedVM(), nullptr);
}

void AppStateTest::settingsShowTheSelectedMachineElseTheApplication()
{
    AppStage stage;
    VirtualMachine *vm = stage.add(u"a"_s);
    AppState &state = *stage.state;
    const QSignalSpy content(&state, &AppState::detailContentChanged);
    QCOMPARE(state.detailContent(), DetailContent::MachineList);
    state.setSelectedSection(SidebarSection::running);
    QCOMPARE(content.count(), 0);
    state.setSelectedSection(SidebarSection::settings);
    QCOMPARE(state.detailContent(), DetailContent::ApplicationSettings);
    state.showSettings(vm);
    QCOMPARE(state.selectedVM(), vm);
    QCOMPARE(state.detailContent(), DetailContent::MachineSettings);
    QCOMPARE(content.count(), 2);
}

void AppStateTest::failedCommandsLeaveTheLatestText()
{
    AppStage stage;
    VirtualMachine *vm = stage.add(u"a"_s);
    stage.state->select(vm);
    for (const auto &[command, call] : {std::pair(VMCommand::Pause, u"pause"_s),
                                        {VMCommand::Resume, u"resume"_s},
                                        {VMCommand::Stop, u"stop"_s},
                                        {VMCommand::Start, u"start"_s}}) {
        stage.controllerOf(vm)->failingCall = call;
        stage.state->performOnSelectedVM(command);
        QTRY_COMPARE(stage.state->errorMessage(), call + u" failed."_s);
    }
    QCOMPARE(vm->state(), VMState::error);
    stage.setState(vm, VMState::paused);
    stage.state->finishInstallation(vm);
    QVERIFY(stage.state->errorMessage().contains(u"Stop the virtual machine"_s));
}

void AppStateTest::consoleIsAskedForOnlyOnceInstallationBegan()
{
    AppStage stage;
    stage.host.write(u"image.iso"_s, "image");
    VirtualMachine *without = stage.add(u"without"_s);
    VirtualMachine *with = stage.add(u"with"_s, stage.host.path(u"image.iso"_s));
    const QSignalSpy requests(stage.state.get(), &AppState::consoleRequested);

    stage.state->installAndShowConsole(without);
    QTRY_COMPARE(stage.state->errorMessage(), u"Installation media could not be opened."_s);
    QCOMPARE(requests.count(), 0);

    stage.controllerOf(with)->holdsOperations = true;
    stage.state->installAndShowConsole(with);
    QTRY_COMPARE(with->state(), VMState::starting);
    QCOMPARE(requests.count(), 0);
    stage.controllerOf(with)->release();
    QTRY_COMPARE(requests.count(), 1);
    QCOMPARE(requests.first().first().toUuid(), with->id());

    stage.state->perform(without, VMCommand::Start);
    QTRY_COMPARE(without->state(), VMState::running);
    QCOMPARE(requests.count(), 1);
}

void AppStateTest::guestThatEndedByItselfIsSeen()
{
    AppStage stage;
    VirtualMachine *vm = stage.add(u"a"_s);
    stage.state->perform(vm, VMCommand::Start);
    QTRY_COMPARE(vm->state(), VMState::running);
    stage.controllerOf(vm)->currentState = VMState::poweredOff;
    QTRY_COMPARE(vm->state(), VMState::poweredOff);
}

void AppStateTest::stateMayGoWhileACommandWaits()
{
    AppStage stage;
    VirtualMachine *vm = stage.add(u"a"_s);
    stage.controllerOf(vm)->holdsOperations = true;
    stage.state->installAndShowConsole(vm);
    stage.state->perform(vm, VMCommand::Start);
    QTRY_COMPARE(vm->state(), VMState::starting);
    stage.state.reset();
    QTest::qWait(0);
}

KELVO_TEST_MAIN(AppStateTest)
#include "tst_appstate.moc"
