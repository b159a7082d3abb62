#include "Virtualization/VMManager.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/Hypervisor/VZVirtualMachine.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/Backend/VMBackendController.h"
#include "Virtualization/Backend/VMBackendFactory.h"
#include "Virtualization/ControlSocket.h"
#include "Virtualization/QEMU/QEMURuntimePaths.h"

#include <QSet>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

VMPersistedMetadata metadataOrFresh(const VMStorage &storage, const QUrl &bundle)
{
    try {
        return storage.loadMetadata(bundle);
    } catch (const LocalizedError &) {
        return {}; // a machine is worth more than the record of its use
    }
}

} // namespace

VMManager::VMManager(const Collaborators &collaborators, QObject *parent)
    : QObject(parent)
    , m_library(collaborators.storage)
    , m_guestWatch(collaborators.sharedFolder)
    , m_diskManager(collaborators.diskManager)
    , m_installer(collaborators.installer)
    , m_qemuDependencyService(collaborators.qemuDependencyService)
    , m_makeController(collaborators.makeController)
    , m_systemCapabilities(collaborators.systemInfoService.currentCapabilities())
    , m_shutDownTimeout(collaborators.shutDownTimeout)
{
    connect(&m_guestWatch, &GuestWatch::timeToLook, this, &VMManager::look);
}

VMManager::~VMManager()
{
    // A controller may settle a waiting operation as it goes, and that still reaches machines and tables.
    m_controllers.clear();
}

VMManager::Collaborators VMManager::defaultCollaborators()
{
    ControlSocket::makeSharedFolder();
    return {
        .storage = VMStorage(VMConfiguration::defaultStorageRoot(), FileManager::defaultManager()),
        .diskManager = DiskManager(),
        .installer = VMInstaller(),
        .systemInfoService = SystemInfoService(),
        .qemuDependencyService = QEMUDependencyService(),
        .makeController = &VMBackendFactory::makeController,
        .sharedFolder = ControlSocket::sharedFolder(),
    };
}

VirtualMachine *VMManager::virtualMachine(const QUuid &id) const
{
    const auto found = std::ranges::find(m_virtualMachines, id, &VirtualMachine::id);
    return found == m_virtualMachines.end() ? nullptr : *found;
}

VirtualMachine *VMManager::makeVirtualMachine(const VMConfiguration &configuration,
                                              const VMPersistedMetadata &metadata)
{
    m_metadataByVMID.insert(configuration.id, metadata);
    m_unsavedMetadata.remove(configuration.id);
    auto *vm = new VirtualMachine(configuration, VMState::poweredOff, metadata.installationState, this);
    refreshDiskUsage(*vm);
    return vm;
}

/// What a document says, and what this host makes of it.
VMConfiguration VMManager::stored(VMConfiguration configuration)
{
    if (configuration.guestOS == GuestOperatingSystem::windows11ARM64)
        configuration.backend = VMBackendType::qemuHVF;
    return configuration;
}

VirtualMachine *VMManager::makeStoredMachine(const VMConfiguration &configuration)
{
    return makeVirtualMachine(stored(configuration),
                              metadataOrFresh(m_library.storage(), configuration.storageDirectory));
}

