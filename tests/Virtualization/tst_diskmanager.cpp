#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/DiskManager.h"
#include "support/Expectations.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

using namespace Qt::StringLiterals;

class DiskManagerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newImageIsSparseAndLogged();
    void existingImageIsLeftAlone();
    void failureLeavesNothing();
};

void DiskManagerTest::newImageIsSparseAndLogged()
{
    const TemporaryHost host;
    const QUrl url = FileUrl::file(host.path(u"a/b.vm/disk.img"_s));
    const quint64 size = (quint64(64) << 30) - 1;
    DiskManager().createDisk(url, size);
    const DiskInfo info = DiskManager().diskInfo(url, 42);
    QVERIFY(info.actualUsageBytes < 100'000);
    QCOMPARE(info.maximumSizeBytes, quint64(42));
    QCOMPARE(FileManager::defaultManager().fileSizes(FileUrl::path(url)).logicalBytes, size);
    QVERIFY(DiagnosticLogger::shared().formattedLog().endsWith(
        "Created virtual disk at disk.img (63 GB max)"_L1));
}

void DiskManagerTest::existingImageIsLeftAlone()
{
    const TemporaryHost host;
    host.write(u"disk.img"_s, "data");
    DiskManager().createDisk(FileUrl::file(host.path(u"disk.img"_s)), 1 << 30);
    QCOMPARE(host.read(u"disk.img"_s), QByteArray("data"));
}

void DiskManagerTest::failureLeavesNothing()
{
    const TemporaryHost host;
    const QUrl url = FileUrl::file(host.path(u"disk.img"_s));
    QVERIFY(!errorTextOf([&] { DiskManager().createDisk(url, quint64(1) << 63); }).isNull());
    QCOMPARE(errorTextOf([&] { (void)DiskManager().diskInfo(url, 1); }), u"Virtual disk was not found."_s);
    host.write(u"file"_s, "x");
    QVERIFY(errorTextOf([&] {
                DiskManager().createDisk(FileUrl::file(host.path(u"file/disk.img"_s)), 1);
            }).contains("File exists"_L1));
}

KELVO_TEST_MAIN(DiskManagerTest)
#include "tst_diskmanager.moc"
