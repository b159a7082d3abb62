#include "Platform/FileUrl.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/QEMU/QEMUCommandBuilder.h"
#include "Virtualization/QEMU/QEMURuntimePaths.h"
#include "support/TestMain.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;

class TestQEMUCommandBuilder : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void buildsTheWholeList();
    void attachesMedia_data();
    void attachesMedia();
    void refusesMediaThatDoNotExist();
    void substitutesNumbers_data();
    void substitutesNumbers();
    void keepsNamesAndPathsIntact_data();
    void keepsNamesAndPathsIntact();

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

void TestQEMUCommandBuilder::buildsTheWholeList()
{
    const QStringList expected = uR"(-name
Windows 11
-machine
virt,highmem=on
-cpu
host
-accel
hvf
-smp
4
-m
8192
-drive
if=pflash,format=raw,file=/opt/a,,b/code.fd,readonly=on
-drive
if=pflash,format=raw,file=/vm/Windows 11.vm/uefi_vars.fd
-chardev
socket,id=chrtpm,path=/vm/Windows 11.vm/tpm/swtpm.sock
-tpmdev
emulator,id=tpm0,chardev=chrtpm
-device
tpm-crb-device,tpmdev=tpm0
-device
qemu-xhci
-device
usb-kbd
-device
usb-tablet
-drive
file=/vm/Windows 11.vm/disk.img,format=raw,if=none,id=hd0
-device
virtio-blk-pci,drive=hd0,bootindex=1
-netdev
user,id=net0
-device
virtio-net-pci,netdev=net0
-device
virtio-gpu-pci
-display
vnc=127.0.0.1:1,password=off
-qmp
unix:/vm/Windows 11.vm/qmp.sock,server,nowait
-serial
file:/vm/Windows 11.vm/serial.log)"_s.split(u'\n');
    QCOMPARE(expected.size(), 44);
    QCOMPARE(build(machine()), expected);

    VMConfiguration disconnected = machine();
    disconnected.networkMode = VMNetworkMode::disconnected;
    QCOMPARE(build(disconnected), expected);
}

void TestQEMUCommandBuilder::attachesMedia_data()
{
    QTest::addColumn<VMBuildMode>("mode");
    QTest::addColumn<QString>("configured");
    QTest::addColumn<QString>("attached");
    QTest::addColumn<QString>("drivers");
    QTest::addColumn<QStringList>("added"); // the images' names in the list's order
    QTest::addColumn<QString>("diskBootIndex");

    const auto normal = VMBuildMode::normalBoot;
    const auto installation = VMBuildMode::installation;
    const QStringList none;
    QTest::newRow("boot") << normal << u""_s << u""_s << u""_s << none << u"1"_s;
    QTest::newRow("boot ignores what is configured")
        << normal << u"i.iso"_s << u""_s << u"d.iso"_s << none << u"1"_s;
    QTest::newRow("boot with an image")
        << normal << u""_s << u"a.iso"_s << u"d.iso"_s << QStringList{u"a.iso"_s} << u"2"_s;
    QTest::newRow("install") << installation << u"i.iso"_s << u""_s << u""_s << QStringList{u"i.iso"_s}
                             << u"2"_s;
    QTest::newRow("install another image")
        << installation << u"i.iso"_s << u"a.iso"_s << u""_s << QStringList{u"a.iso"_s} << u"2"_s;
    QTest::newRow("install with drivers")
        << installation << u"i.iso"_s << u""_s << u"d.iso"_s << QStringList{u"i.iso"_s, u"d.iso"_s} << u"2"_s;
    QTest::newRow("install without an image")
        << installation << u""_s << u""_s << u"d.iso"_s << QStringList{u"d.iso"_s} << u"1"_s;
}

void TestQEMUCommandBuilder::attachesMedia()
{
    QFETCH(const VMBuildMode, mode);
    QFETCH(const QString, configured);
    QFETCH(const QString, attached);
    QFETCH(const QString, drivers);
    QFETCH(const QStringList, added);
    QFETCH(const QString, diskBootIndex);

    VMConfiguration configuration = machine();
    if (!configured.isEmpty())
        configuration.installationMediaPath = image(configured);
    if (!drivers.isEmpty())
        configuration.virtioDriversMediaPath = image(drivers);
    const auto attachISO = attached.isEmpty() ? std::nullopt : std::optional(FileUrl::file(image(attached)));

    const QStringList arguments = build(configuration, mode, attachISO);
    QCOMPARE(arguments.value(31), u"virtio-blk-pci,drive=hd0,bootindex="_s + diskBootIndex);
    QStringList expected;
    for (const QString &name : added) {
        const bool isDriver = name == u"d.iso";
        const QString id = isDriver ? u"virtio"_s : u"cd0"_s;
        expected += {u"-drive"_s,
                     u"file="_s + m_folder.filePath(name) + u",format=raw,media=cdrom,if=none,id="_s + id,
                     u"-device"_s, u"usb-storage,drive="_s + id + (isDriver ? u""_s : u",bootindex=1"_s)};
    }
    QCOMPARE(arguments.mid(44), expected);
}

