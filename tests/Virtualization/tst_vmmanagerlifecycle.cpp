#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/VMManager.h"
#include "support/Expectations.h"
#include "support/FakeController.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

#include <QDir>

using namespace Qt::StringLiterals;

class VMManagerLifecycleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void startRecordsTheBoot();
    void startWithAnImageNeedsAnInstalledGuest();
    void failedBackendStepLeavesErrorAndText_data();
    void failedBackendStepLeavesErrorAndText();
    void failedPauseChangesNothing();
    void busyMachineRefusesEverything();
    void startsNeverTouchALivingGuest_data();
    void startsNeverTouchALivingGuest();
    void otherMachinesAreNotHeldUp();
    void stopForgetsOnlyItsOwnActivity();
    void installationTakesTheRightImage_data();
    void installationTakesTheRightImage();
    void failedInstallationCanBeRepeated();
    void installationIsCompletedOnceAndOnlyWhenOff();
    void missingToolsRefuseWithoutAController();
    void unsavedBootIsAnErrorOfARunningGuest();
    void endedGuestIsSeenWhenReadNext();
    void managerMayGoWhileAnOperationWaits();

private:
    VirtualMachine *addMachine(const QString &name, const std::optional<QString> &media = std::nullopt);
    [[nodiscard]] FakeController *controllerOf(const VirtualMachine *vm)
    {
        return dynamic_cast<FakeController *>(&m_manager->controller(*vm));
    }
    [[nodiscard]] VMPersistedMetadata storedMetadata(const VirtualMachine *vm) const
    {
        return m_host->collaborators({}).storage.loadMetadata(vm->configuration().storageDirectory);
    }

    std::unique_ptr<TemporaryHost> m_host;
    std::unique_ptr<VMManager> m_manager;
    int m_madeControllers = 0;
};

void VMManagerLifecycleTest::init()
{
    m_madeControllers = 0;
    m_host = std::make_unique<TemporaryHost>();
    m_host->installTools();
    m_manager = std::make_unique<VMManager>(m_host->collaborators([this](VMBackendType) {
        ++m_madeControllers;
        return std::make_unique<FakeController>();
    }));
}

void VMManagerLifecycleTest::cleanup()
{
    m_manager.reset();
    m_host.reset();
}

VirtualMachine *VMManagerLifecycleTest::addMachine(const QString &name, const std::optional<QString> &media)
{
    auto configuration = VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::windows11ARM64);
    configuration.storageDirectory = FileUrl::appendingDirectory(m_host->root(), name + u".vm"_s);
    configuration.installationMediaPath = media;
    return finish(m_manager->createVirtualMachine(configuration));
}

void VMManagerLifecycleTest::startRecordsTheBoot()
{
    VirtualMachine *vm = addMachine(u"a"_s);
    vm->setLastError(u"old"_s);
    const QDateTime before = QDateTime::currentDateTimeUtc();
    finish(m_manager->start(vm));
    QCOMPARE(controllerOf(vm)->calls, QStringList({u"configure normalBoot -"_s, u"start"_s}));
    QCOMPARE(vm->state(), VMState::running);
    QVERIFY(!vm->lastError() && !vm->operationInProgress());
    QCOMPARE(m_manager->activeVMID(), vm->id());
    QCOMPARE(m_manager->activeController(), controllerOf(vm));
    const auto booted = storedMetadata(vm).lastBootedAt;
    QVERIFY(booted && *booted > before.addSecs(-1) && *booted <= QDateTime::currentDateTimeUtc());
    finish(m_manager->pause(vm));
    QCOMPARE(vm->state(), VMState::paused);
    finish(m_manager->resume(vm));
    QCOMPARE(vm->state(), VMState::running);
}

void VMManagerLifecycleTest::startWithAnImageNeedsAnInstalledGuest()
{
    VirtualMachine *vm = addMachine(u"a"_s, u"/x.iso"_s);
    const QUrl image = FileUrl::file(u"/y.iso"_s);
    QCOMPARE(errorTextOf([&] { finish(m_manager->start(vm, image)); }),
             u"Virtual machine configuration is invalid. Use Install to boot from installation media."_s);
    QCOMPARE(m_madeControllers, 0);
    QVERIFY(!vm->operationInProgress() && !vm->lastError());

    m_manager->completeInstallation(*vm);
    finish(m_manager->start(vm, image));
    QCOMPARE(controllerOf(vm)->calls.first(), u"configure normalBoot y.iso"_s);
}

