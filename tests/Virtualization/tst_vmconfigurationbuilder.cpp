#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/VMConfigurationBuilder.h"
#include "Virtualization/VMInstaller.h"
#include "support/Expectations.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

#include <sys/stat.h>

using namespace Qt::StringLiterals;

class VMConfigurationBuilderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void guestsGetTheirDevices_data();
    void guestsGetTheirDevices();
    void identityAndVariablesLast();
    void failedStepsLeaveTheFilesOfEarlierOnes_data();
    void failedStepsLeaveTheFilesOfEarlierOnes();
    void installationsMakeWhatIsMissing();
    void machinesThatCannotRunAreRefused_data();
    void machinesThatCannotRunAreRefused();
};

namespace {

/// A bundle with a disk of 1 MiB, and an image beside it.
class Bundle
{
public:
    Bundle()
    {
        configuration = VMConfiguration::defaultConfiguration(u"Guest"_s, GuestOperatingSystem::linuxARM64);
        configuration.backend = VMBackendType::appleVirtualization;
        configuration.cpuCount = 1;
        configuration.memorySizeBytes = quint64(512) << 20;
        configuration.storageDirectory = FileUrl::directory(m_host.path(u"Guest.vm"_s));
        configuration.installationMediaPath = FileUrl::path(image());
        m_host.write(u"Guest.vm/disk.img"_s, QByteArray(1 << 20, '\0'));
        m_host.write(u"image.iso"_s, QByteArray(4096, '\0'));
    }

    VMConfiguration configuration;

    [[nodiscard]] QUrl image() const { return FileUrl::file(m_host.path(u"image.iso"_s)); }
    [[nodiscard]] QString path(const QString &relative) const { return m_host.path(relative); }
    void write(const QString &relative, const QByteArray &bytes) const { m_host.write(relative, bytes); }
    void remove(const QString &relative) const { QFile::remove(m_host.path(relative)); }

    [[nodiscard]] VZVirtualMachineConfiguration build(VMBuildMode mode = VMBuildMode::normalBoot,
                                                      const std::optional<QUrl> &iso = std::nullopt) const
    {
        return VMConfigurationBuilder().build(configuration, mode, iso);
    }

private:
    TemporaryHost m_host;
};

/// "virtio disk.img", "nvme disk.img", "virtio image.iso read-only"
QStringList describe(const QList<VZStorageDeviceConfiguration> &devices)
{
    QStringList result;
    for (const VZStorageDeviceConfiguration &device : devices) {
        const VZDiskImageStorageDeviceAttachment &attachment = attachmentOf(device);
        const bool isVirtio = std::holds_alternative<VZVirtioBlockDeviceConfiguration>(device);
        result << (isVirtio ? u"virtio "_s : u"nvme "_s) + FileUrl::lastComponent(attachment.url()) +
                      (attachment.isReadOnly() ? u" read-only"_s : QString());
    }
    return result;
}

} // namespace

void VMConfigurationBuilderTest::guestsGetTheirDevices_data()
{
    QTest::addColumn<GuestOperatingSystem>("guestOS");
    QTest::addColumn<VMBuildMode>("mode");
    QTest::addColumn<bool>("hasDisk");
    QTest::addColumn<bool>("attachesImage");
    QTest::addColumn<QStringList>("storage");
    using enum GuestOperatingSystem;
    using enum VMBuildMode;
    const QString image = u"virtio image.iso read-only"_s;
    QTest::newRow("Linux") << linuxARM64 << normalBoot << true << false << QStringList{u"virtio disk.img"_s};
    QTest::newRow("other") << otherARM64 << normalBoot << true << false << QStringList{u"nvme disk.img"_s};
    QTest::newRow("Windows") << windows11ARM64 << normalBoot << true << false
                             << QStringList{u"nvme disk.img"_s};
    QTest::newRow("Linux, installed from the configuration's image")
        << linuxARM64 << installation << true << false << QStringList{u"virtio disk.img"_s, image};
    QTest::newRow("other, started with an image")
        << otherARM64 << normalBoot << true << true << QStringList{u"nvme disk.img"_s, image};
    QTest::newRow("without a disk") << linuxARM64 << installation << false << false << QStringList{image};
}

