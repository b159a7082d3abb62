#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/DiskManager.h"
#include "Virtualization/VMManager.h"
#include "support/Expectations.h"
#include "support/FakeController.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

#include <QDir>
#include <QSignalSpy>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class VMManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void loadingListsBundlesWithTheirMetadata();
    void failedLoadKeepsTheList();
    void creationMakesDiskAndDocuments();
    void refusalsLeaveNoTrace();
    void diskImagesAreSparseAndNeverReplaced();
    void newMachinesGetPortsOfTheirOwn();
    void startRecordsTheBoot();
    void startWithAnImageNeedsAnInstalledGuest();
    void failedStepsLeaveTheirTexts();
    void busyMachineRefusesEverything();
    void startsNeverTouchALivingGuest();
    void guestsAreGivenTimeToShutDown();
    void workIsLostUnlessAnInstallerHasJustBegun();
    void installationTakesTheRightImage();
    void installationIsCompletedOnceAndOnlyWhenOff();
    void unsavedBootIsAnErrorOfARunningGuest();
    void managerMayGoWhileAnOperationWaits();
    void guestsOfOthersAreTakenUp();

private:
    [[nodiscard]] VMConfiguration make(const QString &name,
                                       const std::optional<QString> &media = std::nullopt) const;
    VirtualMachine *addMachine(const QString &name, const std::optional<QString> &media = std::nullopt)
    {
        return finish(m_manager->createVirtualMachine(make(name, media)));
    }
    [[nodiscard]] QCoro::Task<> start(VirtualMachine *vm) { return m_manager->start(vm); }
    [[nodiscard]] QCoro::Task<> install(VirtualMachine *vm) { return m_manager->beginInstallation(vm); }
    /// Of an application on this host.
    [[nodiscard]] std::unique_ptr<VMManager> makeManager(std::chrono::milliseconds shutDownTimeout = 30s);
    [[nodiscard]] FakeController *controllerOf(const VirtualMachine *vm)
    {
        return dynamic_cast<FakeController *>(&m_manager->controller(*vm));
    }
    [[nodiscard]] VMStorage storage() const { return m_host->collaborators({}).storage; }
    [[nodiscard]] VMPersistedMetadata storedMetadata(const VirtualMachine *vm) const
    {
        return storage().loadMetadata(vm->configuration().storageDirectory);
    }
    [[nodiscard]] static QString log() { return DiagnosticLogger::shared().formattedLog(); }

    std::unique_ptr<TemporaryHost> m_host;
    std::unique_ptr<VMManager> m_manager;
    int m_madeControllers = 0;
};

void VMManagerTest::init()
{
    m_madeControllers = 0;
    m_host = std::make_unique<TemporaryHost>();
    m_host->installTools();
    m_host->write(u"own.iso"_s, "x");
    m_host->write(u"other.iso"_s, "x");
    m_manager = makeManager();
}

void VMManagerTest::cleanup()
{
    m_manager.reset();
    m_host.reset();
}

VMConfiguration VMManagerTest::make(const QString &name, const std::optional<QString> &media) const
{
    auto configuration = VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::windows11ARM64);
    configuration.storageDirectory = FileUrl::appendingDirectory(m_host->root(), name + u".vm"_s);
    if (media)
        configuration.installationMediaPath = m_host->path(*media);
    return configuration;
}

std::unique_ptr<VMManager> VMManagerTest::makeManager(std::chrono::milliseconds shutDownTimeout)
{
    VMManager::Collaborators collaborators = m_host->collaborators([this](VMBackendType) {
        ++m_madeControllers;
        return std::make_unique<FakeController>();
    });
    collaborators.sharedFolder = m_host->path(u"shared"_s);
    collaborators.shutDownTimeout = shutDownTimeout;
    QDir().mkpath(collaborators.sharedFolder);
    return std::make_unique<VMManager>(collaborators);
}

