#include "Models/VMStorage.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/PlatformError.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

#include <QDir>
#include <QRandomGenerator>
#include <QScopeGuard>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

using namespace Qt::StringLiterals;

namespace {

/// What the host is to refuse: the n-th of these calls from now on, counted from one.
struct Fault
{
    const char *call = nullptr;
    int countdown = 0;
    int code = 0;
};
Fault fault;
bool isDurabilityFree = false; ///< a killed process, other than a lost host, loses nothing that it wrote

/// Whether this call is the one that fails; errno says how.
bool failsNow(const char *call)
{
    if (fault.call == nullptr || std::strcmp(fault.call, call) != 0 || --fault.countdown != 0)
        return false;
    errno = fault.code;
    return true;
}

} // namespace

// The program's own definitions come before those of the C library, also for the code under test.
extern "C" {

ssize_t write(int descriptor, const void *bytes, size_t count)
{
    if (failsNow("write"))
        return -1;
    // A host may take any part of it.
    const size_t taken = fault.call != nullptr ? std::min<size_t>(count, 100) : count;
    return ::syscall(SYS_write, descriptor, bytes, taken);
}

int fsync(int descriptor)
{
    if (isDurabilityFree)
        return 0;
    return failsNow("fsync") ? -1 : static_cast<int>(::syscall(SYS_fsync, descriptor));
}

int rename(const char *from, const char *to) noexcept
{
    return failsNow("rename") ? -1
                              : static_cast<int>(::syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int link(const char *from, const char *to) noexcept
{
    return failsNow("link") ? -1 : static_cast<int>(::syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0));
}

int ftruncate(int descriptor, off_t length) noexcept
{
    return failsNow("ftruncate") ? -1 : static_cast<int>(::syscall(SYS_ftruncate, descriptor, length));
}
}

/// Documents whose writer is killed, or whose host fails, at any point.
class CrashSafetyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void killedWriterLeavesWholeDocuments();
    void failingHostLeavesWholeDocuments_data();
    void failingHostLeavesWholeDocuments();
    void failingHostLeavesNoHalfACopy_data();
    void failingHostLeavesNoHalfACopy();
    void vanishedFolderIsSaidAndNotMadeAgain();
    void leftoversAreSweptUnlessTheyAreNew();

private:
    /// The n-th configuration: its name is long, and it can be told which one it is.
    [[nodiscard]] static VMConfiguration numbered(const TemporaryHost &host, int number)
    {
        const QString name = QString::number(number) + QString(number % 500 + 1, QChar(u'a' + number % 26));
        auto configuration = VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::linuxARM64);
        configuration.storageDirectory = FileUrl::appendingDirectory(host.root(), u"machine.vm"_s);
        return configuration;
    }
    /// Which one is in the bundle; −1 when it is none of them.
    [[nodiscard]] static int numberIn(const TemporaryHost &host, const VMStorage &storage)
    {
        const VMConfiguration found = storage.loadConfiguration(numbered(host, 0).storageDirectory);
        const int number = found.name.left(found.name.size() - found.name.count(found.name.back())).toInt();
        return found.name == numbered(host, number).name ? number : -1;
    }
    [[nodiscard]] static QStringList leftovers(const TemporaryHost &host)
    {
        return QDir(host.path(u"Virtual Machines/machine.vm"_s))
            .entryList({u".kelvo-*"_s}, QDir::Files | QDir::Hidden);
    }
};

void CrashSafetyTest::killedWriterLeavesWholeDocuments()
{
    const TemporaryHost host;
    const VMStorage storage(host.root(), FileManager::defaultManager());
    storage.save(numbered(host, 1), std::nullopt);
    int last = 1;
    int changes = 0;
    QRandomGenerator random(23);
    while (changes < 300) {
        const pid_t writer = ::fork();
        if (writer == 0) {
            isDurabilityFree = true;
            for (int number = last;; ++number)
                storage.save(numbered(host, number % 9000 + 1), VMPersistedMetadata());
        }
        QVERIFY(writer > 0);
        ::usleep(random.bounded(3000));
        ::kill(writer, SIGKILL);
        QCOMPARE(::waitpid(writer, nullptr, 0), writer);
        const int number = numberIn(host, storage);
        QVERIFY2(number > 0, "neither a whole old nor a whole new document");
        (void)storage.loadMetadata(numbered(host, 0).storageDirectory);
        changes += number != last ? 1 : 0;
        last = number;
    }
}