void VMConfigurationBuilderTest::guestsGetTheirDevices()
{
    QFETCH(const GuestOperatingSystem, guestOS);
    QFETCH(const VMBuildMode, mode);
    QFETCH(const bool, hasDisk);
    QFETCH(const bool, attachesImage);
    QFETCH(const QStringList, storage);
    Bundle bundle;
    bundle.configuration.guestOS = guestOS;
    bundle.configuration.displayWidth = 1366;
    bundle.configuration.displayHeight = 768;
    bundle.configuration.networkMode = hasDisk ? VMNetworkMode::nat : VMNetworkMode::disconnected;
    if (!hasDisk)
        bundle.remove(u"Guest.vm/disk.img"_s);
    const VZVirtualMachineConfiguration machine =
        bundle.build(mode, attachesImage ? std::optional(bundle.image()) : std::nullopt);
    QCOMPARE(machine.cpuCount, qint64(1));
    QCOMPARE(machine.memorySize, quint64(512) << 20);
    QCOMPARE(describe(machine.storageDevices), storage);
    QCOMPARE(machine.networkDevices.size(), hasDisk ? 1 : 0);
    QCOMPARE(machine.graphicsDevices.size(), 1);
    const QList<VZVirtioGraphicsScanoutConfiguration> screens{{.widthInPixels = 1366, .heightInPixels = 768}};
    QVERIFY(machine.graphicsDevices.first().scanouts == screens);
    QVERIFY(machine.keyboards.size() == 1 && machine.pointingDevices.size() == 1);
    QVERIFY(
        DiagnosticLogger::shared().formattedLog().endsWith(u"VM configuration validated for Guest (%1)"_s.arg(
            mode == VMBuildMode::installation ? u"installation"_s : u"normalBoot"_s)));
}

void VMConfigurationBuilderTest::identityAndVariablesLast()
{
    const Bundle bundle;
    const VZVirtualMachineConfiguration first = bundle.build();
    QVERIFY(first == bundle.build());
    const FileManager::FileSizes store =
        FileManager::defaultManager().fileSizes(FileUrl::path(first.bootLoader->variableStore->url()));
    QCOMPARE(store.logicalBytes, VZEFIVariableStore::sizeBytes);
    QVERIFY(*store.totalAllocatedBytes < 100'000);

    // Of each damaged identifier the machine recovers with a new one.
    const QByteArray good = first.platform->machineIdentifier->dataRepresentation();
    const QByteArray nil = good.first(8) + QByteArray(16, '\0');
    for (const QByteArray &bad : {QByteArray(), good.chopped(1), good + 'x', 'x' + good.sliced(1), nil}) {
        bundle.write(u"Guest.vm/machine.id"_s, bad);
        VMConfiguration configuration = bundle.configuration;
        configuration.machineIdentifierFileName = u"machine.id"_s;
        const auto second = VMConfigurationBuilder().build(configuration, VMBuildMode::normalBoot, {});
        QVERIFY(second.platform->machineIdentifier != first.platform->machineIdentifier);
        QVERIFY(second.platform == VMConfigurationBuilder().build(configuration, {}, {}).platform);
    }
}

void VMConfigurationBuilderTest::failedStepsLeaveTheFilesOfEarlierOnes_data()
{
    QTest::addColumn<QString>("missing");
    QTest::addColumn<QString>("inTheWay");
    QTest::addColumn<VMBuildMode>("mode");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("leavesFiles");
    QTest::newRow("image gone") << u"image.iso"_s << QString() << VMBuildMode::installation
                                << u"Installation media could not be opened."_s << true;
    QTest::newRow("nothing to boot")
        << u"Guest.vm/disk.img"_s << QString() << VMBuildMode::normalBoot
        << u"Virtual machine configuration is invalid. At least one storage device is required."_s << true;
    QTest::newRow("a folder for a disk")
        << u"Guest.vm/disk.img"_s << u"Guest.vm/disk.img/x"_s << VMBuildMode::normalBoot
        << u"Virtual disk could not be attached."_s << true;
    QTest::newRow("a file for a folder")
        << u"Guest.vm/disk.img"_s << u"Guest.vm"_s << VMBuildMode::normalBoot << QString() << false;
}

void VMConfigurationBuilderTest::failedStepsLeaveTheFilesOfEarlierOnes()
{
    QFETCH(const QString, missing);
    QFETCH(const QString, inTheWay);
    QFETCH(const VMBuildMode, mode);
    QFETCH(const QString, text);
    QFETCH(const bool, leavesFiles);
    const Bundle bundle;
    bundle.remove(missing);
    if (!inTheWay.isEmpty()) {
        QDir().rmdir(bundle.path(inTheWay));
        bundle.write(inTheWay, "x");
    }
    const QString error = errorTextOf([&] { (void)bundle.build(mode); });
    QVERIFY(!error.isEmpty());
    if (!text.isEmpty())
        QCOMPARE(error, text);
    for (const QUrl &url :
         {bundle.configuration.machineIdentifierURL(), bundle.configuration.efiVariableStoreURL()})
        QCOMPARE(QFile::exists(FileUrl::path(url)), leavesFiles);
}

void VMConfigurationBuilderTest::installationsMakeWhatIsMissing()
{
    Bundle bundle;
    bundle.remove(u"Guest.vm/disk.img"_s);
    bundle.configuration.diskSizeBytes = quint64(64) << 30;
    const VZVirtualMachineConfiguration first =
        VMInstaller().prepareForInstallation(bundle.configuration, bundle.image());
    QCOMPARE(describe(first.storageDevices),
             (QStringList{u"virtio disk.img"_s, u"virtio image.iso read-only"_s}));
    QCOMPARE(QFileInfo(bundle.path(u"Guest.vm/disk.img"_s)).size(), qint64(64) << 30);
    QVERIFY(first == VMInstaller().prepareForInstallation(bundle.configuration, bundle.image()));
}

void VMConfigurationBuilderTest::machinesThatCannotRunAreRefused_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QString>("reason");
    QTest::newRow("too wide") << u"wide"_s << u"A screen of 3840 × 1080 pixels cannot be shown"_s;
    QTest::newRow("no pixels") << u"flat"_s << u"A screen of 1920 × 0 pixels cannot be shown"_s;
    QTest::newRow("half a mebibyte") << u"memory"_s << u"The memory size must be a multiple of 1 MB."_s;
    QTest::newRow("empty disk") << u"empty"_s << u"is empty."_s;
    QTest::newRow("half a sector") << u"sector"_s << u"is not a multiple of 512 bytes."_s;
    QTest::newRow("disk as its own medium") << u"twice"_s << u"is attached twice."_s;
    QTest::newRow("disk that is a link") << u"disk link"_s << u"“disk.img” is a link."_s;
    QTest::newRow("variable store that is a link") << u"store link"_s << u" is a link."_s;
    QTest::newRow("identifier that is a pipe") << u"pipe"_s << u" is not an ordinary file."_s;
    QTest::newRow("short variable store") << u"store"_s << u"is damaged: it has 5 bytes"_s;
}

