#include "Virtualization/QEMU/QEMUCommandBuilder.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Virtualization/Backend/KelvoError.h"

using namespace Qt::StringLiterals;

namespace {

/// QEMU separates the parts of an option by commas; a doubled one stands for itself.
QString escaped(QString text)
{
    return text.replace(u',', u",,"_s);
}

QString escapedPath(const QUrl &url)
{
    return escaped(FileUrl::path(url));
}

/// An option's first value, whose key may be left out. An equals sign in the value would then end such a key.
QString firstValue(const QString &key, const QString &value)
{
    return (value.contains(u'=') ? key + u'=' : QString()) + escaped(value);
}

std::optional<QUrl> installImage(const VMConfiguration &configuration, VMBuildMode mode,
                                 const std::optional<QUrl> &attachISO)
{
    if (attachISO)
        return attachISO;
    if (mode == VMBuildMode::installation)
        return configuration.installationMediaURL();
    return std::nullopt;
}

} // namespace

QEMUCommandBuilder::QEMUCommandBuilder(const QEMUDependencies &dependencies)
    : QEMUCommandBuilder(dependencies, FileManager::defaultManager())
{}

QEMUCommandBuilder::QEMUCommandBuilder(const QEMUDependencies &dependencies, const FileManager &fileManager)
    : m_dependencies(dependencies)
    , m_fileManager(&fileManager)
{}

QStringList QEMUCommandBuilder::buildArguments(const VMConfiguration &configuration, VMBuildMode mode,
                                               const std::optional<QUrl> &attachISO, const QUrl &uefiVarsPath,
                                               const QUrl &tpmSocketPath, const QUrl &qmpSocketPath) const
{
    const std::optional<QUrl> image = installImage(configuration, mode, attachISO);
    const int diskBootIndex = image ? 2 : 1;
    const quint64 memoryMebibytes = configuration.memorySizeBytes >> 20;

    // clang-format off
    QStringList arguments = {
        u"-name"_s, firstValue(u"guest"_s, configuration.name),
        u"-machine"_s, u"virt,highmem=on"_s,
        u"-cpu"_s, u"host"_s,
        u"-accel"_s, u"hvf"_s,
        u"-smp"_s, QString::number(configuration.cpuCount),
        u"-m"_s, QString::number(memoryMebibytes),
        u"-drive"_s, u"if=pflash,format=raw,file="_s + escapedPath(m_dependencies.uefiCode) + u",readonly=on"_s,
        u"-drive"_s, u"if=pflash,format=raw,file="_s + escapedPath(uefiVarsPath),
        u"-chardev"_s, u"socket,id=chrtpm,path="_s + escapedPath(tpmSocketPath),
        u"-tpmdev"_s, u"emulator,id=tpm0,chardev=chrtpm"_s,
        u"-device"_s, u"tpm-crb-device,tpmdev=tpm0"_s,
        u"-device"_s, u"qemu-xhci"_s,
        u"-device"_s, u"usb-kbd"_s,
        u"-device"_s, u"usb-tablet"_s,
        u"-drive"_s, u"file="_s + escapedPath(configuration.diskURL()) + u",format=raw,if=none,id=hd0"_s,
        u"-device"_s, u"virtio-blk-pci,drive=hd0,bootindex="_s + QString::number(diskBootIndex),
        u"-netdev"_s, u"user,id=net0"_s,
        u"-device"_s, u"virtio-net-pci,netdev=net0"_s,
        u"-device"_s, u"virtio-gpu-pci"_s,
        u"-display"_s, u"vnc=127.0.0.1:"_s + QString::number(configuration.vncDisplayNumber()) + u",password=off"_s,
        u"-qmp"_s, u"unix:"_s + firstValue(u"path"_s, FileUrl::path(qmpSocketPath)) + u",server,nowait"_s,
        // The one path that is not part of an option list: all after the colon is the file's name.
        u"-serial"_s, u"file:"_s + FileUrl::path(configuration.serialLogURL()),
    };
    // clang-format on

    if (image) {
        if (!exists(*image))
            throw KelvoError::installationMediaUnavailable();
        arguments +=
            {u"-drive"_s, u"file="_s + escapedPath(*image) + u",format=raw,media=cdrom,if=none,id=cd0"_s,
             u"-device"_s, u"usb-storage,drive=cd0,bootindex=1"_s};
    }
    const std::optional<QUrl> drivers = configuration.virtioDriversMediaURL();
    if (mode == VMBuildMode::installation && drivers) {
        if (!exists(*drivers))
            throw KelvoError::configurationInvalid(u"Virtio driver ISO could not be opened."_s);
        arguments +=
            {u"-drive"_s, u"file="_s + escapedPath(*drivers) + u",format=raw,media=cdrom,if=none,id=virtio"_s,
             u"-device"_s, u"usb-storage,drive=virtio"_s};
    }
    return arguments;
}

bool QEMUCommandBuilder::exists(const QUrl &url) const
{
    return m_fileManager->fileExists(FileUrl::path(url));
}