void VMManagerLifecycleTest::failedBackendStepLeavesErrorAndText_data()
{
    QTest::addColumn<QString>("call");
    QTest::newRow("configure") << u"configure"_s;
    QTest::newRow("start") << u"start"_s;
    QTest::newRow("stop") << u"stop"_s;
}

void VMManagerLifecycleTest::failedBackendStepLeavesErrorAndText()
{
    QFETCH(const QString, call);
    VirtualMachine *vm = addMachine(u"a"_s);
    controllerOf(vm)->failingCall = call;
    const QString text = errorTextOf([&] {
        finish(m_manager->start(vm));
        finish(m_manager->stop(vm));
    });
    QCOMPARE(text, call + u" failed."_s);
    QCOMPARE(vm->state(), VMState::error);
    QCOMPARE(vm->lastError(), text);
    QVERIFY(!vm->operationInProgress());

    controllerOf(vm)->failingCall.clear();
    finish(m_manager->start(vm));
    QCOMPARE(vm->state(), VMState::running);
    QVERIFY(!vm->lastError());
}

void VMManagerLifecycleTest::failedPauseChangesNothing()
{
    VirtualMachine *vm = addMachine(u"a"_s);
    finish(m_manager->start(vm));
    controllerOf(vm)->failingCall = u"pause"_s;
    QCOMPARE(errorTextOf([&] { finish(m_manager->pause(vm)); }), u"pause failed."_s);
    QCOMPARE(vm->state(), VMState::running);
    QVERIFY(!vm->lastError() && !vm->operationInProgress());
}

void VMManagerLifecycleTest::busyMachineRefusesEverything()
{
    VirtualMachine *vm = addMachine(u"a"_s, u"/x.iso"_s);
    FakeController *controller = controllerOf(vm);
    controller->holdsOperations = true;
    auto start = m_manager->start(vm);
    QCOMPARE(vm->state(), VMState::starting);
    QVERIFY(vm->operationInProgress());

    const QString refusal = u"Another virtualization operation is already in progress."_s;
    QCOMPARE(errorTextOf([&] { finish(m_manager->start(vm)); }), refusal);
    QCOMPARE(errorTextOf([&] { finish(m_manager->stop(vm)); }), refusal);
    QCOMPARE(errorTextOf([&] { finish(m_manager->pause(vm)); }), refusal);
    QCOMPARE(errorTextOf([&] { finish(m_manager->resume(vm)); }), refusal);
    QCOMPARE(errorTextOf([&] { finish(m_manager->beginInstallation(vm)); }), refusal);
    QCOMPARE(vm->state(), VMState::starting);
    QVERIFY(vm->operationInProgress());

    controller->release();
    finish(std::move(start));
    QCOMPARE(vm->state(), VMState::running);
    QVERIFY(!vm->operationInProgress());
}

void VMManagerLifecycleTest::startsNeverTouchALivingGuest_data()
{
    QTest::addColumn<VMState>("state");
    QTest::newRow("paused") << VMState::paused;
    QTest::newRow("running") << VMState::running;
    QTest::newRow("ending") << VMState::stopping;
}

void VMManagerLifecycleTest::startsNeverTouchALivingGuest()
{
    QFETCH(const VMState, state);
    m_host->write(u"own.iso"_s, "x");
    VirtualMachine *vm = addMachine(u"a"_s, m_host->path(u"own.iso"_s));
    finish(m_manager->beginInstallation(vm));
    FakeController *controller = controllerOf(vm);
    controller->currentState = state;
    const QStringList calls = controller->calls;
    const QString refusal = u"Cannot start while virtual machine is %1."_s.arg(displayName(state).toLower());

    vm->setState(VMState::error); // as after a step that failed while the guest went on
    QCOMPARE(errorTextOf([&] { finish(m_manager->start(vm)); }), refusal);
    QCOMPARE(vm->state(), state);
    vm->setState(VMState::error);
    QCOMPARE(errorTextOf([&] { finish(m_manager->beginInstallation(vm)); }), refusal);
    QCOMPARE(vm->state(), state);
    QCOMPARE(vm->installationState(), VMInstallationState::inProgress);
    QCOMPARE(controller->calls, calls);
    QVERIFY(!vm->operationInProgress() && !vm->lastError());

    finish(m_manager->stop(vm));
    QCOMPARE(vm->state(), VMState::poweredOff);
    finish(m_manager->start(vm));
    QCOMPARE(vm->state(), VMState::running);
}