void VMManagerTest::loadingListsBundlesWithTheirMetadata()
{
    VMPersistedMetadata metadata;
    metadata.installationState = VMInstallationState::inProgress;
    VMConfiguration onWrongBackend = make(u"a"_s);
    onWrongBackend.backend = VMBackendType::appleVirtualization;
    storage().save(onWrongBackend, metadata);
    const QByteArray document = m_host->read(u"Virtual Machines/a.vm/config.json"_s);
    m_host->write(u"Virtual Machines/a.vm/disk.img"_s, "12345");
    storage().save(make(u"B"_s), std::nullopt);
    m_host->write(u"Virtual Machines/B.vm/metadata.json"_s, "broken");

    const QSignalSpy changed(m_manager.get(), &VMManager::virtualMachinesChanged);
    finish(m_manager->loadVirtualMachines());
    QCOMPARE(changed.count(), 1);
    QCOMPARE(m_manager->virtualMachines().size(), 2);
    const VirtualMachine *first = m_manager->virtualMachines().first();
    QCOMPARE(first->name(), u"a"_s);
    QCOMPARE(first->state(), VMState::poweredOff);
    QCOMPARE(first->installationState(), VMInstallationState::inProgress);
    QVERIFY(first->actualDiskUsageBytes().value_or(0) > 0);
    QCOMPARE(first->configuration().backend, VMBackendType::qemuHVF); // in memory only
    QCOMPARE(m_host->read(u"Virtual Machines/a.vm/config.json"_s), document);
    const VirtualMachine *second = m_manager->virtualMachines().last();
    QCOMPARE(second->installationState(), VMInstallationState::notStarted);
    QVERIFY(!second->actualDiskUsageBytes());
}

void VMManagerTest::failedLoadKeepsTheList()
{
    addMachine(u"a"_s);
    QVERIFY(QDir().rename(m_host->path(u"Virtual Machines"_s), m_host->path(u"moved"_s)));
    m_host->write(u"Virtual Machines"_s, "a file in its place");
    finish(m_manager->loadVirtualMachines());
    QCOMPARE(m_manager->virtualMachines().size(), 1);
    QVERIFY(log().contains("Failed to load VMs: Could not create folder"_L1));
}

void VMManagerTest::creationMakesDiskAndDocuments()
{
    VMConfiguration configuration = make(u"a"_s, u"own.iso"_s);
    configuration.backend = VMBackendType::appleVirtualization;
    const VirtualMachine *vm = finish(m_manager->createVirtualMachine(configuration));
    QVERIFY(log().endsWith("VM created: a [QEMU (HVF)]"_L1));
    QCOMPARE(vm->configuration().backend, VMBackendType::qemuHVF);
    QCOMPARE(QDir(m_host->path(u"Virtual Machines/a.vm"_s))
                 .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList({u"config.json"_s, u"disk.img"_s, u"metadata.json"_s}));
    QCOMPARE(vm->installationState(), VMInstallationState::ready);
    QCOMPARE(storedMetadata(vm).installationState, VMInstallationState::ready);
    QCOMPARE(addMachine(u"b"_s)->installationState(), VMInstallationState::notStarted);
}

void VMManagerTest::refusalsLeaveNoTrace()
{
    const QString missing = u"QEMU dependencies are missing: "_s;
    QCOMPARE(errorTextOf([this] { addMachine(u" "_s); }), u"Virtual machine name cannot be empty."_s);
    m_host->removeTools();
    QVERIFY(errorTextOf([this] { addMachine(u"a"_s); }).startsWith(missing));
    QVERIFY(!QFile::exists(m_host->path(u"Virtual Machines"_s)));
    QVERIFY(m_manager->virtualMachines().isEmpty());

    m_host->installTools();
    VirtualMachine *vm = addMachine(u"a"_s, u"own.iso"_s);
    m_host->removeTools();
    QVERIFY(errorTextOf([&] { finish(m_manager->start(vm)); }).startsWith(missing));
    QVERIFY(errorTextOf([&] { finish(m_manager->beginInstallation(vm)); }).startsWith(missing));
    QCOMPARE(m_madeControllers, 0);
    QCOMPARE(vm->state(), VMState::poweredOff);
}

