#include "Platform/FileUrl.h"
#include "Virtualization/QEMU/QEMUCommandBuilder.h"
#include "Virtualization/QEMU/QEMURuntimePaths.h"
#include "support/Expectations.h"
#include "support/TestMain.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;

class TestQEMUCommandBuilder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void buildsTheWholeList_data();
    void buildsTheWholeList();
    void attachesMedia();
    void refusesMediaThatDoNotExist();

private:
    [[nodiscard]] QString image(const QString &name) const;

    QTemporaryDir m_folder;
};

namespace {

VMConfiguration machine(const QString &name = u"Windows 11"_s, const QString &folder = u"/vm/Windows 11.vm"_s)
{
    VMConfiguration configuration =
        VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::windows11ARM64);
    configuration.storageDirectory = FileUrl::directory(folder);
    configuration.vncPort = 5901;
    return configuration;
}

QStringList build(const VMConfiguration &configuration, VMBuildMode mode = VMBuildMode::normalBoot,
                  const std::optional<QUrl> &attachISO = std::nullopt)
{
    QEMUDependencies dependencies;
    dependencies.uefiCode = FileUrl::file(u"/opt/a,b/code.fd"_s);
    const QEMURuntimePaths paths = QEMURuntimePaths::forConfiguration(configuration);
    return QEMUCommandBuilder(dependencies)
        .buildArguments(configuration, mode, attachISO, paths.uefiVars, paths.tpmSocket, paths.qmpSocket);
}

} // namespace

QString TestQEMUCommandBuilder::image(const QString &name) const
{
    QFile file(m_folder.filePath(name));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(file.fileName()));
    return file.fileName();
}

void TestQEMUCommandBuilder::buildsTheWholeList_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("nameArgument");
    QTest::addColumn<QString>("controlKey");
    QTest::newRow("plain") << u"Windows 11"_s << u"/vm/My \"new\" 'Gerät'.vm"_s << u"Windows 11"_s
                           << QString();
    QTest::newRow("commas") << u"Windows, 11,"_s << u"/v,m/Windows, 11,.vm"_s << u"Windows,, 11,,"_s
                            << QString();
    QTest::newRow("equals sign") << u"a=b,c"_s << u"/vm/a=b,c.vm"_s << u"guest=a=b,,c"_s << u"path="_s;
}

void TestQEMUCommandBuilder::buildsTheWholeList()
{
    QFETCH(const QString, name);
    QFETCH(const QString, folder);
    QFETCH(const QString, nameArgument);
    QFETCH(const QString, controlKey);
    // NAME and FOLDER are doubled at their commas; QEMU takes the serial log's path as it stands.
    const QString expected = uR"(-name NAME
-machine virt,highmem=on
-cpu host
-accel hvf
-smp 4
-m 8192
-drive if=pflash,format=raw,file=/opt/a,,b/code.fd,readonly=on
-drive if=pflash,format=raw,file=FOLDER/uefi_vars.fd
-chardev socket,id=chrtpm,path=FOLDER/tpm/swtpm.sock
-tpmdev emulator,id=tpm0,chardev=chrtpm
-device tpm-crb-device,tpmdev=tpm0
-device qemu-xhci
-device usb-kbd
-device usb-tablet
-drive file=FOLDER/disk.img,format=raw,if=none,id=hd0
-device virtio-blk-pci,drive=hd0,bootindex=1
-netdev user,id=net0
-device virtio-net-pci,netdev=net0
-device virtio-gpu-pci
-display vnc=127.0.0.1:1,password=off
-qmp unix:KEYFOLDER/qmp.sock,server,nowait
-serial file:)"_s.replace(u"NAME"_s, nameArgument)
                                 .replace(u"KEY"_s, controlKey)
                                 .replace(u"FOLDER"_s, QString(folder).replace(u',', u",,"_s)) +
                             folder + u"/serial.log"_s;
    QStringList arguments = build(machine(name, folder));
    QCOMPARE(arguments.size(), 44);
    for (int option = 0; option < 22; ++option)
        arguments[option] += u' ' + arguments.takeAt(option + 1);
    QCOMPARE(arguments, expected.split(u'\n'));
}

void TestQEMUCommandBuilder::attachesMedia()
{
    struct Case
    {
        VMBuildMode mode;
        QString configured;
        QString attached;
        QString drivers;
        QStringList added; ///< in the list's order
        int diskBootIndex;
    };
    using enum VMBuildMode;
    const QString i = u"i.iso"_s;
    const QString a = u"a.iso"_s;
    const QString d = u"d.iso"_s;
    for (const auto &[mode, configured, attached, drivers, added, diskBootIndex] :
         {Case{normalBoot, i, {}, d, {}, 1},
          {normalBoot, {}, a, d, {a}, 2},
          {installation, i, {}, {}, {i}, 2},
          {installation, i, a, {}, {a}, 2},
          {installation, i, {}, d, {i, d}, 2},
          {installation, {}, {}, d, {d}, 1}}) {
        VMConfiguration configuration = machine();
        if (!configured.isEmpty())
            configuration.installationMediaPath = image(configured);
        if (!drivers.isEmpty())
            configuration.virtioDriversMediaPath = image(drivers);
        const auto attachISO =
            attached.isEmpty() ? std::nullopt : std::optional(FileUrl::file(image(attached)));

        const QStringList arguments = build(configuration, mode, attachISO);
        QCOMPARE(arguments.value(31), u"virtio-blk-pci,drive=hd0,bootindex=%1"_s.arg(diskBootIndex));
        QStringList expected;
        for (const QString &name : added) {
            const QString id = name == d ? u"virtio"_s : u"cd0"_s;
            expected +=
                {u"-drive"_s,
                 u"file="_s + m_folder.filePath(name) + u",format=raw,media=cdrom,if=none,id="_s + id,
                 u"-device"_s, u"usb-storage,drive="_s + id + (name == d ? u""_s : u",bootindex=1"_s)};
        }
        QCOMPARE(arguments.mid(44), expected);
    }
}

void TestQEMUCommandBuilder::refusesMediaThatDoNotExist()
{
    VMConfiguration configuration = machine();
    configuration.virtioDriversMediaPath = u"/nonexistent/drivers.iso"_s;
    const auto failureOf = [&](VMBuildMode mode) {
        return errorTextOf([&] { (void)build(configuration, mode); });
    };
    QCOMPARE(failureOf(VMBuildMode::normalBoot), QString());
    QCOMPARE(failureOf(VMBuildMode::installation),
             u"Virtual machine configuration is invalid. Virtio driver ISO could not be opened."_s);
    configuration.installationMediaPath = u"/nonexistent/install.iso"_s;
    QCOMPARE(failureOf(VMBuildMode::installation), u"Installation media could not be opened."_s);
}

KELVO_TEST_MAIN(TestQEMUCommandBuilder)
#include "tst_qemucommandbuilder.moc"
