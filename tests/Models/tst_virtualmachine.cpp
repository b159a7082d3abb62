#include "Models/VirtualMachine.h"
#include "support/Expectations.h"
#include "support/TestMain.h"

using namespace Qt::StringLiterals;

class VirtualMachineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusedMoveNamesBothStates();
    void commandsFollowStateMediaAndBusyFlag();
    void onlyRealChangesNotify();
};

static VMConfiguration configurationWith(const std::optional<QString> &media)
{
    auto configuration = VMConfiguration::defaultConfiguration(u"x"_s, GuestOperatingSystem::windows11ARM64);
    configuration.installationMediaPath = media;
    return configuration;
}

void VirtualMachineTest::refusedMoveNamesBothStates()
{
    VMStateMachine machine;
    QCOMPARE(errorTextOf([&] { machine.transition(VMState::running); }),
             u"Cannot Running while virtual machine is powered off."_s);
    machine.transition(VMState::poweredOff); // a repeated state is fine
    QCOMPARE(machine.state(), VMState::poweredOff);
}

void VirtualMachineTest::commandsFollowStateMediaAndBusyFlag()
{
    VirtualMachine vm(configurationWith(u"/x.iso"_s), VMState::poweredOff, VMInstallationState::ready);
    QVERIFY(vm.canInstall() && vm.canStart() && !vm.canStop());
    vm.setState(VMState::starting);
    QVERIFY(vm.canStop() && !vm.canInstall());
    vm.setState(VMState::paused);
    QVERIFY(vm.canStart() && vm.canResume() && vm.canStop() && !vm.canPause());
    vm.setOperationInProgress(true);
    QVERIFY(!vm.canStart() && !vm.canResume() && !vm.canStop() && !vm.canInstall() && vm.needsInstallation());
    vm.setOperationInProgress(false);
    vm.setState(VMState::poweredOff);
    vm.setInstallationState(VMInstallationState::completed);
    QVERIFY(vm.canStart() && !vm.needsInstallation() && !vm.canInstall());
    vm.setInstallationState(VMInstallationState::notStarted);
    vm.setConfiguration(configurationWith(std::nullopt));
    QVERIFY(!vm.hasInstallationMedia() && !vm.needsInstallation() && !vm.canInstall());
}

void VirtualMachineTest::onlyRealChangesNotify()
{
    VirtualMachine vm(configurationWith(std::nullopt), VMState::poweredOff, VMInstallationState::ready);
    const QSignalSpy state(&vm, &VirtualMachine::stateChanged);
    const QSignalSpy changed(&vm, &VirtualMachine::changed);
    vm.setState(VMState::poweredOff);
    vm.setConfiguration(vm.configuration());
    QCOMPARE(changed.count(), 0);

    vm.setState(VMState::starting);
    vm.setState(VMState::running);
    vm.setShuttingDown(true);
    QCOMPARE(state.count(), 2);
    QCOMPARE(changed.count(), 3);
    vm.setState(VMState::paused);
    QVERIFY(!vm.isShuttingDown());
    QCOMPARE(changed.count(), 4);

    const QUuid id = vm.id();
    vm.setConfiguration(configurationWith(std::nullopt)); // of another identity
    QCOMPARE(changed.count(), 5);
    QCOMPARE(vm.id(), id);
}

KELVO_TEST_MAIN(VirtualMachineTest)
#include "tst_virtualmachine.moc"
