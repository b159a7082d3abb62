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
    const QString file = disk + u".nsh"_s;
    FileManager::defaultManager().writeAtomically(file, script.toUtf8());
    QCOMPARE(QProcess::execute(u"mformat"_s, {u"-i"_s, disk, u"-F"_s, u"::"_s}), 0);
    QCOMPARE(QProcess::execute(u"mcopy"_s, {u"-i"_s, disk, file, u"::/startup.nsh"_s}), 0);
}
