#include "Models/VMConfigurationCoding.h"
#include "Platform/FileUrl.h"
#include "Virtualization/VMManager.h"
#include "support/Expectations.h"
#include "support/FakeController.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

#include <QDir>

#include <fcntl.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

/// Machines whose folders another hand makes, copies, moves, edits or replaces.
class BundleLibraryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void listsWhatAnotherApplicationMakes();
    void keepsWhatAnotherApplicationSaves();
    void makesAMachineOfACopy();
    void tellsTheOriginalFromItsCopy();
    void followsAMovedMachine();
    void followsMachinesThatChangePlaces();
    void leavesWhatIsNotTheMachinesAlone_data();
    void leavesWhatIsNotTheMachinesAlone();
    void savesAgainAfterHalfASave();
    void staysInTheFolderWhereItIsFound();

private:
    [[nodiscard]] VMConfiguration make(const QString &name, GuestOperatingSystem guest) const
    {
        auto configuration = VMConfiguration::defaultConfiguration(name, guest);
        configuration.storageDirectory = FileUrl::appendingDirectory(m_host->root(), name + u".vm"_s);
        configuration.cpuCount = guest == GuestOperatingSystem::windows11ARM64 ? 2 : 1;
        return configuration;
    }
    VirtualMachine *addMachine(const QString &name,
                               GuestOperatingSystem guest = GuestOperatingSystem::windows11ARM64)
    {
        return finish(m_manager->createVirtualMachine(make(name, guest)));
    }
    [[nodiscard]] std::unique_ptr<VMManager> makeManager()
    {
        return std::make_unique<VMManager>(
            m_host->collaborators([](VMBackendType) { return std::make_unique<FakeController>(); }));
    }
    [[nodiscard]] QString root() const { return FileUrl::path(m_host->root()); }
    [[nodiscard]] VMStorage storage() const { return m_host->collaborators({}).storage; }
    [[nodiscard]] VMPersistedMetadata storedMetadata(const VirtualMachine *vm) const
    {
        return storage().loadMetadata(vm->configuration().storageDirectory);
    }
    /// Copies the files of one bundle into another, with their holes.
    void copy(const QString &from, const QString &to) const
    {
        QVERIFY(QDir(root()).mkdir(to));
        for (const QString &name : QDir(root() + u'/' + from).entryList(QDir::Files))
            FileManager::defaultManager().copyItem(root() + u'/' + from + u'/' + name,
                                                   root() + u'/' + to + u'/' + name);
    }
    void move(const QString &from, const QString &to) const
    {
        QVERIFY(QDir(root()).rename(from, to));
        age();
    }
    /// The root changed last so long ago that nothing else can have come at the same time.
    void age() const
    {
        static time_t second = 1'000'000'000;
        const timespec times[] = {{.tv_sec = ++second, .tv_nsec = 0}, {.tv_sec = second, .tv_nsec = 0}};
        QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(root()).constData(), times, 0), 0);
    }
    [[nodiscard]] QString folderOf(const VirtualMachine *vm) const
    {
        return FileUrl::lastComponent(vm->configuration().storageDirectory);
    }
    [[nodiscard]] QStringList names() const
    {
        QStringList names;
        for (const VirtualMachine *vm : m_manager->virtualMachines())
            names.append(vm->name());
        return names;
    }

    std::unique_ptr<TemporaryHost> m_host;
    std::unique_ptr<VMManager> m_manager;
};

void BundleLibraryTest::init()
{
    m_host = std::make_unique<TemporaryHost>();
    m_host->installTools();
    m_manager = makeManager();
}

void BundleLibraryTest::cleanup()
{
    m_manager.reset();
    m_host.reset();
}

