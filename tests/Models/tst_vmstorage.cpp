#include "Models/VMConfigurationCoding.h"
#include "Models/VMStorage.h"
#include "Platform/FileUrl.h"
#include "Platform/PlatformError.h"
#include "support/Expectations.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QScopeGuard>
#include <QTimeZone>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <csignal>

using namespace Qt::StringLiterals;

namespace {

/// What the host is to refuse: the n-th of these calls from now on, counted from one.
struct Fault
{
    QByteArray call;
    int countdown = 0;
    int code = 0;
};
Fault fault;
bool isDurabilityFree = false; ///< a killed process, other than a lost host, loses nothing that it wrote

/// Asks the kernel, unless this is the call that is to fail.
template<typename... Arguments>
long perform(const char *call, long number, Arguments... arguments)
{
    if (fault.call == call && --fault.countdown == 0) {
        errno = fault.code;
        return -1;
    }
    return ::syscall(number, arguments...);
}

} // namespace

// The program's own definitions come before those of the C library, also for the code under test.
extern "C" {

ssize_t write(int descriptor, const void *bytes, size_t count)
{
    // A host may take any part of it.
    return perform("write", SYS_write, descriptor, bytes,
                   fault.call.isEmpty() ? count : std::min<size_t>(count, 100));
}

int fsync(int descriptor)
{
    return isDurabilityFree ? 0 : static_cast<int>(perform("fsync", SYS_fsync, descriptor));
}

int rename(const char *from, const char *to) noexcept
{
    return static_cast<int>(perform("rename", SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int link(const char *from, const char *to) noexcept
{
    return static_cast<int>(perform("link", SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int ftruncate(int descriptor, off_t length) noexcept
{
    return static_cast<int>(perform("ftruncate", SYS_ftruncate, descriptor, length));
}
}

class VMStorageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_host.emplace(); }
    void scanFindsReadableBundlesInOrder();
    void savingWritesBothDocumentsForTheUserAlone();
    void metadataAreReadStrictly();
    void bundleWithoutConfigurationIsNamed();
    void killedWriterLeavesWholeDocuments();
    void failingHostLeavesWholeFiles_data();
    void failingHostLeavesWholeFiles();
    void leftoversAreSweptUnlessTheyAreNew();

private:
    [[nodiscard]] VMStorage storage() const { return {m_host->root(), FileManager::defaultManager()}; }
    [[nodiscard]] VMConfiguration make(const QString &name, const QString &folder = u"a.vm"_s) const
    {
        auto configuration = VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::linuxARM64);
        configuration.storageDirectory = FileUrl::appendingDirectory(m_host->root(), folder);
        return configuration;
    }
    /// The n-th configuration: its name is long, and it can be told which one it is.
    [[nodiscard]] VMConfiguration numbered(int number) const
    {
        return make(QString::number(number) + QString(number % 500 + 1, QChar(u'a' + number % 26)));
    }
    /// Which one is in the bundle; −1 when it is none of them. Throws unless both documents can be read.
    [[nodiscard]] int numberInBundle() const
    {
        const QUrl bundle = make({}).storageDirectory;
        (void)storage().loadMetadata(bundle);
        const QString name = storage().loadConfiguration(bundle).name;
        const int number = name.left(name.size() - name.count(name.back())).toInt();
        return name == numbered(number).name ? number : -1;
    }
    [[nodiscard]] QString inBundle(const QString &name = {}) const
    {
        return m_host->path(u"Virtual Machines/a.vm/"_s + name);
    }
    [[nodiscard]] QStringList leftovers() const
    {
        return QDir(inBundle()).entryList({u".kelvo-*"_s}, QDir::Files | QDir::Hidden);
    }

    std::optional<TemporaryHost> m_host;
};

void VMStorageTest::scanFindsReadableBundlesInOrder()
{
    QVERIFY(storage().scanVirtualMachines().isEmpty());
    QVERIFY(QDir(m_host->path(u"Virtual Machines"_s)).exists());

    for (const auto &name : {u"beta"_s, u"Alpha"_s, u"Gamma"_s})
        storage().save(make(name, name + u".vm"_s), std::nullopt);
    const QByteArray document = encodeConfiguration(make(u"wrong"_s));
    for (const auto &folder : {u"Upper.VM"_s, u".hidden.vm"_s, u"no extension"_s})
        m_host->write(u"Virtual Machines/%1/config.json"_s.arg(folder), document);
    m_host->write(u"Virtual Machines/file.vm"_s, document);
    m_host->write(u"Virtual Machines/cut.vm/config.json"_s, document.chopped(4));
    m_host->write(u"Virtual Machines/long.vm/config.json"_s, document + QByteArray(1 << 20, ' '));
    QVERIFY(QDir().mkpath(m_host->path(u"Virtual Machines/folder.vm/config.json"_s)));
    QVERIFY(QDir().mkpath(m_host->path(u"Virtual Machines/fifo.vm"_s)));
    QCOMPARE(::mkfifo(qPrintable(m_host->path(u"Virtual Machines/fifo.vm/config.json"_s)), 0600), 0);
    QStringList names;
    for (const VMConfiguration &configuration : storage().scanVirtualMachines())
        names.append(configuration.name);
    QCOMPARE(names, QStringList({u"Alpha"_s, u"beta"_s, u"Gamma"_s}));
}

void VMStorageTest::savingWritesBothDocumentsForTheUserAlone()
{
    VMConfiguration configuration = make(u"a"_s);
    configuration.modifiedAt = QDateTime({2020, 1, 1}, {0, 0}, QTimeZone::utc());
    storage().save(configuration, std::nullopt);
    const VMConfiguration read = storage().loadConfiguration(configuration.storageDirectory);
    QVERIFY(read.modifiedAt > configuration.modifiedAt);
    const QByteArray metadata = m_host->read(u"Virtual Machines/a.vm/metadata.json"_s);
    QCOMPARE(QJsonDocument::fromJson(metadata).object(),
             QJsonObject({{"version"_L1, 2}, {"installationState"_L1, "notStarted"_L1}}));

    for (const auto &[name, mode] : {std::pair(u""_s, 0700U), {u"config.json"_s, 0600U}}) {
        struct stat status = {};
        QCOMPARE(::stat(qPrintable(inBundle(name)), &status), 0);
        QCOMPARE(status.st_mode & 07777U, mode);
    }
}

void VMStorageTest::metadataAreReadStrictly()
{
    QCOMPARE(decodeMetadata("{}").version, 1);
    const VMPersistedMetadata later =
        decodeMetadata(R"({"version":7,"installationState":"ready","lastBootedAt":"2025-03-01T10:15:00Z"})");
    QCOMPARE(later.version, 7);
    QCOMPARE(later.installationState, VMInstallationState::ready);
    QCOMPARE(decodeMetadata(encodeMetadata(later)), later);
    for (const char *document : {R"({"installationState":"Ready"})", R"({"notes":1})", "x"})
        QVERIFY2(!errorTextOf([&] { (void)decodeMetadata(document); }).isNull(), document);
}

void VMStorageTest::bundleWithoutConfigurationIsNamed()
{
    const QUrl bundle = FileUrl::directory(m_host->path(u"none.vm"_s));
    QCOMPARE(errorTextOf([&] { (void)storage().loadConfiguration(bundle); }),
             u"Invalid virtual machine bundle at %1."_s.arg(m_host->path(u"none.vm"_s)));
    QCOMPARE(storage().loadMetadata(bundle), VMPersistedMetadata());
}

void VMStorageTest::killedWriterLeavesWholeDocuments()
{
    storage().save(numbered(1), std::nullopt);
    int last = 1;
    QRandomGenerator random(23);
    int longest = 3000; // microseconds; grows to what a slow host takes for a save
    for (int changes = 0; changes < 300;) {
        const pid_t writer = ::fork();
        if (writer == 0) {
            isDurabilityFree = true;
            for (int number = last;; ++number)
                storage().save(numbered(number % 9000 + 1), VMPersistedMetadata());
        }
        QVERIFY(writer > 0);
        ::usleep(random.bounded(longest));
        ::kill(writer, SIGKILL);
        QCOMPARE(::waitpid(writer, nullptr, 0), writer);
        const int number = numberInBundle();
        QVERIFY2(number > 0, "neither a whole old nor a whole new document");
        changes += number != last ? 1 : 0;
        longest += number != last ? 0 : 100;
        last = number;
    }
}

void VMStorageTest::failingHostLeavesWholeFiles_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<int>("code");
    QTest::newRow("full disk") << QByteArray("write") << ENOSPC;
    QTest::newRow("quota when it is made durable") << QByteArray("fsync") << EDQUOT;
    QTest::newRow("read-only when it is moved") << QByteArray("rename") << EROFS;
    QTest::newRow("no links") << QByteArray("link") << EPERM;
    QTest::newRow("too large") << QByteArray("ftruncate") << EFBIG;
}

/// A machine is saved and its firmware copied, while the host fails at every point at which it can.
void VMStorageTest::failingHostLeavesWholeFiles()
{
    QFETCH(const QByteArray, call);
    QFETCH(const int, code);
    const auto reset = qScopeGuard([] { fault = {}; });
    const QByteArray firmware(350, 'f');
    m_host->write(u"firmware"_s, firmware);
    int number = 1;
    storage().save(numbered(number), VMPersistedMetadata());
    int hits = 0;
    for (bool wasHit = true; wasHit; hits += wasHit ? 1 : 0) {
        fault = {call, hits + 1, code};
        int thrown = 0;
        try {
            storage().save(numbered(number + 1), VMPersistedMetadata());
            FileManager::defaultManager().copyItem(m_host->path(u"firmware"_s), inBundle(u"copy"_s));
        } catch (const PlatformError &error) {
            thrown = error.code();
            QVERIFY(!error.localizedDescription().isEmpty());
        }
        wasHit = fault.countdown <= 0;
        fault = {};
        QCOMPARE(thrown, wasHit ? code : 0);
        const int found = numberInBundle();
        QVERIFY(found == number + 1 || (wasHit && found == number));
        QCOMPARE(leftovers(), QStringList());
        const QByteArray copy = m_host->read(u"Virtual Machines/a.vm/copy"_s);
        QCOMPARE(copy, QFile::remove(inBundle(u"copy"_s)) || !wasHit ? firmware : QByteArray());
        number = found;
    }
    QVERIFY(hits > 0);
}

void VMStorageTest::leftoversAreSweptUnlessTheyAreNew()
{
    storage().save(numbered(1), std::nullopt);
    for (const auto &name : {u".kelvo-alive1"_s, u".kelvo-dead01"_s, u".kelvo-notes.txt"_s}) {
        m_host->write(u"Virtual Machines/a.vm/"_s + name, "half");
        const timespec longAgo[2] = {{1, 0}, {1, 0}};
        if (name != ".kelvo-alive1"_L1)
            QCOMPARE(::utimensat(AT_FDCWD, qPrintable(inBundle(name)), longAgo, 0), 0);
    }
    storage().save(numbered(2), std::nullopt);
    QCOMPARE(leftovers(), (QStringList{u".kelvo-alive1"_s, u".kelvo-notes.txt"_s}));
}

KELVO_TEST_MAIN(VMStorageTest)
#include "tst_vmstorage.moc"
