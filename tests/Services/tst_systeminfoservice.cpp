#include "Platform/FileManager.h"
#include "Platform/HostFacts.h"
#include "Platform/PlatformError.h"
#include "Services/ISOService.h"
#include "Services/SystemInfoService.h"
#include "support/TestMain.h"

using namespace Qt::StringLiterals;

namespace {

class ModelOnlyHost final : public HostFacts
{
public:
    QString systemControlText(const QString &key) const override
    {
        return key == "hw.model"_L1 ? u"Board 5"_s : QString();
    }
    qint64 processorCount() const override { return 3; }
    quint64 physicalMemoryBytes() const override { return 123; }
    QString operatingSystemVersionString() const override { return u"Version 1"_s; }
};

class UnreadableVolume final : public FileManager
{
public:
    std::optional<quint64> availableCapacity(const QString &path) const override
    {
        throw PlatformError(EIO, u"measure"_s, path);
    }
};

} // namespace

class SystemInfoServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void unknownFactsDoNotHideTheOthers();
    void realHostHasPlausibleFacts();
};

void SystemInfoServiceTest::unknownFactsDoNotHideTheOthers()
{
    UnreadableVolume files;
    ModelOnlyHost facts;
    const SystemCapabilities capabilities =
        SystemInfoService(FileService(files), facts).currentCapabilities();
    QCOMPARE(capabilities.availableStorageBytes, quint64(0));
    QCOMPARE(capabilities.chipName, u"Board 5"_s);
    QCOMPARE(capabilities.physicalCPUCount, 3);
    QCOMPARE(capabilities.totalMemoryBytes, quint64(123));
    QCOMPARE(capabilities.macOSVersion, u"Version 1"_s);
    QCOMPARE(capabilities.recommendedDiskBytes, quint64(137'438'953'472));
}

void SystemInfoServiceTest::realHostHasPlausibleFacts()
{
    const SystemCapabilities capabilities = SystemInfoService().currentCapabilities();
    QVERIFY(capabilities.physicalCPUCount >= 1);
    QVERIFY(capabilities.totalMemoryBytes > quint64(1) << 28);
    QVERIFY(capabilities.availableStorageBytes > 0);
    QVERIFY(!capabilities.macOSVersion.isEmpty());
    QVERIFY(capabilities.allowedCPUCountRange.contains(capabilities.recommendedCPUCount));
    QVERIFY(capabilities.recommendedCPUCount <= 8);
    QVERIFY(capabilities.recommendedMemoryBytes <= quint64(16) << 30);
    QVERIFY(capabilities.allowedMemoryRange.maximum <=
            std::max(capabilities.totalMemoryBytes, quint64(512) << 20));
    QCOMPARE(ISOService().isoContentTypes().last(), u"public.data"_s);
}

KELVO_TEST_MAIN(SystemInfoServiceTest)
#include "tst_systeminfoservice.moc"
