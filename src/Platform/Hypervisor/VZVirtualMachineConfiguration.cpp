#include "Platform/Hypervisor/VZVirtualMachineConfiguration.h"

#include "Platform/BinaryUnits.h"
#include "Platform/Emulator/KVMProbe.h"
#include "Platform/FileUrl.h"
#include "Platform/HostFacts.h"
#include "Platform/Hypervisor/VZError.h"
#include "Platform/UnixSocket.h"

#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 sectorBytes = 512;

void require(bool condition, const QString &otherwise)
{
    if (!condition)
        throw VZError(otherwise);
}

void requireProcessorsAndMemory(const VZVirtualMachineConfiguration &configuration)
{
    using Limits = VZVirtualMachineConfiguration;
    const qint64 leastCPUs = Limits::minimumAllowedCPUCount();
    const qint64 mostCPUs = Limits::maximumAllowedCPUCount();
    require(configuration.cpuCount >= leastCPUs && configuration.cpuCount <= mostCPUs,
            u"This host can give a guest %1 to %2 processors."_s.arg(leastCPUs).arg(mostCPUs));
    const quint64 leastBytes = Limits::minimumAllowedMemorySize();
    const quint64 mostBytes = Limits::maximumAllowedMemorySize();
    require(configuration.memorySize >= leastBytes && configuration.memorySize <= mostBytes,
            u"This host can give a guest %1 to %2 MB of memory."_s.arg(leastBytes / mebibyte)
                .arg(mostBytes / mebibyte));
    require(configuration.memorySize % mebibyte == 0, u"The memory size must be a multiple of 1 MB."_s);
}

void requireVariableStore(const VZEFIVariableStore &store)
{
    const QString path = FileUrl::path(store.url());
    const QByteArray name = QFile::encodeName(path);
    struct stat file
    {};
    require(::stat(name.constData(), &file) == 0 && S_ISREG(file.st_mode),
            u"The EFI variable store “%1” is missing."_s.arg(path));
    require(::access(name.constData(), R_OK | W_OK) == 0,
            u"The EFI variable store “%1” cannot be read and written."_s.arg(path));
    require(static_cast<quint64>(file.st_size) == VZEFIVariableStore::sizeBytes,
            u"The EFI variable store “%1” is damaged: it has %2 bytes instead of %3."_s.arg(path)
                .arg(file.st_size)
                .arg(VZEFIVariableStore::sizeBytes));
}

void requireUsableStorage(const QList<VZStorageDeviceConfiguration> &devices)
{
    struct Image
    {
        dev_t device;
        ino_t number;
        bool isReadOnly;
    };
    std::vector<Image> known;
    require(!devices.isEmpty(), u"At least one storage device is required."_s);
    for (const VZStorageDeviceConfiguration &device : devices) {
        // Made anew: the file may have changed since the attachment was made.
        const VZDiskImageStorageDeviceAttachment attachment(attachmentOf(device).url(),
                                                            attachmentOf(device).isReadOnly());
        const QString path = FileUrl::path(attachment.url());
        struct stat file
        {};
        require(::stat(QFile::encodeName(path).constData(), &file) == 0,
                u"The disk image “%1” does not exist."_s.arg(path));
        require(file.st_size > 0, u"The disk image “%1” is empty."_s.arg(path));
        require(
            file.st_size % sectorBytes == 0,
            u"The size of the disk image “%1” is not a multiple of %2 bytes."_s.arg(path).arg(sectorBytes));
        const bool clashes = std::ranges::any_of(known, [&](const Image &image) {
            return image.device == file.st_dev && image.number == file.st_ino &&
                   !(image.isReadOnly && attachment.isReadOnly());
        });
        require(!clashes, u"The disk image “%1” is attached twice."_s.arg(path));
        known.push_back({file.st_dev, file.st_ino, attachment.isReadOnly()});
    }
}

} // namespace

qint64 VZVirtualMachineConfiguration::minimumAllowedCPUCount()
{
    return 1;
}

qint64 VZVirtualMachineConfiguration::maximumAllowedCPUCount()
{
    return std::clamp<qint64>(HostFacts::current().processorCount(), minimumAllowedCPUCount(),
                              hostKVM().maximumProcessors());
}

quint64 VZVirtualMachineConfiguration::minimumAllowedMemorySize()
{
    return 512 * mebibyte;
}

quint64 VZVirtualMachineConfiguration::maximumAllowedMemorySize()
{
    const quint64 physical = HostFacts::current().physicalMemoryBytes();
    const quint64 usable = physical > gibibyte ? (physical - gibibyte) / mebibyte * mebibyte : 0;
    return std::max(minimumAllowedMemorySize(), usable);
}

VZVirtioGraphicsScanoutConfiguration
VZVirtualMachineConfiguration::maximumScanout(const std::optional<EmulatorInstallation::Version> &emulator)
{
    const bool isOld = emulator && *emulator < EmulatorInstallation::Version{9, 1};
    return isOld ? VZVirtioGraphicsScanoutConfiguration{2560, 2048}
                 : VZVirtioGraphicsScanoutConfiguration{5120, 2160};
}

void VZVirtualMachineConfiguration::validateScreen(const VZVirtioGraphicsScanoutConfiguration &screen)
{
    const auto isAtMost = [&screen](const VZVirtioGraphicsScanoutConfiguration &maximum) {
        return screen.widthInPixels <= maximum.widthInPixels &&
               screen.heightInPixels <= maximum.heightInPixels;
    };
    VZVirtioGraphicsScanoutConfiguration maximum = maximumScanout(EmulatorInstallation::Version{});
    if (!isAtMost(maximum)) // nobody has to ask the emulator about a usual one
        maximum = maximumScanout(EmulatorInstallation::version());
    const QString size = u"%1 × %2"_s;
    require(screen.widthInPixels >= minimumScanout.widthInPixels &&
                screen.heightInPixels >= minimumScanout.heightInPixels && isAtMost(maximum),
            u"A screen of %1 pixels cannot be shown: it must have %2 to %3."_s.arg(
                size.arg(screen.widthInPixels).arg(screen.heightInPixels),
                size.arg(minimumScanout.widthInPixels).arg(minimumScanout.heightInPixels),
                size.arg(maximum.widthInPixels).arg(maximum.heightInPixels)));
}

void VZVirtualMachineConfiguration::validate() const
{
    requireProcessorsAndMemory(*this);
    require(platform && platform->machineIdentifier, u"The machine has no identifier."_s);
    require(bootLoader && bootLoader->variableStore, u"The machine has no EFI variable store."_s);
    requireVariableStore(*bootLoader->variableStore);
    requireUsableStorage(storageDevices);
    require(networkDevices.size() <= 1, u"A guest has at most one network device."_s);
    require(networkDevices.isEmpty() || networkDevices.first().attachment,
            u"The network device is attached to nothing."_s);
    require(graphicsDevices.size() == 1 && graphicsDevices.first().scanouts.size() == 1,
            u"A guest has exactly one screen."_s);
    validateScreen(graphicsDevices.first().scanouts.first());
    require(pointingDevices.size() == 1 && keyboards.size() == 1,
            u"A guest has exactly one keyboard and one pointing device."_s);
    const QString socket = FileUrl::path(controlSocket);
    require(!socket.isEmpty() && UnixSocket::fitsAddress(socket),
            u"The path of the control socket “%1” is longer than %2 bytes."_s.arg(socket).arg(
                UnixSocket::maximumPathBytes));
}
