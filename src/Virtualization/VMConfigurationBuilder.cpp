#include "Virtualization/VMConfigurationBuilder.h"

#include "Models/VMConfigurationValidator.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/Hypervisor/VZError.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/BundleFiles.h"
#include "Virtualization/ControlSocket.h"

using namespace Qt::StringLiterals;

namespace {

QString caseName(VMBuildMode mode)
{
    return mode == VMBuildMode::installation ? u"installation"_s : u"normalBoot"_s;
}

VZStorageDeviceConfiguration systemDisk(GuestOperatingSystem guestOS,
                                        const VZDiskImageStorageDeviceAttachment &attachment)
{
    switch (guestOS) {
    case GuestOperatingSystem::linuxARM64:
        return VZVirtioBlockDeviceConfiguration{attachment};
    case GuestOperatingSystem::windows11ARM64:
    case GuestOperatingSystem::otherARM64:
        return VZNVMExpressControllerDeviceConfiguration{attachment};
    }
    Q_UNREACHABLE();
}

void validate(const VZVirtualMachineConfiguration &machine)
{
    try {
        machine.validate();
    } catch (const VZError &error) {
        throw KelvoError::configurationInvalid(error.localizedDescription());
    }
}

} // namespace

VMConfigurationBuilder::VMConfigurationBuilder(const DiskManager &diskManager,
                                               const NetworkManager &networkManager)
    : m_diskManager(diskManager)
    , m_networkManager(networkManager)
{}

VZVirtualMachineConfiguration VMConfigurationBuilder::build(const VMConfiguration &configuration,
                                                            VMBuildMode mode,
                                                            const std::optional<QUrl> &attachISO) const
{
    VMConfigurationValidator::validate(configuration);
    BundleFiles::requireOrdinary({configuration.diskURL(), configuration.machineIdentifierURL(),
                                  configuration.efiVariableStoreURL(), configuration.serialLogURL()},
                                 m_diskManager.fileService().fileManager());

    VZVirtualMachineConfiguration machine;
    machine.controlSocket = ControlSocket::forConfiguration(configuration);
    machine.serialLog = configuration.serialLogURL();
    machine.platform = VZGenericPlatformConfiguration{
        m_diskManager.loadOrCreateMachineIdentifier(configuration.machineIdentifierURL())};
    machine.bootLoader =
        VZEFIBootLoader{m_diskManager.loadOrCreateEFIVariableStore(configuration.efiVariableStoreURL())};
    machine.cpuCount = configuration.cpuCount;
    machine.memorySize = configuration.memorySizeBytes;

    std::optional<QUrl> image = attachISO;
    if (!image && mode == VMBuildMode::installation)
        image = configuration.installationMediaURL();
    machine.storageDevices = storageDevices(configuration, image);
    if (machine.storageDevices.isEmpty())
        throw KelvoError::configurationInvalid(u"At least one storage device is required."_s);

    if (configuration.networkMode == VMNetworkMode::nat)
        machine.networkDevices = {m_networkManager.makeNetworkDevice(configuration.networkMode)};
    const VZVirtioGraphicsScanoutConfiguration screen{configuration.displayWidth,
                                                      configuration.displayHeight};
    machine.graphicsDevices = {VZVirtioGraphicsDeviceConfiguration{{screen}}};
    machine.pointingDevices = {VZUSBScreenCoordinatePointingDeviceConfiguration()};
    machine.keyboards = {VZUSBKeyboardConfiguration()};

    validate(machine);
    DiagnosticLogger::shared().log(
        u"VM configuration validated for %1 (%2)"_s.arg(configuration.name, caseName(mode)), LogLevel::info);
    return machine;
}

VZVirtualMachineConfiguration
VMConfigurationBuilder::describeRunning(const VMConfiguration &configuration) const
{
    FileManager &files = m_diskManager.fileService().fileManager();
    BundleFiles::requireOrdinary({configuration.machineIdentifierURL(), configuration.efiVariableStoreURL()},
                                 files);
    VZVirtualMachineConfiguration machine;
    machine.controlSocket = ControlSocket::forConfiguration(configuration);
    if (const auto identifier = m_diskManager.machineIdentifier(configuration.machineIdentifierURL()))
        machine.platform = VZGenericPlatformConfiguration{*identifier};
    if (files.fileExists(FileUrl::path(configuration.efiVariableStoreURL())))
        machine.bootLoader = VZEFIBootLoader{VZEFIVariableStore(configuration.efiVariableStoreURL())};
    return machine;
}

QList<VZStorageDeviceConfiguration>
VMConfigurationBuilder::storageDevices(const VMConfiguration &configuration,
                                       const std::optional<QUrl> &image) const
{
    const FileManager &files = m_diskManager.fileService().fileManager();
    QList<VZStorageDeviceConfiguration> devices;
    if (files.fileExists(FileUrl::path(configuration.diskURL()))) {
        devices.append(
            systemDisk(configuration.guestOS, m_diskManager.makeAttachment(configuration.diskURL(), false)));
    }
    if (!image)
        return devices;
    if (!files.fileExists(FileUrl::path(*image)))
        throw KelvoError::installationMediaUnavailable();
    devices.append(VZVirtioBlockDeviceConfiguration{m_diskManager.makeAttachment(*image, true)});
    return devices;
}