void BundleLibraryTest::listsWhatAnotherApplicationMakes()
{
    const auto theirs = makeManager();
    VirtualMachine *own = addMachine(u"own"_s);
    finish(theirs->loadVirtualMachines());
    const QSignalSpy changed(m_manager.get(), &VMManager::virtualMachinesChanged);
    m_manager->listNewBundles();
    QCOMPARE(changed.count(), 0);

    QDir(root()).mkdir(u"half.vm"_s); // its document comes later
    for (const QString &name : {u"b"_s, u"a"_s})
        (void)finish(theirs->createVirtualMachine(make(name, GuestOperatingSystem::windows11ARM64)));
    m_manager->listNewBundles();
    QCOMPARE(changed.count(), 1);
    QCOMPARE(names(), QStringList({u"own"_s, u"a"_s, u"b"_s}));
    QCOMPARE(m_manager->virtualMachines().first(), own); // the objects stay

    storage().save(make(u"half"_s, GuestOperatingSystem::windows11ARM64), std::nullopt);
    m_manager->listNewBundles();
    QCOMPARE(m_manager->virtualMachines().size(), 4);
    QDir(root()).removeRecursively();
    m_manager->listNewBundles();
    QCOMPARE(m_manager->virtualMachines().size(), 4);
    QVERIFY(!QFile::exists(root()));
}

void BundleLibraryTest::keepsWhatAnotherApplicationSaves()
{
    VMManager &ours = *m_manager;
    const auto other = makeManager();
    VMManager &theirs = *other;
    VirtualMachine *vm = addMachine(u"a"_s);
    finish(theirs.loadVirtualMachines());
    VirtualMachine *same = theirs.virtualMachines().constFirst();
    const auto edit = [](VMManager &manager, VirtualMachine *machine, auto field, const auto &value) {
        VMConfiguration edited = machine->configuration();
        edited.*field = value;
        machine->setConfiguration(edited);
        return errorTextOf([&] { manager.saveConfiguration(*machine); });
    };

    // An edit by hand leaves the times in the document alone.
    const QString document = u"Virtual Machines/a.vm/config.json"_s;
    m_host->write(document, m_host->read(document).replace("\"a\"", "\"edited\""));
    theirs.takeOverChanges(*same);
    QCOMPARE(same->name(), u"edited"_s);
    ours.takeOverChanges(*vm);
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
    QCOMPARE(storage().loadConfiguration(vm->configuration().storageDirectory).name, u"theirs"_s);
    ours.takeOverChanges(*vm);
    QCOMPARE(vm->name(), u"theirs"_s);
    QCOMPARE(edit(ours, vm, &VMConfiguration::name, u"ours"_s), QString());

    // A start goes by the newest documents, and does not undo what was recorded in them.
    theirs.completeInstallation(*same);
    finish(ours.start(vm));
    QCOMPARE(vm->installationState(), VMInstallationState::completed);
    QCOMPARE(storedMetadata(vm).installationState, VMInstallationState::completed);
    QCOMPARE(edit(theirs, same, &VMConfiguration::cpuCount, 4),
             u"Another application has changed “theirs”. "
             "Nothing was saved; open the settings again to see what they are now."_s);
    theirs.takeOverChanges(*same);
    QCOMPARE(edit(theirs, same, &VMConfiguration::cpuCount, 4), QString());
    ours.takeOverChanges(*vm); // it runs: what it runs with stays
    QCOMPARE(vm->configuration().cpuCount, 2);
}

void BundleLibraryTest::makesAMachineOfACopy()
{
    VirtualMachine *original = addMachine(u"a"_s, GuestOperatingSystem::linuxARM64);
    const QString identifier = u"Virtual Machines/%1.vm/machine_id.bin"_s;
    QCOMPARE(m_host->read(identifier.arg(u"a"_s)).size(), 24);
    QVERIFY(QFile::exists(root() + u"/a.vm/efi_vars.bin"_s));
    const QByteArray document = m_host->read(u"Virtual Machines/a.vm/config.json"_s);
    copy(u"a.vm"_s, u"a copy.vm"_s);
    copy(u"a.vm"_s, u"another.vm"_s);

    const auto other = makeManager();
    finish(other->loadVirtualMachines());
    m_manager->listNewBundles();
    QCOMPARE(names(), QStringList({u"a"_s, u"a copy"_s, u"another"_s}));
    QSet<qint64> ports;
    for (const VirtualMachine *vm : m_manager->virtualMachines()) {
        QVERIFY(other->virtualMachine(vm->id())); // whoever finds it
        ports.insert(vm->configuration().vncPort);
    }
    QCOMPARE(ports.size(), 3);
    QCOMPARE(m_manager->virtualMachine(original->id()), original);

    VirtualMachine *copied = m_manager->virtualMachines()[1];
    finish(m_manager->start(copied));
    QCOMPARE(storage().loadConfiguration(copied->configuration().storageDirectory).id, copied->id());
    QVERIFY(!QFile::exists(m_host->path(identifier.arg(u"a copy"_s)))); // the backend makes one
    QCOMPARE(original->state(), VMState::poweredOff);
    QCOMPARE(m_host->read(u"Virtual Machines/a.vm/config.json"_s), document);
    VirtualMachine *another = m_manager->virtualMachines()[2];
    m_manager->saveConfiguration(*another);
    QCOMPARE(storage().loadConfiguration(another->configuration().storageDirectory).id, another->id());
    finish(other->loadVirtualMachines());
    for (const VirtualMachine *vm : m_manager->virtualMachines())
        QCOMPARE(other->virtualMachine(vm->id())->configuration().storageDirectory,
                 vm->configuration().storageDirectory);
}