void TestQEMUCommandBuilder::refusesMediaThatDoNotExist()
{
    VMConfiguration configuration = machine();
    configuration.virtioDriversMediaPath = u"/nonexistent/drivers.iso"_s;
    const auto failureOf = [&](VMBuildMode mode) -> QString {
        try {
            (void)build(configuration, mode);
        } catch (const KelvoError &error) {
            return error.localizedDescription();
        }
        return {};
    };
    QCOMPARE(failureOf(VMBuildMode::normalBoot), QString());
    QCOMPARE(failureOf(VMBuildMode::installation),
             u"Virtual machine configuration is invalid. Virtio driver ISO could not be opened."_s);
    configuration.installationMediaPath = u"/nonexistent/install.iso"_s;
    QCOMPARE(failureOf(VMBuildMode::installation), u"Installation media could not be opened."_s);
}

void TestQEMUCommandBuilder::substitutesNumbers_data()
{
    QTest::addColumn<quint64>("memoryBytes");
    QTest::addColumn<qint64>("port");
    QTest::addColumn<QString>("memory");
    QTest::addColumn<QString>("display");
    QTest::newRow("first display") << (quint64(4) << 30) << qint64(5900) << u"4096"_s << u"0"_s;
    QTest::newRow("below the first") << (quint64(4) << 30) << qint64(80) << u"4096"_s << u"0"_s;
    QTest::newRow("rest of a MiB dropped") << (quint64(4) << 30) - 1 << qint64(5905) << u"4095"_s << u"5"_s;
    QTest::newRow("more than 32 bits") << (quint64(1) << 44) << qint64(65535) << u"16777216"_s << u"59635"_s;
}

void TestQEMUCommandBuilder::substitutesNumbers()
{
    VMConfiguration configuration = machine();
    QFETCH(const quint64, memoryBytes);
    QFETCH(const qint64, port);
    QFETCH(const QString, display);
    configuration.memorySizeBytes = memoryBytes;
    configuration.vncPort = port;
    const QStringList arguments = build(configuration);
    QTEST(arguments.at(11), "memory");
    QCOMPARE(arguments.at(39), u"vnc=127.0.0.1:"_s + display + u",password=off"_s);
}

void TestQEMUCommandBuilder::keepsNamesAndPathsIntact_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("nameArgument");
    QTest::newRow("blanks, quotes, umlauts") << u"My \"new\" 'Gerät'"_s << u"My \"new\" 'Gerät'"_s;
    QTest::newRow("commas") << u"Windows, 11,"_s << u"Windows,, 11,,"_s;
    QTest::newRow("equals sign") << u"a=b,c"_s << u"guest=a=b,,c"_s;
}

void TestQEMUCommandBuilder::keepsNamesAndPathsIntact()
{
    QFETCH(const QString, name);
    const QStringList arguments = build(machine(name, u"/vm,s/"_s + name + u".vm"_s));
    QTEST(arguments.at(1), "nameArgument");

    const QString folder = u"/vm,s/"_s + name + u".vm/"_s;
    const QString doubled = QString(folder).replace(u',', u",,"_s);
    QCOMPARE(arguments.at(15), u"if=pflash,format=raw,file="_s + doubled + u"uefi_vars.fd"_s);
    QCOMPARE(arguments.at(17), u"socket,id=chrtpm,path="_s + doubled + u"tpm/swtpm.sock"_s);
    QCOMPARE(arguments.at(29), u"file="_s + doubled + u"disk.img,format=raw,if=none,id=hd0"_s);
    const QString key = name.contains(u'=') ? u"path="_s : QString();
    QCOMPARE(arguments.at(41), u"unix:"_s + key + doubled + u"qmp.sock,server,nowait"_s);
    QCOMPARE(arguments.at(43), u"file:"_s + folder + u"serial.log"_s); // QEMU takes this one as it stands
}

KELVO_TEST_MAIN(TestQEMUCommandBuilder)
#include "tst_qemucommandbuilder.moc"
