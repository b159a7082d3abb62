#include "Models/VirtualMachine.h"
#include "support/Expectations.h"
#include "support/TestMain.h"

using namespace Qt::StringLiterals;

class VirtualMachineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusedMoveNamesBothStates();
    void onlyRealChangesNotify();
};

void VirtualMachineTest::refusedMoveNamesBothStates()
{
    VMStateMachine machine;
    QCOMPARE(errorTextOf([&] { machine.transition(VMState::running); }),
             u"Cannot Running while virtual machine is powered off."_s);
    machine.transition(VMState::poweredOff); // a repeated state is fine
    QCOMPARE(machine.state(), VMState::poweredOff);
}

void VirtualMachineTest::onlyRealChangesNotify()
{
    const auto configuration = [] {
        return VMConfiguration::defaultConfiguration(u"x"_s, GuestOperatingSystem::windows11ARM64);
    };
    VirtualMachine vm(configuration(), VMState::poweredOff, VMInstallationState::ready);
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
    vm.setConfiguration(configuration()); // of another identity
    QCOMPARE(changed.count(), 5);
    QCOMPARE(vm.id(), id);
}

KELVO_TEST_MAIN(VirtualMachineTest)
#include "tst_virtualmachine.moc"