void VMConfigurationBuilderTest::machinesThatCannotRunAreRefused()
{
    QFETCH(const QString, fault);
    QFETCH(const QString, reason);
    Bundle bundle;
    VMConfiguration &configuration = bundle.configuration;
    if (fault == "wide"_L1)
        configuration.displayWidth = 3840;
    else if (fault == "flat"_L1)
        configuration.displayHeight = 0;
    else if (fault == "memory"_L1)
        ++configuration.memorySizeBytes;
    else if (fault == "empty"_L1)
        bundle.write(u"Guest.vm/disk.img"_s, {});
    else if (fault == "sector"_L1)
        bundle.write(u"Guest.vm/disk.img"_s, QByteArray(1000, '\0'));
    else if (fault == "twice"_L1)
        QVERIFY(QFile::remove(bundle.path(u"image.iso"_s)) &&
                QFile::link(bundle.path(u"Guest.vm/disk.img"_s), bundle.path(u"image.iso"_s)));
    else if (fault == "disk link"_L1)
        QVERIFY(QFile::remove(bundle.path(u"Guest.vm/disk.img"_s)) &&
                QFile::link(bundle.path(u"image.iso"_s), bundle.path(u"Guest.vm/disk.img"_s)));
    else if (fault == "store link"_L1)
        QVERIFY(QFile::link(bundle.path(u"image.iso"_s), FileUrl::path(configuration.efiVariableStoreURL())));
    else if (fault == "pipe"_L1)
        QCOMPARE(::mkfifo(qPrintable(FileUrl::path(configuration.machineIdentifierURL())), 0600), 0);
    else
        bundle.write(u"Guest.vm/"_s + configuration.efiVariableStoreFileName, "short");
    const QString error = errorTextOf([&] { (void)bundle.build(VMBuildMode::installation); });
    QVERIFY2(error.startsWith("Virtual machine configuration is invalid. "_L1) && error.contains(reason),
             qUtf8Printable(error));
}

KELVO_TEST_MAIN(VMConfigurationBuilderTest)
#include "tst_vmconfigurationbuilder.moc"