void CrashSafetyTest::failingHostLeavesWholeDocuments_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<int>("code");
    QTest::newRow("full disk") << QByteArray("write") << ENOSPC;
    QTest::newRow("broken disk") << QByteArray("write") << EIO;
    QTest::newRow("quota when it is made durable") << QByteArray("fsync") << EDQUOT;
    QTest::newRow("broken disk when it is made durable") << QByteArray("fsync") << EIO;
    QTest::newRow("read-only when it is moved") << QByteArray("rename") << EROFS;
}

void CrashSafetyTest::failingHostLeavesWholeDocuments()
{
    QFETCH(const QByteArray, call);
    QFETCH(const int, code);
    const auto reset = qScopeGuard([] { fault = {}; });
    const TemporaryHost host;
    const VMStorage storage(host.root(), FileManager::defaultManager());
    int number = 1;
    storage.save(numbered(host, number), VMPersistedMetadata());
    bool wasHit = true;
    int hits = 0;
    // Every point at which the call can fail, until saving needs no more of them.
    for (int nth = 1; wasHit; ++nth) {
        fault = {call.constData(), nth, code};
        int thrown = 0;
        try {
            storage.save(numbered(host, number + 1), VMPersistedMetadata());
        } catch (const PlatformError &error) {
            thrown = error.code();
            QVERIFY(!error.localizedDescription().isEmpty());
        }
        wasHit = fault.countdown <= 0;
        fault = {};
        QCOMPARE(thrown, wasHit ? code : 0);
        const int found = numberIn(host, storage);
        QVERIFY(found == number || found == number + 1);
        QVERIFY(wasHit || found == number + 1);
        (void)storage.loadMetadata(numbered(host, 0).storageDirectory);
        QCOMPARE(leftovers(host), QStringList());
        number = found;
        hits += wasHit ? 1 : 0;
    }
    QVERIFY(hits >= 2); // the configuration and the metadata at least
}

void CrashSafetyTest::failingHostLeavesNoHalfACopy_data()
{
    QTest::addColumn<QByteArray>("call");
    for (const char *call : {"write", "fsync", "link", "ftruncate"})
        QTest::newRow(call) << QByteArray(call);
}

void CrashSafetyTest::failingHostLeavesNoHalfACopy()
{
    QFETCH(const QByteArray, call);
    const auto reset = qScopeGuard([] { fault = {}; });
    const TemporaryHost host;
    host.write(u"firmware"_s, QByteArray(350, 'f'));
    fault = {call.constData(), 1, EIO};
    const auto copy = [&host] {
        FileManager::defaultManager().copyItem(host.path(u"firmware"_s), host.path(u"copy"_s));
    };
    QVERIFY_THROWS_EXCEPTION(PlatformError, copy());
    fault = {};
    QCOMPARE(QDir(host.path()).entryList({u"copy"_s, u".kelvo-*"_s}, QDir::Files | QDir::Hidden),
             QStringList());
    copy();
    QCOMPARE(host.read(u"copy"_s), QByteArray(350, 'f'));
}

void CrashSafetyTest::vanishedFolderIsSaidAndNotMadeAgain()
{
    const TemporaryHost host;
    const VMStorage storage(host.root(), FileManager::defaultManager());
    storage.save(numbered(host, 1), std::nullopt);
    QVERIFY(QDir(host.path(u"Virtual Machines/machine.vm"_s)).removeRecursively());
    QVERIFY_THROWS_EXCEPTION(PlatformError, storage.saveMetadata({}, numbered(host, 1)));
    QVERIFY(!QDir(host.path(u"Virtual Machines/machine.vm"_s)).exists());
}

void CrashSafetyTest::leftoversAreSweptUnlessTheyAreNew()
{
    const TemporaryHost host;
    const VMStorage storage(host.root(), FileManager::defaultManager());
    storage.save(numbered(host, 1), std::nullopt);
    host.write(u"Virtual Machines/machine.vm/.kelvo-dead01"_s, "half");
    host.write(u"Virtual Machines/machine.vm/.kelvo-alive1"_s, "somebody writes this now");
    host.write(u"Virtual Machines/machine.vm/.kelvo-notes.txt"_s, "the user's");
    for (const auto &name : {u".kelvo-dead01"_s, u".kelvo-notes.txt"_s}) {
        const timespec longAgo[2] = {{1, 0}, {1, 0}};
        const QByteArray path = QFile::encodeName(host.path(u"Virtual Machines/machine.vm/"_s + name));
        QCOMPARE(::utimensat(AT_FDCWD, path.constData(), longAgo, 0), 0);
    }
    storage.save(numbered(host, 2), std::nullopt);
    QCOMPARE(leftovers(host), (QStringList{u".kelvo-alive1"_s, u".kelvo-notes.txt"_s}));
}

KELVO_TEST_MAIN(CrashSafetyTest)
#include "tst_crashsafety.moc"
