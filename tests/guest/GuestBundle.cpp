#include "guest/GuestBundle.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"

#include <QProcess>
#include <QtTest>

using namespace Qt::StringLiterals;

GuestBundle::GuestBundle(const QString &script)
{
    const QString disk = m_folder.filePath(u"disk, no. 1.img"_s);
    FileManager::defaultManager().createFile(disk);
    FileManager::defaultManager().truncateFile(disk, quint64(64) << 20);
    if (!script.isEmpty())
        addScript(disk, script);
    const VZEFIVariableStore store =
        VZEFIVariableStore::creatingVariableStore(FileUrl::file(m_folder.filePath(u"variables"_s)));
    configuration.cpuCount = 1;
    configuration.memorySize = quint64(512) << 20;
    configuration.platform = VZGenericPlatformConfiguration{VZGenericMachineIdentifier()};
    configuration.bootLoader = VZEFIBootLoader{store};
    configuration.storageDevices = {
        VZVirtioBlockDeviceConfiguration{VZDiskImageStorageDeviceAttachment(FileUrl::file(disk), false)}};
    configuration.networkDevices = {VZVirtioNetworkDeviceConfiguration{VZNATNetworkDeviceAttachment()}};
    configuration.graphicsDevices = {VZVirtioGraphicsDeviceConfiguration{{{1280, 800}}}};
    configuration.pointingDevices = {VZUSBScreenCoordinatePointingDeviceConfiguration()};
    configuration.keyboards = {VZUSBKeyboardConfiguration()};
    configuration.controlSocket = FileUrl::file(m_folder.filePath(u"control.sock"_s));
}

void GuestBundle::addScript(const QString &disk, const QString &script)
{
    QCOMPARE(QProcess::execute(u"mformat"_s, {u"-i"_s, disk, u"-F"_s, u"::"_s}), 0);
    addFile(disk, u"startup.nsh"_s, script.toUtf8());
}

void GuestBundle::addFile(const QString &disk, const QString &name, const QByteArray &bytes)
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(name);
    FileManager::defaultManager().writeAtomically(file, bytes);
    QCOMPARE(QProcess::execute(u"mcopy"_s, {u"-i"_s, disk, file, u"::/"_s + name}), 0);
}

const QString SmallFileSystem::fillingScript =
    u"fs0:\r\nfor %a run (1 12)\r\ncp large %a\r\nendfor\r\nreset -s\r\n"_s;

SmallFileSystem::SmallFileSystem()
{
    const QStringList arguments = {u"-t"_s, u"tmpfs"_s, u"-o"_s, u"size=6m"_s, u"kelvo"_s, m_place.path()};
    QCOMPARE(QProcess::execute(u"mount"_s, arguments), 0);
    qputenv("TMPDIR", QFile::encodeName(m_place.path()));
}

SmallFileSystem::~SmallFileSystem()
{
    qunsetenv("TMPDIR");
    QProcess::execute(u"umount"_s, {m_place.path()});
}

void SmallFileSystem::grow() const
{
    QCOMPARE(QProcess::execute(u"mount"_s, {u"-o"_s, u"remount,size=40m"_s, m_place.path()}), 0);
}

void SmallFileSystem::addLargeFile(const QString &disk)
{
    GuestBundle::addFile(disk, u"large"_s, QByteArray(1 << 20, 'x'));
}