void VMManagerTest::diskImagesAreSparseAndNeverReplaced()
{
    const DiskManager disks;
    const QUrl url = FileUrl::file(m_host->path(u"a/b.vm/disk.img"_s));
    const quint64 size = (quint64(64) << 30) - 1;
    disks.createDisk(url, size);
    const DiskInfo info = disks.diskInfo(url, 42);
    QVERIFY(info.actualUsageBytes < 100'000);
    QCOMPARE(info.maximumSizeBytes, quint64(42));
    QCOMPARE(QFileInfo(FileUrl::path(url)).size(), qint64(size));
    QVERIFY(log().endsWith("Created virtual disk at disk.img (63 GB max)"_L1));
    m_host->write(u"a/b.vm/disk.img"_s, "data");
    disks.createDisk(url, size);
    QCOMPARE(m_host->read(u"a/b.vm/disk.img"_s), QByteArray("data"));

    const QUrl refused = FileUrl::file(m_host->path(u"disk.img"_s));
    QVERIFY(!errorTextOf([&] { disks.createDisk(refused, quint64(1) << 63); }).isNull());
    QCOMPARE(errorTextOf([&] { (void)disks.diskInfo(refused, 1); }), u"Virtual disk was not found."_s);
    const QUrl belowAFile = FileUrl::file(m_host->path(u"own.iso/disk.img"_s));
    QVERIFY(errorTextOf([&] { disks.createDisk(belowAFile, 1); }).contains("File exists"_L1));
}

void VMManagerTest::newMachinesGetPortsOfTheirOwn()
{
    QSet<qint64> ports;
    QSet<QUuid> ids;
    for (int number = 0; number < 101; ++number) {
        const VirtualMachine *vm = addMachine(u"#%1"_s.arg(number));
        ports.insert(vm->configuration().vncPort);
        ids.insert(vm->id());
        QCOMPARE(VMConfiguration::defaultVNCPort(vm->id()), vm->configuration().vncPort);
    }
    QCOMPARE(ports.size(), 100);
    QCOMPARE(ids.size(), 101);
}

void VMManagerTest::startRecordsTheBoot()
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
    controllerOf(vm)->change(VMState::poweredOff); // the guest has ended by itself
    QCOMPARE(vm->state(), VMState::poweredOff);
    QVERIFY(!vm->lastError());
    finish(m_manager->start(vm));
    controllerOf(vm)->change(VMState::error, u"It crashed."_s);
    QCOMPARE(vm->state(), VMState::error);
    QCOMPARE(vm->lastError(), u"It crashed."_s);
    finish(m_manager->start(vm));
    QVERIFY(!vm->lastError());
    // It ends while it is being paused, which fails then.
    FakeController *controller = controllerOf(vm);
    controller->holdsOperations = true;
    controller->failingCall = u"pause"_s;
    auto pause = m_manager->pause(vm);
    controller->change(VMState::poweredOff);
    QCOMPARE(vm->state(), VMState::running);
    controller->release();
    QVERIFY(!errorTextOf([&] { finish(std::move(pause)); }).isEmpty());
    QCOMPARE(vm->state(), VMState::poweredOff);
}

void VMManagerTest::startWithAnImageNeedsAnInstalledGuest()
{
    VirtualMachine *vm = addMachine(u"a"_s, u"own.iso"_s);
    const QUrl image = FileUrl::file(u"/y.iso"_s);
    QCOMPARE(errorTextOf([&] { finish(m_manager->start(vm, image)); }),
             u"Virtual machine configuration is invalid. Use Install to boot from installation media."_s);
    QCOMPARE(m_madeControllers, 0);
    QVERIFY(!vm->operationInProgress() && !vm->lastError());
    m_manager->completeInstallation(*vm);
    finish(m_manager->start(vm, image));
    QCOMPARE(controllerOf(vm)->calls.first(), u"configure normalBoot y.iso"_s);
}

void VMManagerTest::failedStepsLeaveTheirTexts()
{
    VirtualMachine *vm = addMachine(u"a"_s);
    FakeController *controller = controllerOf(vm);
    for (const auto &call : {u"configure"_s, u"start"_s, u"pause"_s, u"stop"_s}) {
        controller->failingCall = call;
        const QString text = errorTextOf([&] {
            finish(m_manager->start(vm));
            finish(m_manager->pause(vm));
            finish(m_manager->stop(vm));
        });
        QCOMPARE(text, call + u" failed."_s);
        const bool isPause = call == "pause"_L1; // which leaves all as it was
        QCOMPARE(vm->state(), isPause ? VMState::running : VMState::error);
        QCOMPARE(vm->lastError(), isPause ? std::nullopt : std::optional(text));
        QVERIFY(!vm->operationInProgress());
        controller->failingCall.clear();
        finish(m_manager->stop(vm));
        QCOMPARE(vm->state(), VMState::poweredOff);
    }
    finish(m_manager->start(vm));
    QVERIFY(!vm->lastError());
}