void BundleLibraryTest::tellsTheOriginalFromItsCopy()
{
    VirtualMachine *vm = addMachine(u"a"_s);
    const QUuid id = vm->id();
    QVERIFY(QFile::link(root() + u"/a.vm"_s, root() + u"/link.vm"_s));
    m_manager->listNewBundles();
    QCOMPARE(m_manager->virtualMachines(), QList({vm}));

    // The original outside the root, where its document says it is, and a copy inside.
    const QUrl elsewhere = FileUrl::directory(m_host->path(u"elsewhere.vm"_s));
    move(u"a.vm"_s, FileUrl::path(elsewhere));
    QCOMPARE(m_manager->openBundle(elsewhere), vm);
    m_manager->saveConfiguration(*vm);
    QVERIFY(QFile::remove(root() + u"/link.vm"_s));
    copy(u"../elsewhere.vm"_s, u"copy.vm"_s);
    m_manager = makeManager();
    finish(m_manager->loadVirtualMachines());
    QCOMPARE(names(), QStringList(u"copy"_s));
    QVERIFY(!m_manager->virtualMachine(id));
    QCOMPARE(m_manager->openBundle(elsewhere)->id(), id);
}

/// Also while a guest runs: the machine goes there as soon as it is off.
void BundleLibraryTest::followsMachinesThatChangePlaces()
{
    VirtualMachine *a = addMachine(u"a"_s);
    VirtualMachine *b = addMachine(u"b"_s);
    finish(m_manager->start(a));
    move(u"a.vm"_s, u"c.vm"_s);
    m_manager->listNewBundles();
    QCOMPARE(m_manager->virtualMachines(), QList({a, b}));
    finish(m_manager->stop(a));
    m_manager->listNewBundles();
    QCOMPARE(folderOf(a), u"c.vm"_s);

    move(u"b.vm"_s, u"d.vm"_s);
    move(u"c.vm"_s, u"b.vm"_s);
    copy(u"d.vm"_s, u"e.vm"_s);
    for (int look = 0; look < 2; ++look)
        m_manager->listNewBundles();
    QCOMPARE(QStringList({folderOf(a), folderOf(b)}), QStringList({u"b.vm"_s, u"d.vm"_s}));
    QCOMPARE(names(), QStringList({u"a"_s, u"b"_s, u"e"_s}));
    finish(m_manager->start(a));
    finish(m_manager->start(b));
}

void BundleLibraryTest::followsAMovedMachine()
{
    VirtualMachine *vm = addMachine(u"a"_s);
    const QUrl elsewhere = FileUrl::directory(m_host->path(u"b.vm"_s));
    QVERIFY(QDir().rename(root() + u"/a.vm"_s, root() + u"/b.vm"_s));
    QVERIFY(
        errorTextOf([&] { finish(m_manager->start(vm)); }).startsWith("Invalid virtual machine bundle"_L1));
    QVERIFY(!errorTextOf([&] { m_manager->saveConfiguration(*vm); }).isEmpty());
    QVERIFY(!QFile::exists(root() + u"/a.vm"_s));
    m_manager->listNewBundles();
    QCOMPARE(m_manager->virtualMachines(), QList({vm}));
    QCOMPARE(vm->configuration().storageDirectory, FileUrl::appendingDirectory(m_host->root(), u"b.vm"_s));
    QVERIFY(QDir().rename(root() + u"/b.vm"_s, FileUrl::path(elsewhere)));
    QCOMPARE(m_manager->openBundle(elsewhere), vm);
    finish(m_manager->start(vm));
    QCOMPARE(vm->configuration().storageDirectory, elsewhere);
    QCOMPARE(storage().loadConfiguration(elsewhere).id, vm->id());
    QVERIFY(!QFile::exists(root() + u"/a.vm"_s));
}

