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
    void guestsGetTheirDevices();
    void identityAndVariablesLast();
    void installationsMakeWhatIsMissing();
    void machinesThatCannotRunAreRefused_data();
    void machinesThatCannotRunAreRefused();
};

namespace {

const QString diskFile = u"Guest.vm/disk.img"_s;
const QString imageFile = u"image.iso"_s;

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
        m_host.write(diskFile, QByteArray(1 << 20, '\0'));
        m_host.write(imageFile, QByteArray(4096, '\0'));
    }

    VMConfiguration configuration;

    [[nodiscard]] QUrl image() const { return FileUrl::file(m_host.path(imageFile)); }
    [[nodiscard]] QString store() const { return u"Guest.vm/"_s + configuration.efiVariableStoreFileName; }
    [[nodiscard]] QString path(const QString &relative) const { return m_host.path(relative); }
    void write(const QString &relative, const QByteArray &bytes) const { m_host.write(relative, bytes); }
    void remove(const QString &relative) const { QFile::remove(m_host.path(relative)); }
    void link(const QString &target, const QString &relative) const
    {
        remove(relative);
        QVERIFY(QFile::link(m_host.path(target), m_host.path(relative)));
    }

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

void VMConfigurationBuilderTest::guestsGetTheirDevices()
{
    using enum GuestOperatingSystem;
    using enum VMBuildMode;
    const QString image = u"virtio image.iso read-only"_s;
    for (const auto &[guestOS, mode, attachesImage, storage] :
         {std::tuple(windows11ARM64, normalBoot, false, QStringList{u"nvme disk.img"_s}),
          {linuxARM64, installation, false, {u"virtio disk.img"_s, image}}, // the configuration's image
          {otherARM64, normalBoot, true, {u"nvme disk.img"_s, image}}}) {
        Bundle bundle;
        bundle.configuration.guestOS = guestOS;
        bundle.configuration.displayWidth = 1366;
        bundle.configuration.displayHeight = 768;
        const auto attached = attachesImage ? std::optional(bundle.image()) : std::nullopt;
        const VZVirtualMachineConfiguration machine = bundle.build(mode, attached);
        QCOMPARE(describe(machine.storageDevices), storage);
        QCOMPARE(machine.cpuCount, qint64(1));
        QCOMPARE(machine.memorySize, quint64(512) << 20);
        QCOMPARE(machine.networkDevices.size(), 1);
        const QList<VZVirtioGraphicsScanoutConfiguration> screens{
            {.widthInPixels = 1366, .heightInPixels = 768}};
        QVERIFY(machine.graphicsDevices.first().scanouts == screens);
        QVERIFY(machine.keyboards.size() == 1 && machine.pointingDevices.size() == 1);

        bundle.configuration.networkMode = VMNetworkMode::disconnected;
        QVERIFY(bundle.build(mode, attached).networkDevices.isEmpty());
    }
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

void VMConfigurationBuilderTest::installationsMakeWhatIsMissing()
{
    Bundle bundle;
    bundle.remove(diskFile);
    bundle.configuration.diskSizeBytes = quint64(64) << 30;
    const VZVirtualMachineConfiguration first =
        VMInstaller().prepareForInstallation(bundle.configuration, bundle.image());
    QCOMPARE(describe(first.storageDevices),
             (QStringList{u"virtio disk.img"_s, u"virtio image.iso read-only"_s}));
    QCOMPARE(QFileInfo(bundle.path(diskFile)).size(), qint64(64) << 30);
    QVERIFY(first == VMInstaller().prepareForInstallation(bundle.configuration, bundle.image()));
}

void VMConfigurationBuilderTest::machinesThatCannotRunAreRefused_data()
{
    using Damage = std::function<void(Bundle &)>;
    QTest::addColumn<Damage>("damage");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char *name, const QString &reason, const Damage &damage) {
        QTest::newRow(name) << damage << reason;
    };
    const QString invalid = u"Virtual machine configuration is invalid. "_s;
    row("too wide", invalid + u"A screen of 6000 × 1080 pixels cannot be shown"_s,
        [](Bundle &bundle) { bundle.configuration.displayWidth = 6000; });
    row("half a mebibyte", invalid + u"The memory size must be a multiple of 1 MB."_s,
        [](Bundle &bundle) { ++bundle.configuration.memorySizeBytes; });
    row("empty disk", u"is empty."_s, [](Bundle &bundle) { bundle.write(diskFile, {}); });
    row("half a sector", u"is not a multiple of 512 bytes."_s,
        [](Bundle &bundle) { bundle.write(diskFile, QByteArray(1000, '\0')); });
    row("disk as its own medium", u"is attached twice."_s,
        [](Bundle &bundle) { bundle.link(diskFile, imageFile); });
    row("disk that is a link", u"“disk.img” is a link."_s,
        [](Bundle &bundle) { bundle.link(imageFile, diskFile); });
    row("variable store that is a link", u" is a link."_s,
        [](Bundle &bundle) { bundle.link(imageFile, bundle.store()); });
    row("short variable store", u"is damaged: it has 5 bytes"_s,
        [](Bundle &bundle) { bundle.write(bundle.store(), "short"); });
    row("identifier that is a pipe", u" is not an ordinary file."_s, [](Bundle &bundle) {
        const QString path = FileUrl::path(bundle.configuration.machineIdentifierURL());
        QCOMPARE(::mkfifo(qPrintable(path), 0600), 0);
    });
    row("medium gone", u"Installation media could not be opened."_s,
        [](Bundle &bundle) { bundle.remove(imageFile); });
    row("folder for a disk", u"Virtual disk could not be attached."_s, [](Bundle &bundle) {
        bundle.remove(diskFile);
        bundle.write(diskFile + u"/x"_s, "x");
    });
    row("nothing to boot", u"At least one storage device is required."_s, [](Bundle &bundle) {
        bundle.remove(diskFile);
        bundle.configuration.installationMediaPath.reset();
    });
}

void VMConfigurationBuilderTest::machinesThatCannotRunAreRefused()
{
    QFETCH(const std::function<void(Bundle &)>, damage);
    QFETCH(const QString, reason);
    Bundle bundle;
    damage(bundle);
    const QString error = errorTextOf([&] { (void)bundle.build(VMBuildMode::installation); });
    QVERIFY2(error.contains(reason), qUtf8Printable(error));
}

KELVO_TEST_MAIN(VMConfigurationBuilderTest)
#include "tst_vmconfigurationbuilder.moc"