void VMManagerTest::busyMachineRefusesEverything()
{
    VirtualMachine *vm = addMachine(u"a"_s, u"own.iso"_s);
    VirtualMachine *other = addMachine(u"b"_s);
    controllerOf(vm)->holdsOperations = true;
    auto start = m_manager->start(vm);
    const QString refusal = u"Another virtualization operation is already in progress."_s;
    QCOMPARE(errorTextOf([&] { finish(m_manager->start(vm)); }), refusal);
    QCOMPARE(errorTextOf([&] { finish(m_manager->stop(vm)); }), refusal);
    QCOMPARE(errorTextOf([&] { finish(m_manager->pause(vm)); }), refusal);
    QCOMPARE(errorTextOf([&] { finish(m_manager->resume(vm)); }), refusal);
    QCOMPARE(errorTextOf([&] { finish(m_manager->beginInstallation(vm)); }), refusal);
    QCOMPARE(vm->state(), VMState::starting);
    QVERIFY(vm->operationInProgress());
    finish(m_manager->start(other)); // is not held up
    QCOMPARE(other->state(), VMState::running);

    controllerOf(vm)->release();
    finish(std::move(start));
    QCOMPARE(vm->state(), VMState::running);
    QVERIFY(!vm->operationInProgress());
    QCOMPARE(m_manager->activeVMID(), vm->id());
}

void VMManagerTest::startsNeverTouchALivingGuest()
{
    VirtualMachine *vm = addMachine(u"a"_s, u"own.iso"_s);
    finish(m_manager->beginInstallation(vm));
    FakeController *controller = controllerOf(vm);
    const QStringList calls = controller->calls;
    for (const VMState state : {VMState::paused, VMState::running, VMState::stopping}) {
        controller->currentState = state;
        const QString refusal =
            u"Cannot start while virtual machine is %1."_s.arg(displayName(state).toLower());
        vm->setState(VMState::error); // as after a step that failed while the guest went on
        QCOMPARE(errorTextOf([&] { finish(m_manager->beginInstallation(vm)); }), refusal);
        QCOMPARE(vm->state(), state);
        if (state == VMState::paused)
            continue; // and a start means to go on
        vm->setState(VMState::error);
        QCOMPARE(errorTextOf([&] { finish(m_manager->start(vm)); }), refusal);
        QCOMPARE(vm->state(), state);
        vm->setState(VMState::error);
        controller->change(state);
        QCOMPARE(vm->state(), state);
    }
    QCOMPARE(vm->installationState(), VMInstallationState::inProgress);
    QCOMPARE(controller->calls, calls);
    QVERIFY(!vm->operationInProgress() && !vm->lastError());

    controller->currentState = VMState::paused;
    finish(m_manager->start(vm));
    QCOMPARE(controller->calls, calls + QStringList(u"resume"_s));
    QCOMPARE(vm->state(), VMState::running);
    const QString document = u"Virtual Machines/a.vm/config.json"_s;
    const QByteArray kept = m_host->read(document);
    m_host->write(document, "broken");
    finish(m_manager->loadVirtualMachines());
    QCOMPARE(m_manager->virtualMachines(), QList({vm}));
    m_host->write(document, kept);
    finish(m_manager->stop(vm));
    finish(m_manager->start(vm));
    QCOMPARE(vm->state(), VMState::running);
}

