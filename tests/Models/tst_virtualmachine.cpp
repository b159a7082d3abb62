#include "Models/VirtualMachine.h"
#include "support/TestMain.h"

using namespace Qt::StringLiterals;

class VirtualMachineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void commandsFollowStateMediaAndBusyFlag();
    void onlyRealChangesNotify();
    void identityStaysWithTheObject();
};

static VMConfiguration configurationWith(const std::optional<QString> &media)
{
    auto configuration = VMConfiguration::defaultConfiguration(u"x"_s, GuestOperatingSystem::windows11ARM64);
    configuration.installationMediaPath = media;
    return configuration;
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
    QSignalSpy state(&vm, &VirtualMachine::stateChanged);
    QSignalSpy commands(&vm, &VirtualMachine::commandsChanged);
    QSignalSpy configuration(&vm, &VirtualMachine::configurationChanged);
    QSignalSpy lastError(&vm, &VirtualMachine::lastErrorChanged);
    vm.setState(VMState::poweredOff);
    vm.setConfiguration(vm.configuration());
    vm.setLastError(std::nullopt);
    QCOMPARE(state.count() + configuration.count() + lastError.count(), 0);

    vm.setState(VMState::starting);
    vm.setState(VMState::running);
    QCOMPARE(state.count(), 2);
    QCOMPARE(commands.count(), 2);
    vm.setState(VMState::suspended);
    vm.setState(VMState::error);
    QCOMPARE(commands.count(), 3);
    vm.setLastError(u"a"_s);
    vm.setLastError(u"a"_s);
    QCOMPARE(lastError.count(), 1);
    VMConfiguration renamed = vm.configuration();
    renamed.name = u"y"_s;
    vm.setConfiguration(renamed);
    QCOMPARE(configuration.count(), 1);
    QCOMPARE(vm.name(), u"y"_s);
}

void VirtualMachineTest::identityStaysWithTheObject()
{
    VirtualMachine vm(configurationWith(std::nullopt), VMState::poweredOff, VMInstallationState::ready);
    const QUuid id = vm.id();
    vm.setConfiguration(configurationWith(std::nullopt));
    QCOMPARE(vm.id(), id);
    QVERIFY(vm.configuration().id != id);
}

KELVO_TEST_MAIN(VirtualMachineTest)
#include "tst_virtualmachine.moc"
