#include "Platform/FileManager.h"
#include "Platform/HostFacts.h"
#include "Platform/PlatformError.h"
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
    QVERIFY(capabilities.allowedCPUCountRange.contains(capabilities.recommendedCPUCount));
    QVERIFY(capabilities.recommendedCPUCount <= 8);
    QVERIFY(capabilities.allowedMemoryRange.contains(capabilities.recommendedMemoryBytes));
    QVERIFY(capabilities.recommendedMemoryBytes <= quint64(16) << 30);
}

KELVO_TEST_MAIN(SystemInfoServiceTest)
#include "tst_systeminfoservice.moc"