QCoro::Task<> VMManager::loadVirtualMachines()
{
    QList<VirtualMachine *> kept = m_virtualMachines;
    kept.removeIf([this](VirtualMachine *vm) { return !isInUse(*vm); });
    QList<VMConfiguration> configurations;
    try {
        configurations = m_library.readAll(kept);
    } catch (const LocalizedError &error) {
        DiagnosticLogger::shared().log(u"Failed to load VMs: "_s + error.localizedDescription(),
                                       LogLevel::error);
        co_return;
    }

    QSet<qint64> ports;
    for (const VMConfiguration &configuration : std::as_const(configurations))
        if (!m_library.isUnsavedCopy(configuration))
            ports.insert(configuration.vncPort);
    QList<VirtualMachine *> loaded = kept;
    loaded.reserve(kept.size() + configurations.size());
    for (VMConfiguration &configuration : configurations) {
        if (kept.contains(virtualMachine(configuration.id)))
            continue; // it was moved while it is in use
        if (m_library.isUnsavedCopy(configuration))
            avoidVNCPorts(ports, configuration);
        ports.insert(configuration.vncPort);
        loaded.append(makeStoredMachine(configuration));
    }
    const QList<VirtualMachine *> replaced = std::exchange(m_virtualMachines, loaded);
    Q_EMIT virtualMachinesChanged();
    for (VirtualMachine *vm : replaced)
        if (!kept.contains(vm))
            vm->deleteLater();
    DiagnosticLogger::shared().log(u"Loaded %1 virtual machine(s)"_s.arg(loaded.size()), LogLevel::info);
    lookForGuests();
}

VirtualMachine *VMManager::openBundle(const QUrl &bundle)
{
    const QString place = BundleLibrary::placeOf(bundle);
    for (VirtualMachine *vm : std::as_const(m_virtualMachines))
        if (!place.isEmpty() && BundleLibrary::placeOf(vm->configuration().storageDirectory) == place)
            return vm;
    const qsizetype countBefore = m_virtualMachines.size();
    VirtualMachine *vm = takeIn(m_library.read(bundle, m_virtualMachines));
    if (m_virtualMachines.size() > countBefore)
        Q_EMIT virtualMachinesChanged();
    lookForGuests();
    return vm;
}

void VMManager::listNewBundles()
{
    const qsizetype countBefore = m_virtualMachines.size();
    try {
        for (const VMConfiguration &configuration : m_library.readNew(m_virtualMachines))
            takeIn(configuration);
    } catch (const LocalizedError &) {
        return; // the list was good before
    }
    if (m_virtualMachines.size() > countBefore)
        Q_EMIT virtualMachinesChanged();
}

/// Appends a machine that was found, unless it is a listed one that was moved.
VirtualMachine *VMManager::takeIn(VMConfiguration configuration)
{
    if (VirtualMachine *moved = virtualMachine(configuration.id)) {
        if (!isInUse(*moved))
            moved->setConfiguration(stored(configuration));
        return moved;
    }
    if (m_library.isUnsavedCopy(configuration))
        avoidVNCPorts(knownPorts(), configuration);
    VirtualMachine *vm = makeStoredMachine(configuration);
    m_virtualMachines.append(vm);
    return vm;
}

void VMManager::takeOverChanges(VirtualMachine &vm)
{
    if (isInUse(vm) || (vm.state() != VMState::poweredOff && vm.state() != VMState::error))
        return;
    try {
        if (const std::optional<VMConfiguration> changed = m_library.readChanges(vm.configuration()))
            vm.setConfiguration(stored(*changed));
        if (m_unsavedMetadata.contains(vm.id()))
            return;
        const VMPersistedMetadata metadata =
            m_library.storage().loadMetadata(vm.configuration().storageDirectory);
        if (std::exchange(m_metadataByVMID[vm.id()], metadata) != metadata)
            vm.setInstallationState(metadata.installationState);
    } catch (const LocalizedError &) {
        // A machine stays as it is known until its documents can be read again; a start or a save says why
        // not.
    }
}

