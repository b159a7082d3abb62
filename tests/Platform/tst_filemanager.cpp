#include "Platform/FileManager.h"
#include "Platform/PlatformError.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

class FileManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writingThroughALinkReplacesTheLink();
    void sparseFilesStaySparse();
    void refusalsLeaveEverythingAsItIs();

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

    FileManager &m_files = FileManager::defaultManager();
};

void FileManagerTest::writingThroughALinkReplacesTheLink()
{
    const TemporaryHost host;
    host.write(u"precious"_s, "kept");
    QVERIFY(QFile::link(host.path(u"precious"_s), host.path(u"a.json"_s)));
    m_files.writeAtomically(host.path(u"a.json"_s), "new");
    QCOMPARE(host.read(u"precious"_s), QByteArray("kept"));
    QCOMPARE(host.read(u"a.json"_s), QByteArray("new"));
}

void FileManagerTest::sparseFilesStaySparse()
{
    const TemporaryHost host;
    constexpr quint64 length = quint64(64) << 20;
    const QString source = host.path(u"a"_s);
    QVERIFY(m_files.createFile(source));
    m_files.truncateFile(source, length);
    QFile file(source);
    QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(10'000'000) && file.write("middle") == 6);
    file.close();

    m_files.copyItem(source, host.path(u"b"_s), FileManager::Amendment{.offset = 10'000'002, .bytes = "ts"});
    const FileManager::FileSizes sizes = m_files.fileSizes(host.path(u"b"_s));
    QCOMPARE(sizes.logicalBytes, length);
    QVERIFY(*sizes.totalAllocatedBytes < 1'000'000);
    QCOMPARE(host.read(u"b"_s), host.read(u"a"_s).replace(10'000'000, 6, "mitsle"));
}

void FileManagerTest::refusalsLeaveEverythingAsItIs()
{
    const TemporaryHost host;
    host.write(u"a"_s, "new");
    host.write(u"b"_s, "old");
    m_files.createDirectory(host.path(u"c/d"_s));
    m_files.createDirectory(host.path(u"c/d"_s));
    const auto copy = [&](const QString &from, const QString &to) {
        return errorCodeOf([&] { m_files.copyItem(host.path(from), host.path(to)); });
    };
    QCOMPARE(copy(u"a"_s, u"b"_s), EEXIST);
    QCOMPARE(copy(u"none"_s, u"e"_s), ENOENT);
    QCOMPARE(copy(u"c"_s, u"e"_s), EISDIR);
    QCOMPARE(errorCodeOf([&] { m_files.writeAtomically(host.path(u"none/a"_s), "x"); }), ENOENT);
    QCOMPARE(errorCodeOf([&] { m_files.createDirectory(host.path(u"a/b"_s)); }), ENOTDIR);
    QCOMPARE(errorCodeOf([&] { m_files.createDirectory(host.path(u"a"_s)); }), EEXIST);
    // A full disk fails a folder whose parents could be made; that it is not there is another call's error.
    struct LastLook : FileManager
    {
        bool directoryExists(const QString &path) const override
        {
            const bool exists = FileManager::directoryExists(path);
            errno = ENOENT;
            return exists;
        }
    } files;
    const QString tooLong = host.path(u"c/none/"_s + QString(300, u'x'));
    QCOMPARE(errorCodeOf([&] { files.createDirectory(tooLong); }), ENAMETOOLONG);
    QCOMPARE(host.read(u"b"_s), QByteArray("old"));
    QCOMPARE(QDir(host.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             QStringList({u"a"_s, u"b"_s, u"c"_s}));
}

KELVO_TEST_MAIN(FileManagerTest)
#include "tst_filemanager.moc"
