#include "Platform/FileManager.h"
#include "Platform/PlatformError.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

#include <QDir>
#include <QFile>

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

using namespace Qt::StringLiterals;

class FileManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void failedWriteLeavesTheOldFileAlone();
    void writingThroughALinkReplacesTheLink();
    void onlySmallRegularFilesAreRead_data();
    void onlySmallRegularFilesAreRead();
    void sparseFilesStaySparse();
    void copyRefusesAnExistingTarget();
    void foldersAreMadeWithTheirParents();

private:
    static int errorCodeOf(const std::function<void()> &action)
    {
        try {
            action();
        } catch (const PlatformError &error) {
            return error.code();
        }
        return 0;
    }
};

void FileManagerTest::failedWriteLeavesTheOldFileAlone()
{
    const TemporaryHost host;
    FileManager &files = FileManager::defaultManager();
    const QString path = host.path(u"a.json"_s);
    files.writeAtomically(path, "old");

    // A limit on file sizes fails a write in its middle, as a full disk does.
    rlimit before = {};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small = {1000, before.rlim_max};
    const auto previous = std::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const int code = errorCodeOf([&] { files.writeAtomically(path, QByteArray(5000, 'x')); });
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &before), 0);
    (void)std::signal(SIGXFSZ, previous);

    QCOMPARE(code, EFBIG);
    QCOMPARE(host.read(u"a.json"_s), QByteArray("old"));
    QCOMPARE(QDir(host.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList{u"a.json"_s});
    QCOMPARE(errorCodeOf([&] { files.writeAtomically(host.path(u"none/a"_s), "x"); }), ENOENT);
}

void FileManagerTest::writingThroughALinkReplacesTheLink()
{
    const TemporaryHost host;
    host.write(u"precious"_s, "kept");
    QVERIFY(QFile::link(host.path(u"precious"_s), host.path(u"a.json"_s)));
    FileManager::defaultManager().writeAtomically(host.path(u"a.json"_s), "new");
    QCOMPARE(host.read(u"precious"_s), QByteArray("kept"));
    QCOMPARE(host.read(u"a.json"_s), QByteArray("new"));
}

void FileManagerTest::onlySmallRegularFilesAreRead_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("code");
    QTest::newRow("as large as allowed") << u"ten"_s << 0;
    QTest::newRow("one byte more") << u"eleven"_s << EFBIG;
    QTest::newRow("folder") << u"folder"_s << EISDIR;
    QTest::newRow("FIFO without a writer") << u"fifo"_s << EINVAL;
    QTest::newRow("link to itself") << u"loop"_s << ELOOP;
    QTest::newRow("nothing") << u"missing"_s << ENOENT;
}

void FileManagerTest::onlySmallRegularFilesAreRead()
{
    QFETCH(const QString, name);
    QFETCH(const int, code);
    const TemporaryHost host;
    host.write(u"ten"_s, QByteArray(10, 'x'));
    host.write(u"eleven"_s, QByteArray(11, 'x'));
    QDir().mkpath(host.path(u"folder"_s));
    QCOMPARE(::mkfifo(qPrintable(host.path(u"fifo"_s)), 0600), 0);
    QVERIFY(QFile::link(u"loop"_s, host.path(u"loop"_s)));
    QCOMPARE(errorCodeOf([&] { (void)FileManager::defaultManager().readFile(host.path(name), 10); }), code);
}

void FileManagerTest::sparseFilesStaySparse()
{
    const TemporaryHost host;
    FileManager &files = FileManager::defaultManager();
    constexpr quint64 length = quint64(64) << 20;
    const QString source = host.path(u"a"_s);
    QVERIFY(files.createFile(source));
    files.truncateFile(source, length);
    QFile file(source);
    QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(10'000'000) && file.write("middle") == 6);
    file.close();

    files.copyItem(source, host.path(u"b"_s));
    const FileManager::FileSizes sizes = files.fileSizes(host.path(u"b"_s));
    QCOMPARE(sizes.logicalBytes, length);
    QVERIFY(*sizes.totalAllocatedBytes < 1'000'000);
    QCOMPARE(host.read(u"b"_s), host.read(u"a"_s));
}

void FileManagerTest::copyRefusesAnExistingTarget()
{
    const TemporaryHost host;
    host.write(u"a"_s, "new");
    host.write(u"b"_s, "old");
    FileManager &files = FileManager::defaultManager();
    QCOMPARE(errorCodeOf([&] { files.copyItem(host.path(u"a"_s), host.path(u"b"_s)); }), EEXIST);
    QCOMPARE(errorCodeOf([&] { files.copyItem(host.path(u"none"_s), host.path(u"c"_s)); }), ENOENT);
    QCOMPARE(errorCodeOf([&] { files.copyItem(host.path(), host.path(u"c"_s)); }), EISDIR);
    QCOMPARE(host.read(u"b"_s), QByteArray("old"));
    QCOMPARE(QDir(host.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList({u"a"_s, u"b"_s}));
}

void FileManagerTest::foldersAreMadeWithTheirParents()
{
    const TemporaryHost host;
    FileManager &files = FileManager::defaultManager();
    files.createDirectory(host.path(u"a/b/c"_s));
    files.createDirectory(host.path(u"a/b/c"_s));
    QVERIFY(files.directoryExists(host.path(u"a/b/c"_s)));
    host.write(u"file"_s, "x");
    QCOMPARE(errorCodeOf([&] { files.createDirectory(host.path(u"file/b"_s)); }), ENOTDIR);
    QCOMPARE(errorCodeOf([&] { files.createDirectory(host.path(u"file"_s)); }), EEXIST);
}

KELVO_TEST_MAIN(FileManagerTest)
#include "tst_filemanager.moc"
