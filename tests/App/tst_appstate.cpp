#include "App/AppStage.h"
#include "support/TestMain.h"

#include <QDir>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

class AppStateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sectionsAreNamedExactly_data();
    void sectionsAreNamedExactly();
    void propertiesNotifyOnRealChangesOnly();
    void runningSectionFollowsTheMachines();
    void machineIsAtWorkUnlessItStandsStill();
    void selectionOfAMissingMachineIsNone();
    void settingsShowTheSelectedMachineElseTheApplication();
    void failedCommandsLeaveTheLatestText();
    void consoleIsAskedForOnlyOnceInstallationBegan();
    void finishingARunningInstallationFails();
    void guestThatEndedByItselfIsSeen();
    void stateMayGoWhileACommandWaits();
};

void AppStateTest::sectionsAreNamedExactly_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isSection");
    QTest::newRow("machines") << u"Virtual Machines"_s << true;
    QTest::newRow("running") << u"Running"_s << true;
    QTest::newRow("downloads") << u"Downloads"_s << true;
    QTest::newRow("settings") << u"Settings"_s << true;
    QTest::newRow("other case") << u"settings"_s << false;
    QTest::newRow("case name") << u"virtualMachines"_s << false;
    QTest::newRow("empty") << QString() << false;
}

void AppStateTest::sectionsAreNamedExactly()
{
    QFETCH(const QString, text);
    QFETCH(const bool, isSection);
    const auto section = sidebarSectionFromRawValue(text);
    QCOMPARE(section.has_value(), isSection);
    if (section)
        QCOMPARE(rawValue(*section), text);
}

void AppStateTest::propertiesNotifyOnRealChangesOnly()
{
    AppStage stage;
    AppState &state = *stage.state;
    const QSignalSpy section(&state, &AppState::selectedSectionChanged);
    const QSignalSpy list(&state, &AppState::filteredVirtualMachinesChanged);
    const QSignalSpy selection(&state, &AppState::selectedVMChanged);
    const QSignalSpy error(&state, &AppState::errorMessageChanged);

    state.setSelectedSection(SidebarSection::virtualMachines);
    QCOMPARE(section.count(), 0);
    state.setSelectedSection(SidebarSection::running);
    state.setSelectedSection(SidebarSection::running);
    QCOMPARE(section.count(), 1);
    QCOMPARE(list.count(), 0); // both sections list nothing

    VirtualMachine *vm = stage.add(u"a"_s);
    QCOMPARE(list.count(), 0); // a new machine does not run
    state.select(vm);
    state.setSelectedVMID(vm->id());
    QCOMPARE(selection.count(), 1);
    stage.setState(vm, VMState::running);
    QCOMPARE(list.count(), 1);
    stage.setState(vm, VMState::paused);
    QCOMPARE(list.count(), 1);

    state.setErrorMessage(u"x"_s);
    state.setErrorMessage(u"x"_s);
    state.setErrorMessage({});
    QCOMPARE(error.count(), 2);
}

void AppStateTest::runningSectionFollowsTheMachines()
{
    AppStage stage;
    VirtualMachine *first = stage.add(u"first"_s);
    VirtualMachine *second = stage.add(u"second"_s);
    stage.state->setSelectedSection(SidebarSection::running);
    QVERIFY(stage.state->filteredVirtualMachines().isEmpty());
    stage.setState(second, VMState::running);
    stage.setState(first, VMState::paused);
    QCOMPARE(stage.state->filteredVirtualMachines(), QList({first, second}));
    for (const VMState state : {VMState::stopping, VMState::poweredOff, VMState::error, VMState::starting}) {
        stage.setState(second, state);
        QCOMPARE(stage.state->filteredVirtualMachines(), QList({first}));
    }
    stage.state->setSelectedSection(SidebarSection::downloads);
    QCOMPARE(stage.state->filteredVirtualMachines(), QList({first, second}));
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
    for (const auto &call : {u"pause"_s, u"resume"_s, u"stop"_s, u"start"_s}) {
        stage.controllerOf(vm)->failingCall = call;
        const QMap<QString, VMCommand> commands = {{u"pause"_s, VMCommand::Pause},
                                                   {u"resume"_s, VMCommand::Resume},
                                                   {u"stop"_s, VMCommand::Stop},
                                                   {u"start"_s, VMCommand::Start}};
        stage.state->performOnSelectedVM(commands.value(call));
        QTRY_COMPARE(stage.state->errorMessage(), call + u" failed."_s);
    }
    QCOMPARE(vm->state(), VMState::error);
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

void AppStateTest::finishingARunningInstallationFails()
{
    AppStage stage;
    VirtualMachine *vm = stage.add(u"a"_s, u"/x.iso"_s);
    stage.setState(vm, VMState::paused);
    stage.state->finishInstallation(vm);
    QCOMPARE(stage.state->errorMessage(), u"Virtual machine configuration is invalid. Stop the virtual "
                                          "machine before marking installation complete."_s);
    stage.setState(vm, VMState::poweredOff);
    stage.state->finishInstallation(vm);
    QCOMPARE(vm->installationState(), VMInstallationState::completed);
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