void VMManagerTest::guestsAreGivenTimeToShutDown()
{
    m_manager = makeManager(10ms);
    VirtualMachine *vm = addMachine(u"a"_s);
    const QSignalSpy overdue(m_manager.get(), &VMManager::shutDownOverdue);
    const QSignalSpy standstills(m_manager.get(), &VMManager::guestStoodStill);
    QList<VMState> seen; // never running again before it is off
    bool wasShuttingDown = false;
    connect(vm, &VirtualMachine::changed, this, [&] {
        if (std::exchange(wasShuttingDown, vm->isShuttingDown()) != vm->isShuttingDown())
            seen.append(vm->state());
    });
    finish(m_manager->start(vm));
    for (const VMState end : {VMState::poweredOff, VMState::paused, VMState::running}) {
        seen.clear();
        finish(m_manager->requestShutDown(vm));
        QVERIFY(vm->isShuttingDown() && !vm->canShutDown() && vm->canStop());
        QCOMPARE(vm->state(), VMState::running);
        if (end == VMState::running)
            QTRY_VERIFY(!vm->isShuttingDown());
        else
            controllerOf(vm)->change(end);
        QCOMPARE(overdue.count(), end == VMState::running ? 1 : 0); // nobody waits for those who obeyed
        QCOMPARE(seen, QList<VMState>({VMState::running, end}));
        if (end == VMState::poweredOff)
            finish(m_manager->start(vm));
        else if (end == VMState::paused)
            finish(m_manager->resume(vm));
    }
    QVERIFY(vm->canShutDown());
    controllerOf(vm)->change(VMState::poweredOff);
    QCOMPARE(standstills.count(), 2);
    QVERIFY(standstills[0].value(2).toBool() && !standstills[1].value(2).toBool());
}

void VMManagerTest::workIsLostUnlessAnInstallerHasJustBegun()
{
    VirtualMachine *vm = addMachine(u"a"_s, u"own.iso"_s);
    QVERIFY(!m_manager->mayLoseWork(*vm));
    finish(m_manager->beginInstallation(vm));
    QVERIFY(!m_manager->mayLoseWork(*vm));
    VMPersistedMetadata metadata = storedMetadata(vm);
    metadata.lastBootedAt = metadata.lastBootedAt->addSecs(-61);
    storage().saveMetadata(metadata, vm->configuration());
    m_host->write(u"Virtual Machines/a.vm/qmp.sock"_s, "");

    m_manager = makeManager(); // an hour later, say
    finish(m_manager->loadVirtualMachines());
    vm = m_manager->virtualMachines().constFirst();
    controllerOf(vm)->guest.outcome = GuestTakeUp::Outcome::takenUp;
    m_manager->lookForGuests();
    QTRY_COMPARE(vm->state(), VMState::running);
    QVERIFY(m_manager->mayLoseWork(*vm));
    finish(m_manager->pause(vm));
    QVERIFY(m_manager->mayLoseWork(*vm));
    finish(m_manager->stop(vm));
    m_manager->completeInstallation(*vm);
    finish(m_manager->start(vm));
    QVERIFY(m_manager->mayLoseWork(*vm));
}

void VMManagerTest::installationTakesTheRightImage()
{
    const std::optional own = u"own.iso"_s;
    for (const auto &[configured, given, taken] : {std::tuple(own, QString(), *own),
                                                   {own, u"other.iso"_s, u"other.iso"_s},
                                                   {own, u"missing.iso"_s, QString()},
                                                   {std::nullopt, QString(), QString()}}) {
        VirtualMachine *vm = addMachine(u'#' + given + taken, configured);
        const auto image = given.isEmpty() ? std::nullopt : std::optional(FileUrl::file(m_host->path(given)));
        const VMInstallationState before = vm->installationState();
        const QString text = errorTextOf([&] { finish(m_manager->beginInstallation(vm, image)); });
        QVERIFY(!vm->operationInProgress());
        if (taken.isEmpty()) {
            QCOMPARE(text, u"Installation media could not be opened."_s);
            QCOMPARE(vm->installationState(), before);
            QCOMPARE(vm->state(), VMState::poweredOff);
        } else {
            QCOMPARE(text, QString());
            QCOMPARE(controllerOf(vm)->calls.first(), u"configure installation "_s + taken);
            QCOMPARE(vm->installationState(), VMInstallationState::inProgress);
            QCOMPARE(storedMetadata(vm).installationState, VMInstallationState::inProgress);
            QVERIFY(storedMetadata(vm).lastBootedAt);
        }
    }
}