void VMManagerLifecycleTest::otherMachinesAreNotHeldUp()
{
    VirtualMachine *slow = addMachine(u"slow"_s);
    VirtualMachine *quick = addMachine(u"quick"_s);
    controllerOf(slow)->holdsOperations = true;
    auto start = m_manager->start(slow);
    finish(m_manager->start(quick));
    QCOMPARE(quick->state(), VMState::running);
    QCOMPARE(slow->state(), VMState::starting);
    controllerOf(slow)->release();
    finish(std::move(start));
    QCOMPARE(m_manager->activeVMID(), slow->id());
}

void VMManagerLifecycleTest::stopForgetsOnlyItsOwnActivity()
{
    VirtualMachine *first = addMachine(u"first"_s);
    VirtualMachine *second = addMachine(u"second"_s);
    finish(m_manager->start(first));
    finish(m_manager->start(second));
    QSignalSpy changed(m_manager.get(), &VMManager::activeVMIDChanged);
    finish(m_manager->stop(first));
    QCOMPARE(m_manager->activeVMID(), second->id());
    QCOMPARE(changed.count(), 0);
    finish(m_manager->stop(second));
    QVERIFY(!m_manager->activeVMID() && m_manager->activeController() == nullptr);
    QCOMPARE(changed.count(), 1);
}

void VMManagerLifecycleTest::installationTakesTheRightImage_data()
{
    QTest::addColumn<bool>("hasOwn");
    QTest::addColumn<QString>("overrideName");
    QTest::addColumn<QString>("taken"); // empty: refused
    QTest::newRow("own") << true << QString() << u"own.iso"_s;
    QTest::newRow("override") << true << u"other.iso"_s << u"other.iso"_s;
    QTest::newRow("override without own") << false << u"other.iso"_s << u"other.iso"_s;
    QTest::newRow("missing override although own exists") << true << u"missing.iso"_s << QString();
    QTest::newRow("none at all") << false << QString() << QString();
}

void VMManagerLifecycleTest::installationTakesTheRightImage()
{
    QFETCH(const bool, hasOwn);
    QFETCH(const QString, overrideName);
    QFETCH(const QString, taken);
    m_host->write(u"own.iso"_s, "x");
    m_host->write(u"other.iso"_s, "x");
    VirtualMachine *vm =
        addMachine(u"a"_s, hasOwn ? std::optional(m_host->path(u"own.iso"_s)) : std::nullopt);
    std::optional<QUrl> image;
    if (!overrideName.isEmpty())
        image = FileUrl::file(m_host->path(overrideName));

    const VMInstallationState before = vm->installationState();
    const QString text = errorTextOf([&] { finish(m_manager->beginInstallation(vm, image)); });
    QVERIFY(!vm->operationInProgress());
    if (taken.isEmpty()) {
        QCOMPARE(text, u"Installation media could not be opened."_s);
        QCOMPARE(vm->installationState(), before);
        QCOMPARE(vm->state(), VMState::poweredOff);
        QVERIFY(!vm->lastError());
        return;
    }
    QVERIFY(text.isNull());
    QCOMPARE(controllerOf(vm)->calls.first(), u"configure installation "_s + taken);
    QCOMPARE(vm->installationState(), VMInstallationState::inProgress);
    QCOMPARE(storedMetadata(vm).installationState, VMInstallationState::inProgress);
    QVERIFY(storedMetadata(vm).lastBootedAt);
    QVERIFY(DiagnosticLogger::shared().formattedLog().endsWith("Started installation for a"_L1));
}

