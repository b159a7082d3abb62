#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/VMManager.h"
#include "support/Expectations.h"
#include "support/FakeController.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

class VMManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void loadingListsBundlesWithTheirMetadata();
    void windowsOnTheWrongBackendIsMovedInMemoryOnly();
    void failedLoadKeepsTheList();
    void reloadReplacesTheObjects();
    void creationMakesDiskAndDocuments();
    void refusedCreationWritesNothing_data();
    void refusedCreationWritesNothing();
    void newMachinesGetPortsOfTheirOwn();
    void controllersAreMadeOnce();
    void savingKeepsTheMetadata();
    void listsWhatAnotherApplicationMakes();
    void keepsWhatAnotherApplicationSaves();

private:
    [[nodiscard]] static VMConfiguration
    make(const TemporaryHost &host, const QString &name,
         GuestOperatingSystem guestOS = GuestOperatingSystem::windows11ARM64)
    {
        auto configuration = VMConfiguration::defaultConfiguration(name, guestOS);
        configuration.storageDirectory =
            FileUrl::appendingDirectory(host.root(), VMConfiguration::bundleFolderName(name));
        return configuration;
    }
    [[nodiscard]] static std::unique_ptr<VMBackendController> makeController(VMBackendType)
    {
        return std::make_unique<FakeController>();
    }
    [[nodiscard]] static QStringList filesOf(const TemporaryHost &host, const QString &folder)
    {
        return QDir(host.path(folder)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
};

void VMManagerTest::loadingListsBundlesWithTheirMetadata()
{
    TemporaryHost host;
    const auto collaborators = host.collaborators(makeController);
    VMPersistedMetadata metadata;
    metadata.installationState = VMInstallationState::inProgress;
    collaborators.storage.save(make(host, u"a"_s), metadata);
    host.write(u"Virtual Machines/a.vm/disk.img"_s, "12345");
    collaborators.storage.save(make(host, u"B"_s), std::nullopt);
    host.write(u"Virtual Machines/B.vm/metadata.json"_s, "broken");

    VMManager manager(collaborators);
    QSignalSpy changed(&manager, &VMManager::virtualMachinesChanged);
    finish(manager.loadVirtualMachines());
    QCOMPARE(changed.count(), 1);
    QCOMPARE(manager.virtualMachines().size(), 2);
    const VirtualMachine *first = manager.virtualMachines().first();
    QCOMPARE(first->name(), u"a"_s);
    QCOMPARE(first->state(), VMState::poweredOff);
    QCOMPARE(first->installationState(), VMInstallationState::inProgress);
    QVERIFY(first->actualDiskUsageBytes().value_or(0) > 0);
    const VirtualMachine *second = manager.virtualMachines().last();
    QCOMPARE(second->installationState(), VMInstallationState::notStarted);
    QVERIFY(!second->actualDiskUsageBytes());
    QVERIFY(DiagnosticLogger::shared().formattedLog().endsWith("Loaded 2 virtual machine(s)"_L1));
}

void VMManagerTest::windowsOnTheWrongBackendIsMovedInMemoryOnly()
{
    TemporaryHost host;
    const auto collaborators = host.collaborators(makeController);
    VMConfiguration configuration = make(host, u"w"_s);
    configuration.backend = VMBackendType::appleVirtualization;
    collaborators.storage.save(configuration, std::nullopt);
    const QByteArray document = host.read(u"Virtual Machines/w.vm/config.json"_s);

    VMManager manager(collaborators);
    finish(manager.loadVirtualMachines());
    QCOMPARE(manager.virtualMachines().first()->configuration().backend, VMBackendType::qemuHVF);
    QCOMPARE(host.read(u"Virtual Machines/w.vm/config.json"_s), document);
}

void VMManagerTest::failedLoadKeepsTheList()
{
    TemporaryHost host;
    host.installTools();
    VMManager manager(host.collaborators(makeController));
    (void)finish(manager.createVirtualMachine(make(host, u"a"_s)));
    QVERIFY(QDir().rename(host.path(u"Virtual Machines"_s), host.path(u"moved"_s)));
    host.write(u"Virtual Machines"_s, "a file in its place");
    finish(manager.loadVirtualMachines());
    QCOMPARE(manager.virtualMachines().size(), 1);
    QVERIFY(DiagnosticLogger::shared().formattedLog().contains("[ERROR]"_L1));
    QVERIFY(
        DiagnosticLogger::shared().formattedLog().contains("Failed to load VMs: Could not create folder"_L1));
}

void VMManagerTest::reloadReplacesTheObjects()
{
    TemporaryHost host;
    host.installTools();
    VMManager manager(host.collaborators(makeController));
    const QPointer<VirtualMachine> first = finish(manager.createVirtualMachine(make(host, u"a"_s)));
    const QUuid id = first->id();
    finish(manager.loadVirtualMachines());
    QVERIFY(manager.virtualMachine(id) != first.data());
    QTRY_VERIFY(!first);
    QVERIFY(manager.virtualMachine(id) != nullptr);
    QVERIFY(manager.virtualMachine(QUuid::createUuid()) == nullptr);
}

void VMManagerTest::creationMakesDiskAndDocuments()
{
    TemporaryHost host;
    host.installTools();
    VMManager manager(host.collaborators(makeController));
    VMConfiguration configuration = make(host, u"a"_s);
    configuration.backend = VMBackendType::appleVirtualization;
    configuration.installationMediaPath = u"/x.iso"_s;
    const VirtualMachine *vm = finish(manager.createVirtualMachine(configuration));
    QCOMPARE(vm->configuration().backend, VMBackendType::qemuHVF);
    QCOMPARE(vm->installationState(), VMInstallationState::ready);
    QCOMPARE(filesOf(host, u"Virtual Machines/a.vm"_s),
             QStringList({u"config.json"_s, u"disk.img"_s, u"metadata.json"_s}));
    const auto metadata =
        QJsonDocument::fromJson(host.read(u"Virtual Machines/a.vm/metadata.json"_s)).object();
    QCOMPARE(metadata["installationState"_L1].toString(), u"ready"_s);
    QVERIFY(DiagnosticLogger::shared().formattedLog().endsWith("VM created: a [QEMU (HVF)]"_L1));
    QCOMPARE(finish(manager.createVirtualMachine(make(host, u"b"_s)))->installationState(),
             VMInstallationState::notStarted);
}

void VMManagerTest::refusedCreationWritesNothing_data()
{
    QTest::addColumn<bool>("hasTools");
    QTest::addColumn<QString>("name");
    QTest::addColumn<GuestOperatingSystem>("guestOS");
    QTest::addColumn<QString>("text");
    QTest::newRow("empty name") << true << u" "_s << GuestOperatingSystem::windows11ARM64
                                << u"Virtual machine name cannot be empty."_s;
    QTest::newRow("no tools")
        << false << u"a"_s << GuestOperatingSystem::windows11ARM64
        << u"QEMU dependencies are missing: qemu-system-aarch64, swtpm, UEFI firmware "
           "(edk2-aarch64-code.fd), UEFI variables template (edk2-aarch64-vars.fd). Install "
           "them with Homebrew: brew install qemu swtpm"_s;
}

void VMManagerTest::refusedCreationWritesNothing()
{
    QFETCH(const bool, hasTools);
    QFETCH(const QString, name);
    QFETCH(const GuestOperatingSystem, guestOS);
    QFETCH(const QString, text);
    TemporaryHost host;
    if (hasTools)
        host.installTools();
    VMManager manager(host.collaborators(makeController));
    QCOMPARE(errorTextOf([&] { (void)finish(manager.createVirtualMachine(make(host, name, guestOS))); }),
             text);
    QVERIFY(!filesOf(host, QString()).contains("Virtual Machines"_L1));
    QVERIFY(manager.virtualMachines().isEmpty());
}

void VMManagerTest::newMachinesGetPortsOfTheirOwn()
{
    TemporaryHost host;
    host.installTools();
    VMManager manager(host.collaborators(makeController));
    QSet<qint64> ports;
    QSet<QUuid> ids;
    for (int number = 0; number < 101; ++number) {
        const VirtualMachine *vm = finish(manager.createVirtualMachine(make(host, u"#%1"_s.arg(number))));
        ports.insert(vm->configuration().vncPort);
        ids.insert(vm->id());
        QCOMPARE(VMConfiguration::defaultVNCPort(vm->id()), vm->configuration().vncPort);
    }
    QCOMPARE(ports.size(), 100);
    QCOMPARE(ids.size(), 101);
}

void VMManagerTest::controllersAreMadeOnce()
{
    TemporaryHost host;
    host.installTools();
    int made = 0;
    VMManager manager(host.collaborators([&made](VMBackendType) {
        ++made;
        return std::make_unique<FakeController>();
    }));
    VirtualMachine *vm = finish(manager.createVirtualMachine(make(host, u"a"_s)));
    const VMBackendController *first = &manager.controller(*vm);
    VMConfiguration changed = vm->configuration();
    changed.backend = VMBackendType::appleVirtualization;
    vm->setConfiguration(changed);
    QCOMPARE(&manager.controller(*vm), first);
    QCOMPARE(made, 1);
}

void VMManagerTest::savingKeepsTheMetadata()
{
    TemporaryHost host;
    host.installTools();
    VMManager manager(host.collaborators(makeController));
    VMConfiguration configuration = make(host, u"a"_s);
    configuration.installationMediaPath = u"/x.iso"_s;
    VirtualMachine *vm = finish(manager.createVirtualMachine(configuration));
    VMConfiguration renamed = vm->configuration();
    renamed.name = u"new name"_s;
    vm->setConfiguration(renamed);
    manager.saveConfiguration(*vm);
    QCOMPARE(vm->configuration(), renamed);
    const VMStorage &storage = host.collaborators(makeController).storage;
    QCOMPARE(storage.loadConfiguration(renamed.storageDirectory).name, u"new name"_s);
    QCOMPARE(storage.loadMetadata(renamed.storageDirectory).installationState, VMInstallationState::ready);
}

void VMManagerTest::listsWhatAnotherApplicationMakes()
{
    TemporaryHost host;
    host.installTools();
    VMManager ours(host.collaborators(makeController));
    VMManager theirs(host.collaborators(makeController));
    VirtualMachine *own = finish(ours.createVirtualMachine(make(host, u"own"_s)));
    finish(theirs.loadVirtualMachines());
    const QSignalSpy changed(&ours, &VMManager::virtualMachinesChanged);
    ours.listNewBundles();
    QCOMPARE(changed.count(), 0);

    QDir(host.path(u"Virtual Machines"_s)).mkdir(u"half.vm"_s); // its document comes later
    (void)finish(theirs.createVirtualMachine(make(host, u"b"_s)));
    (void)finish(theirs.createVirtualMachine(make(host, u"a"_s)));
    host.write(u"Virtual Machines/copy.vm/config.json"_s,
               host.read(u"Virtual Machines/own.vm/config.json"_s));
    ours.listNewBundles();
    QCOMPARE(changed.count(), 1);
    QStringList names;
    for (const VirtualMachine *vm : ours.virtualMachines())
        names.append(vm->name());
    QCOMPARE(names, QStringList({u"own"_s, u"a"_s, u"b"_s}));
    QCOMPARE(ours.virtualMachines().first(), own); // the objects stay

    const VMConfiguration late = make(host, u"half"_s);
    host.collaborators(makeController).storage.save(late, std::nullopt);
    ours.listNewBundles();
    QCOMPARE(ours.virtualMachines().size(), 4);
    QDir(host.path(u"Virtual Machines"_s)).removeRecursively();
    ours.listNewBundles();
    QCOMPARE(ours.virtualMachines().size(), 4);
    QVERIFY(!QFile::exists(host.path(u"Virtual Machines"_s)));
}

void VMManagerTest::keepsWhatAnotherApplicationSaves()
{
    TemporaryHost host;
    host.installTools();
    VMManager ours(host.collaborators(makeController));
    VMManager theirs(host.collaborators(makeController));
    VMConfiguration configuration = make(host, u"a"_s);
    configuration.installationMediaPath = host.path(u"x.iso"_s);
    host.write(u"x.iso"_s, "image");
    VirtualMachine *vm = finish(ours.createVirtualMachine(configuration));
    finish(theirs.loadVirtualMachines());
    VirtualMachine *same = theirs.virtualMachines().constFirst();
    const auto edit = [](VMManager &manager, VirtualMachine *machine, auto field, const auto &value) {
        VMConfiguration edited = machine->configuration();
        edited.*field = value;
        machine->setConfiguration(edited);
        return errorTextOf([&] { manager.saveConfiguration(*machine); });
    };

    QTest::qSleep(1001); // the time in a document is one of whole seconds
    // Whoever looks before an edit builds upon the other's.
    QCOMPARE(edit(ours, vm, &VMConfiguration::cpuCount, 2), QString());
    theirs.takeOverChanges(*same);
    QCOMPARE(edit(theirs, same, &VMConfiguration::memorySizeBytes, quint64(4) << 30), QString());
    ours.takeOverChanges(*vm);
    QCOMPARE(vm->configuration().cpuCount, 2);
    QCOMPARE(vm->configuration().memorySizeBytes, quint64(4) << 30);

    // Both look, then both edit: the second one is told.
    theirs.takeOverChanges(*same);
    QCOMPARE(edit(theirs, same, &VMConfiguration::name, u"theirs"_s), QString());
    QCOMPARE(
        edit(ours, vm, &VMConfiguration::name, u"ours"_s),
        u"Another application has changed “ours”. Nothing was saved; open the settings again to see what "
        "they are now."_s);
    const VMStorage storage = host.collaborators(makeController).storage;
    QCOMPARE(storage.loadConfiguration(configuration.storageDirectory).name, u"theirs"_s);
    ours.takeOverChanges(*vm);
    QCOMPARE(vm->name(), u"theirs"_s);
    QCOMPARE(edit(ours, vm, &VMConfiguration::name, u"ours"_s), QString());

    // A start goes by the newest documents, and does not undo what was recorded in them.
    theirs.completeInstallation(*same);
    finish(ours.start(vm));
    QCOMPARE(vm->installationState(), VMInstallationState::completed);
    QCOMPARE(storage.loadMetadata(configuration.storageDirectory).installationState,
             VMInstallationState::completed);
    QCOMPARE(edit(theirs, same, &VMConfiguration::cpuCount, 4),
             u"Another application has changed “theirs”. "
             "Nothing was saved; open the settings again to see what they are now."_s);
    theirs.takeOverChanges(*same);
    QCOMPARE(edit(theirs, same, &VMConfiguration::cpuCount, 4), QString());
    ours.takeOverChanges(*vm); // it runs: what it runs with stays
    QCOMPARE(vm->configuration().cpuCount, 2);
}

KELVO_TEST_MAIN(VMManagerTest)
#include "tst_vmmanager.moc"