void VMManagerTest::installationIsCompletedOnceAndOnlyWhenOff()
{
    VirtualMachine *vm = addMachine(u"a"_s, u"own.iso"_s);
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

void VMManagerTest::unsavedBootIsAnErrorOfARunningGuest()
{
    VirtualMachine *vm = addMachine(u"a"_s, u"own.iso"_s);
    const QDir bundle(m_host->path(u"Virtual Machines/a.vm"_s));
    QVERIFY(QFile::remove(bundle.filePath(u"metadata.json"_s)) && bundle.mkdir(u"metadata.json"_s));
    for (const auto boot : {&VMManagerTest::start, &VMManagerTest::install}) {
        const QString text = errorTextOf([&] { finish((this->*boot)(vm)); });
        QVERIFY(text.contains("metadata.json"_L1));
        QCOMPARE(vm->state(), VMState::running);
        QCOMPARE(vm->lastError(), text);
        QCOMPARE(m_manager->activeVMID(), vm->id());
        QVERIFY(vm->canStop());
        finish(m_manager->stop(vm));
        QCOMPARE(vm->state(), VMState::poweredOff);
    }
    QCOMPARE(vm->installationState(), VMInstallationState::inProgress);
}

void VMManagerTest::managerMayGoWhileAnOperationWaits()
{
    for (const auto boot : {&VMManagerTest::start, &VMManagerTest::install}) {
        VirtualMachine *vm = addMachine(QString::number(m_madeControllers), u"own.iso"_s);
        controllerOf(vm)->holdsOperations = true;
        QCoro::Task<> booted = (this->*boot)(vm);
        m_manager.reset();
        QCOMPARE(errorTextOf([&] { finish(std::move(booted)); }), u"The controller is gone."_s);
        m_manager = makeManager();
    }
}

void VMManagerTest::guestsOfOthersAreTakenUp()
{
    VirtualMachine *vm = addMachine(u"a"_s);
    (void)addMachine(u"without a guest"_s);
    FakeController *controller = controllerOf(vm);
    const auto setFound = [&](GuestTakeUp::Outcome outcome, const QString &reason) {
        controller->guest = {outcome, reason};
        controller->change(VMState::poweredOff);
        controller->calls.clear();
    };
    m_host->write(u"Virtual Machines/a.vm/qmp.sock"_s, "");
    setFound(GuestTakeUp::Outcome::undecided, {}); // it is just being started
    m_manager->lookForGuests();
    QCOMPARE(controller->calls, QStringList(u"take up a"_s));
    QCOMPARE(vm->state(), VMState::poweredOff);
    setFound(GuestTakeUp::Outcome::takenUp, u"The disk is full."_s);
    QTRY_COMPARE(vm->state(), VMState::running);
    QCOMPARE(vm->lastError(), u"The disk is full."_s);
    QCOMPARE(m_manager->activeVMID(), std::optional(vm->id()));
    QCOMPARE(m_madeControllers, 1);
    finish(m_manager->pause(vm));
    finish(m_manager->resume(vm));
    QCOMPARE(vm->lastError(), std::nullopt);

    // Start means it, too, and does not begin another one.
    setFound(GuestTakeUp::Outcome::takenUp, {});
    finish(start(vm));
    QCOMPARE(vm->state(), VMState::running);
    setFound(GuestTakeUp::Outcome::takenUp, {});
    QCOMPARE(errorTextOf([&] { finish(install(vm)); }), u"Cannot start while virtual machine is running."_s);
    QCOMPARE(controller->calls, QStringList(u"take up a"_s));

    // Another application starts it.
    setFound(GuestTakeUp::Outcome::takenUp, {});
    GuestWatch(m_host->path(u"shared"_s)).announceStart();
    QTRY_COMPARE(vm->state(), VMState::running);

    // It was killed meanwhile.
    setFound(GuestTakeUp::Outcome::noGuest, u"The emulator ended unexpectedly."_s);
    m_manager->lookForGuests();
    QCOMPARE(vm->state(), VMState::poweredOff);
    QCOMPARE(vm->lastError(), u"The emulator ended unexpectedly."_s);
}

KELVO_TEST_MAIN(VMManagerTest)
#include "tst_vmmanager.moc"