void BundleLibraryTest::leavesWhatIsNotTheMachinesAlone_data()
{
    QTest::addColumn<QString>("whose");
    QTest::addColumn<QString>("reason");
    QTest::newRow("another machine's") << u"another"_s << u"holds another virtual machine now."_s;
    QTest::newRow("a link") << u"link"_s << u"“config.json” is a link."_s;
    QTest::newRow("broken") << u"broken"_s << u"Could not read virtual machine configuration."_s;
}

void BundleLibraryTest::leavesWhatIsNotTheMachinesAlone()
{
    QFETCH(const QString, whose);
    QFETCH(const QString, reason);
    VirtualMachine *vm = addMachine(u"a"_s);
    addMachine(u"b"_s);
    const QString document = u"Virtual Machines/a.vm/config.json"_s;
    if (whose == "another"_L1) {
        m_host->write(document, m_host->read(u"Virtual Machines/b.vm/config.json"_s));
    } else if (whose == "link"_L1) {
        QVERIFY(QFile::rename(m_host->path(document), m_host->path(u"elsewhere.json"_s)));
        QVERIFY(QFile::link(m_host->path(u"elsewhere.json"_s), m_host->path(document)));
    } else {
        m_host->write(document, "{");
    }
    const QByteArray before = m_host->read(document);
    const auto create = [&] {
        return m_manager->createVirtualMachine(make(u"a"_s, GuestOperatingSystem::windows11ARM64));
    };
    for (const QString &text : {errorTextOf([&] { finish(m_manager->start(vm)); }),
                                errorTextOf([&] { m_manager->saveConfiguration(*vm); }),
                                errorTextOf([&] { m_manager->completeInstallation(*vm); })})
        QVERIFY2(text.contains(reason), qPrintable(text));
    QVERIFY(errorTextOf([&] { (void)finish(create()); }).contains("already exists"_L1));
    QCOMPARE(m_host->read(document), before);
    QCOMPARE(vm->state(), VMState::poweredOff);
}

void BundleLibraryTest::savesAgainAfterHalfASave()
{
    VirtualMachine *vm = addMachine(u"a"_s);
    m_manager->takeOverChanges(*vm);
    const QDir bundle(root() + u"/a.vm"_s);
    QVERIFY(QFile::remove(bundle.filePath(u"metadata.json"_s)) && bundle.mkdir(u"metadata.json"_s));
    QVERIFY(errorTextOf([&] { m_manager->saveConfiguration(*vm); }).contains("metadata.json"_L1));
    QVERIFY(bundle.rmdir(u"metadata.json"_s));
    m_manager->saveConfiguration(*vm);
}

void BundleLibraryTest::staysInTheFolderWhereItIsFound()
{
    m_host->write(u"keys/config.json"_s, "theirs");
    VMConfiguration configuration = make(u"a"_s, GuestOperatingSystem::windows11ARM64);
    configuration.storageDirectory = FileUrl::directory(m_host->path(u"keys"_s));
    m_host->write(u"Virtual Machines/a.vm/config.json"_s, encodeConfiguration(configuration));
    finish(m_manager->loadVirtualMachines());
    VirtualMachine *vm = m_manager->virtualMachines().constFirst();
    QCOMPARE(FileUrl::path(vm->configuration().diskURL()), root() + u"/a.vm/disk.img"_s);
    m_manager->saveConfiguration(*vm);
    finish(m_manager->start(vm));
    QCOMPARE(m_host->read(u"keys/config.json"_s), QByteArray("theirs"));
}

KELVO_TEST_MAIN(BundleLibraryTest)
#include "tst_bundlelibrary.moc"
