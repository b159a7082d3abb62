#include "App/State/AppStage.h"
#include "support/TestMain.h"

#include <QDir>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

class AppStateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void propertiesNotifyOnRealChangesOnly();
    void machineIsAtWorkUnlessItStandsStill();
    void selectionOfAMissingMachineIsNone();
    void failedCommandsLeaveTheLatestText();
    void consoleIsAskedForOnlyOnceInstallationBegan();
    void stateMayGoWhileACommandWaits();

private:
    std::unique_ptr<AppStage> m_stage;
    AppState *m_state = nullptr;
    VirtualMachine *m_vm = nullptr;
};

/// One machine that nobody has selected.
void AppStateTest::init()
{
    m_stage = std::make_unique<AppStage>();
    m_state = m_stage->state.get();
    m_vm = m_stage->add(u"a"_s);
}

void AppStateTest::propertiesNotifyOnRealChangesOnly()
{
    const QSignalSpy list(m_state, &AppState::filteredVirtualMachinesChanged);
    const QSignalSpy selection(m_state, &AppState::selectedVMChanged);
    const QSignalSpy error(m_state, &AppState::errorMessageChanged);

    m_state->setSelectedSection(SidebarSection::running);
    m_stage->add(u"b"_s);
    QCOMPARE(list.count(), 1); // a new machine does not run
    m_state->select(m_vm);
    m_state->setSelectedVMID(m_vm->id());
    QCOMPARE(selection.count(), 1);
    m_stage->setState(m_vm, VMState::running);
    m_stage->setState(m_vm, VMState::paused);
    QCOMPARE(list.count(), 2);

    m_state->setErrorMessage(u"x"_s);
    m_state->setErrorMessage(u"x"_s);
    m_state->setErrorMessage({});
    QCOMPARE(error.count(), 2);
}

void AppStateTest::machineIsAtWorkUnlessItStandsStill()
{
    VirtualMachine *second = m_stage->add(u"second"_s);
    const QSignalSpy atWork(m_state, &AppState::machineAtWorkChanged);
    for (const VMState state : {VMState::starting, VMState::running, VMState::stopping})
        m_stage->setState(m_vm, state);
    m_stage->setState(second, VMState::running);
    m_stage->setState(m_vm, VMState::error);
    QCOMPARE(atWork.count(), 1);
    QVERIFY(m_state->isMachineAtWork());
    m_stage->setState(second, VMState::paused);
    QCOMPARE(atWork.count(), 2);
    QVERIFY(!m_state->isMachineAtWork());
    QVERIFY(m_state->quitNotice().contains(u"“second”"_s)); // it outlives the application all the same
    m_stage->setState(m_vm, VMState::running);
    QVERIFY(m_state->quitNotice().endsWith(u": a, second."_s));
    m_stage->setState(second, VMState::poweredOff);
    QDir(FileUrl::path(m_vm->configuration().storageDirectory)).removeRecursively();
    m_state->load();
    QVERIFY(!m_state->isMachineAtWork());
    QCOMPARE(m_state->quitNotice(), QString());
}

void AppStateTest::selectionOfAMissingMachineIsNone()
{
    m_state->setSelectedVMID(QUuid::createUuid());
    QCOMPARE(m_state->selectedVM(), nullptr);
    m_state->performOnSelectedVM(VMCommand::Start);
    QVERIFY(m_state->errorMessage().isEmpty());

    m_state->select(m_vm);
    const QSignalSpy selection(m_state, &AppState::selectedVMChanged);
    m_state->load();
    QCOMPARE(selection.count(), 1); // the same machine, another object
    QVERIFY(m_state->selectedVM() && m_state->selectedVM() != m_vm);
    QDir(FileUrl::path(m_vm->configuration().storageDirectory)).removeRecursively();
    m_state->load();
    QCOMPARE(selection.count(), 2);
    QCOMPARE(m_state->selectedVM(), nullptr);
}

void AppStateTest::failedCommandsLeaveTheLatestText()
{
    m_state->select(m_vm);
    for (const auto &[command, call] : {std::pair(VMCommand::Pause, u"pause"_s),
                                        {VMCommand::Resume, u"resume"_s},
                                        {VMCommand::Stop, u"stop"_s},
                                        {VMCommand::Start, u"start"_s}}) {
        m_stage->controllerOf(m_vm)->failingCall = call;
        m_state->performOnSelectedVM(command);
        QTRY_COMPARE(m_state->errorMessage(), call + u" failed."_s);
    }
    QCOMPARE(m_vm->state(), VMState::error);
    m_stage->setState(m_vm, VMState::paused);
    m_state->finishInstallation(m_vm);
    QVERIFY(m_state->errorMessage().contains(u"Stop the virtual machine"_s));
}

void AppStateTest::consoleIsAskedForOnlyOnceInstallationBegan()
{
    m_stage->host.write(u"image.iso"_s, "image");
    VirtualMachine *with = m_stage->add(u"with"_s, m_stage->host.path(u"image.iso"_s));
    const QSignalSpy requests(m_state, &AppState::consoleRequested);

    m_state->installAndShowConsole(m_vm);
    QTRY_COMPARE(m_state->errorMessage(), u"Installation media could not be opened."_s);
    QCOMPARE(requests.count(), 0);

    m_stage->controllerOf(with)->holdsOperations = true;
    m_state->installAndShowConsole(with);
    QTRY_COMPARE(with->state(), VMState::starting);
    QCOMPARE(requests.count(), 0);
    m_stage->controllerOf(with)->release();
    QTRY_COMPARE(requests.count(), 1);
    QCOMPARE(requests.first().first().toUuid(), with->id());

    m_state->perform(m_vm, VMCommand::Start);
    QTRY_COMPARE(m_vm->state(), VMState::running);
    QCOMPARE(requests.count(), 1);
}

void AppStateTest::stateMayGoWhileACommandWaits()
{
    m_stage->controllerOf(m_vm)->holdsOperations = true;
    m_state->installAndShowConsole(m_vm);
    m_state->perform(m_vm, VMCommand::Start);
    QTRY_COMPARE(m_vm->state(), VMState::starting);
    m_stage->state.reset();
    QTest::qWait(0);
}

KELVO_TEST_MAIN(AppStateTest)
#include "tst_appstate.moc"