QCoro::Task<VirtualMachine *> VMManager::createVirtualMachine(VMConfiguration configuration)
{
    configuration.backend = recommendedBackend(configuration.guestOS);
    validateBackendAvailability(configuration);
    VMConfigurationValidator::validate(configuration);
    if (configuration.backend == VMBackendType::qemuHVF)
        QEMURuntimePaths::forConfiguration(configuration).requireAddressableSockets();
    m_library.requireFreeFolder(configuration.storageDirectory);
    avoidVNCPorts(knownPorts(), configuration);
    m_library.storage().ensureRootDirectory();
    m_diskManager.createDisk(configuration.diskURL(), configuration.diskSizeBytes);
    if (configuration.backend == VMBackendType::appleVirtualization) {
        (void)m_diskManager.loadOrCreateEFIVariableStore(configuration.efiVariableStoreURL());
        (void)m_diskManager.loadOrCreateMachineIdentifier(configuration.machineIdentifierURL());
    }

    VMPersistedMetadata metadata;
    metadata.installationState =
        configuration.installationMediaURL() ? VMInstallationState::ready : VMInstallationState::notStarted;
    m_library.write(configuration, metadata);

    VirtualMachine *vm = makeVirtualMachine(configuration, metadata);
    m_virtualMachines.append(vm);
    Q_EMIT virtualMachinesChanged();
    const QString message =
        u"VM created: "_s + configuration.name + u" ["_s + displayName(configuration.backend) + u']';
    DiagnosticLogger::shared().log(message, LogLevel::info);
    co_return vm;
}

QSet<qint64> VMManager::knownPorts() const
{
    QSet<qint64> ports;
    for (const VirtualMachine *vm : m_virtualMachines)
        ports.insert(vm->configuration().vncPort);
    return ports;
}

void VMManager::avoidVNCPorts(const QSet<qint64> &known, VMConfiguration &configuration)
{
    constexpr qsizetype portCount = 100;
    const auto isDefault = [](qint64 port) {
        return port > 5900 && port <= 5900 + portCount;
    };
    if (std::ranges::count_if(known, isDefault) == portCount)
        return;
    while (known.contains(configuration.vncPort)) {
        configuration.id = QUuid::createUuidV5(configuration.id, u"another port"_s);
        configuration.vncPort = VMConfiguration::defaultVNCPort(configuration.id);
    }
}

void VMManager::saveConfiguration(VirtualMachine &vm)
{
    m_library.save(vm.configuration(), m_metadataByVMID.value(vm.id()));
}

void VMManager::refreshDiskUsage(VirtualMachine &vm)
{
    try {
        const VMConfiguration &configuration = vm.configuration();
        const DiskInfo info = m_diskManager.diskInfo(configuration.diskURL(), configuration.diskSizeBytes);
        vm.setActualDiskUsageBytes(info.actualUsageBytes);
    } catch (const LocalizedError &) {
        // An image that cannot be measured keeps the figure that was known.
    }
}

VMBackendController &VMManager::controller(const VirtualMachine &vm)
{
    std::unique_ptr<VMBackendController> &controller = m_controllers[vm.id()];
    if (!controller) {
        controller = m_makeController(vm.configuration().backend);
        controller->onUnaskedChange(
            [this, id = vm.id()](const QString &reason) { noteUnaskedChange(id, reason); });
    }
    return *controller;
}

void VMManager::validateBackendAvailability(const VMConfiguration &configuration) const
{
    switch (configuration.backend) {
    case VMBackendType::appleVirtualization:
        if (!VZVirtualMachine::isSupported())
            throw KelvoError::virtualizationUnavailable();
        return;
    case VMBackendType::qemuHVF:
        const QEMUDependencyStatus status = m_qemuDependencyService.status();
        if (!status.isReady())
            throw KelvoError::qemuDependenciesMissing(status.missingComponents.join(u", "));
        return;
    }
}

void VMManager::updateMetadata(const VirtualMachine &vm,
                               const std::function<void(VMPersistedMetadata &)> &change)
{
    VMPersistedMetadata &metadata = m_metadataByVMID[vm.id()];
    change(metadata);
    m_unsavedMetadata.insert(vm.id());
    m_library.saveMetadata(vm.configuration(), metadata);
    m_unsavedMetadata.remove(vm.id());
}

void VMManager::setActive(VMBackendController *controller, const std::optional<QUuid> &id)
{
    m_activeController = controller;
    if (m_activeVMID == id)
        return;
    m_activeVMID = id;
    Q_EMIT activeVMIDChanged();
}
