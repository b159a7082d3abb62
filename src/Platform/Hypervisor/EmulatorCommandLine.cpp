#include "Platform/Hypervisor/EmulatorCommandLine.h"

#include "Platform/FileUrl.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

/// As JSON, in which a path needs no escaping of the emulator's own kind.
QString blockDevice(const QString &name, const QString &path, bool isReadOnly, const QJsonObject &more = {})
{
    QJsonObject device = more;
    device.insert("node-name"_L1, name);
    device.insert("driver"_L1, "raw"_L1);
    device.insert("read-only"_L1, isReadOnly);
    device.insert("file"_L1,
                  QJsonObject{{"driver"_L1, "file"_L1}, {"filename"_L1, path}, {"read-only"_L1, isReadOnly}});
    return QString::fromUtf8(QJsonDocument(device).toJson(QJsonDocument::Compact));
}

QStringList processor(EmulatorInstallation::Accelerator accelerator)
{
    switch (accelerator) {
    case EmulatorInstallation::Accelerator::kvm:
        return {u"-accel"_s, u"kvm"_s, u"-cpu"_s, u"host"_s};
    case EmulatorInstallation::Accelerator::tcg:
        // Pointer authentication, emulated, makes guests boot two and a half times slower.
        return {u"-accel"_s, u"tcg,thread=multi,tb-size=512"_s, u"-cpu"_s, u"max,pauth=off"_s};
    }
    Q_UNREACHABLE();
}

QStringList firmware(const VZVirtualMachineConfiguration &configuration,
                     const EmulatorInstallation &installation)
{
    const QString store = FileUrl::path(configuration.bootLoader->variableStore->url());
    return {u"-machine"_s,  u"virt,gic-version=max,pflash0=code,pflash1=vars"_s,
            u"-boot"_s,     u"menu=on,splash-time=0"_s,
            u"-blockdev"_s, blockDevice(u"code"_s, installation.firmwareCode, true),
            u"-blockdev"_s, blockDevice(u"vars"_s, store, false)};
}

/// What a guest is given for a disk of its own.
QString diskOptions(const VZStorageDeviceConfiguration &device, const QString &drive, const QString &id)
{
    if (std::holds_alternative<VZNVMExpressControllerDeviceConfiguration>(device))
        return u"nvme,id=%1,drive=%2,serial=%2"_s.arg(id, drive);
    // Where the host's disk is full the guest waits for space; any other failure is told to it.
    return u"virtio-blk-pci,id=%1,drive=%2,werror=enospc,rerror=report"_s.arg(id, drive);
}

/// Installers look for their medium among CD-ROMs and USB sticks, not among a virtual machine's disks.
QStringList cdDevice(const QString &drive, const QString &id, const QString &bootIndex)
{
    return {u"-device"_s, u"usb-bot,id=%1,bus=usb0.0"_s.arg(id), u"-device"_s,
            u"scsi-cd,bus=%1.0,drive=%2"_s.arg(id, drive) + bootIndex};
}

/// After the USB controller, which the media are plugged into.
QStringList storage(const QList<VZStorageDeviceConfiguration> &devices)
{
    QStringList result;
    for (qsizetype index = 0; index < devices.size(); ++index) {
        const VZDiskImageStorageDeviceAttachment &attachment = attachmentOf(devices[index]);
        const bool isMedium = attachment.isReadOnly();
        const QString number = QString::number(index);
        const QString drive = u"disk"_s + number;
        const QString id = u"storage"_s + number;
        const QString bootIndex = u",bootindex="_s + QString::number(index + 1);
        const QJsonObject trimming{{"discard"_L1, "unmap"_L1}, {"detect-zeroes"_L1, "unmap"_L1}};
        result << u"-blockdev"_s
               << blockDevice(drive, FileUrl::path(attachment.url()), isMedium,
                              isMedium ? QJsonObject() : trimming);
        if (isMedium)
            result += cdDevice(drive, id, bootIndex);
        else
            result << u"-device"_s << diskOptions(devices[index], drive, id) + bootIndex;
    }
    return result;
}

QStringList network(const VZVirtualMachineConfiguration &configuration)
{
    if (configuration.networkDevices.isEmpty())
        return {};
    const QString address = configuration.platform->machineIdentifier->macAddress();
    // Without its ROM the firmware does not try the network before the disks.
    return {u"-netdev"_s, u"user,id=net0"_s, u"-device"_s,
            u"virtio-net-pci,netdev=net0,mac=%1,romfile="_s.arg(address)};
}

/// The port is the machine's own.
QStringList serialLine(const VZVirtualMachineConfiguration &configuration)
{
    if (configuration.serialLog.isEmpty())
        return {};
    return {u"-serial"_s, u"file:"_s + FileUrl::path(configuration.serialLog)};
}

QStringList screenAndInput(const VZVirtioGraphicsScanoutConfiguration &screen)
{
    return {u"-device"_s,
            u"virtio-gpu-pci,id=gpu0,xres=%1,yres=%2"_s.arg(screen.widthInPixels).arg(screen.heightInPixels),
            u"-device"_s, u"qemu-xhci,id=usb0"_s, u"-device"_s, u"usb-kbd,bus=usb0.0"_s, u"-device"_s,
            u"usb-tablet,bus=usb0.0"_s,
            // A server without an address: the displays are handed to it one by one.
            u"-display"_s, u"vnc=none,display=gpu0,lock-key-sync=off,key-delay-ms=0"_s};
}

} // namespace

QStringList EmulatorCommandLine::arguments(const VZVirtualMachineConfiguration &configuration,
                                           const EmulatorInstallation &installation,
                                           EmulatorInstallation::Accelerator accelerator,
                                           int controlDescriptor)
{
    const QUuid identity = configuration.platform->machineIdentifier->uuid();
    return QStringList{u"-nodefaults"_s, u"-no-user-config"_s} + firmware(configuration, installation) +
           processor(accelerator) + QStringList{u"-smp"_s,  QString::number(configuration.cpuCount),
                                                u"-m"_s,    QString::number(configuration.memorySize) + u'B',
                                                u"-uuid"_s, identity.toString(QUuid::WithoutBraces)} +
           screenAndInput(configuration.graphicsDevices.first().scanouts.first()) +
           storage(configuration.storageDevices) + network(configuration) + serialLine(configuration) +
           QStringList{u"-chardev"_s, u"socket,id=qmp,fd=%1,server=on,wait=off"_s.arg(controlDescriptor),
                       u"-mon"_s, u"chardev=qmp,mode=control"_s, u"-S"_s};
}