void VMManagerLifecycleTest::failedInstallationCanBeRepeated()
{
    m_host->write(u"own.iso"_s, "x");
    VirtualMachine *vm = addMachine(u"a"_s, m_host->path(u"own.iso"_s));
    controllerOf(vm)->failingCall = u"start"_s;
    QCOMPARE(errorTextOf([&] { finish(m_manager->beginInstallation(vm)); }), u"start failed."_s);
    QCOMPARE(vm->state(), VMState::error);
    QCOMPARE(vm->installationState(), VMInstallationState::ready);
    QCOMPARE(vm->lastError(), u"start failed."_s);
    QVERIFY(vm->canInstall());
    controllerOf(vm)->failingCall.clear();
    finish(m_manager->beginInstallation(vm));
    QCOMPARE(vm->state(), VMState::running);
}

void VMManagerLifecycleTest::installationIsCompletedOnceAndOnlyWhenOff()
{
    VirtualMachine *vm = addMachine(u"a"_s, u"/x.iso"_s);
    finish(m_manager->start(vm));
    QCOMPARE(
        errorTextOf([&] { m_manager->completeInstallation(*vm); }),
        u"Virtual machine configuration is invalid. Stop the virtual machine before marking installation "
        "complete."_s);
    finish(m_manager->stop(vm));
    m_manager->completeInstallation(*vm);
    QCOMPARE(vm->installationState(), VMInstallationState::completed);
    QCOMPARE(storedMetadata(vm).installationState, VMInstallationState::completed);
    QVERIFY(storedMetadata(vm).installationCompletedAt && storedMetadata(vm).lastBootedAt);
    QCOMPARE(errorTextOf([&] { finish(m_manager->beginInstallation(vm)); }),
             u"Virtual machine configuration is invalid. This virtual machine is already installed."_s);
}

void VMManagerLifecycleTest::missingToolsRefuseWithoutAController()
{
    VirtualMachine *vm = addMachine(u"a"_s, u"/x.iso"_s);
    m_host->removeTools();
    QVERIFY(
        errorTextOf([&] { finish(m_manager->start(vm)); }).startsWith("QEMU dependencies are missing: "_L1));
    QVERIFY(errorTextOf([&] { finish(m_manager->beginInstallation(vm)); }).contains("swtpm"_L1));
    QCOMPARE(m_madeControllers, 0);
    QCOMPARE(vm->state(), VMState::poweredOff);
}

void VMManagerLifecycleTest::unsavedBootIsAnErrorOfARunningGuest()
{
    VirtualMachine *vm = addMachine(u"a"_s);
    QVERIFY(QDir(m_host->path(u"Virtual Machines/a.vm"_s)).removeRecursively());
    const QString text = errorTextOf([&] { finish(m_manager->start(vm)); });
    QVERIFY(text.contains("metadata.json"_L1));
    QCOMPARE(vm->state(), VMState::error);
    QCOMPARE(vm->lastError(), text);
    QCOMPARE(m_manager->activeVMID(), vm->id());
    QCOMPARE(controllerOf(vm)->state(), VMState::running);
}

void VMManagerLifecycleTest::endedGuestIsSeenWhenReadNext()
{
    VirtualMachine *vm = addMachine(u"a"_s);
    finish(m_manager->start(vm));
    controllerOf(vm)->currentState = VMState::poweredOff;
    QCOMPARE(vm->state(), VMState::running);
    m_manager->refreshStates();
    QCOMPARE(vm->state(), VMState::poweredOff);
    vm->setState(VMState::error);
    m_manager->refreshStates();
    QCOMPARE(vm->state(), VMState::error);
}

void VMManagerLifecycleTest::managerMayGoWhileAnOperationWaits()
{
    VirtualMachine *vm = addMachine(u"a"_s);
    controllerOf(vm)->holdsOperations = true;
    QCoro::Task<> start = m_manager->start(vm);
    m_manager.reset();
    QCOMPARE(errorTextOf([&] { finish(std::move(start)); }), u"The controller is gone."_s);
}

KELVO_TEST_MAIN(VMManagerLifecycleTest)
#include "tst_vmmanagerlifecycle.moc"
