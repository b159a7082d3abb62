#include "Virtualization/VMManager.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/Hypervisor/VZVirtualMachine.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/Backend/VMBackendController.h"
#include "Virtualization/Backend/VMBackendFactory.h"

#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <chrono>
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

/// False where a bundle may still be getting its document.
bool hasSettled(const FileManager::Version &root)
{
    constexpr std::chrono::minutes enough{1};
    const std::chrono::nanoseconds changed(root.nanoseconds);
    return std::chrono::system_clock::now().time_since_epoch() - changed > enough;
}

/// Empty for a folder that does not exist.
QString placeOf(const QUrl &bundle)
{
    return QFileInfo(FileUrl::path(bundle)).canonicalFilePath();
}

} // namespace

VMManager::VMManager(const Collaborators &collaborators, QObject *parent)
    : QObject(parent)
    , m_storage(collaborators.storage)
    , m_diskManager(collaborators.diskManager)
    , m_installer(collaborators.installer)
    , m_qemuDependencyService(collaborators.qemuDependencyService)
    , m_makeController(collaborators.makeController)
    , m_systemCapabilities(collaborators.systemInfoService.currentCapabilities())
{}

VMManager::~VMManager()
{
    // A controller may settle a waiting operation as it goes, and that still reaches machines and tables.
    m_controllers.clear();
}

VMManager::Collaborators VMManager::defaultCollaborators()
{
    return {
        .storage = VMStorage(VMConfiguration::defaultStorageRoot(), FileManager::defaultManager()),
        .diskManager = DiskManager(),
        .installer = VMInstaller(),
        .systemInfoService = SystemInfoService(),
        .qemuDependencyService = QEMUDependencyService(),
        .makeController = &VMBackendFactory::makeController,
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
    m_knownDocuments.remove(configuration.id);
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
                              metadataOrFresh(m_storage, configuration.storageDirectory));
}

QCoro::Task<> VMManager::loadVirtualMachines()
{
    const std::optional<FileManager::Version> root = m_storage.rootVersion(); // before anything is read
    QList<VMConfiguration> configurations;
    try {
        configurations = m_storage.scanVirtualMachines();
    } catch (const LocalizedError &error) {
        DiagnosticLogger::shared().log(u"Failed to load VMs: "_s + error.localizedDescription(),
                                       LogLevel::error);
        co_return;
    }

    m_knownRoot = root;
    const auto hasGuest = [this](const VirtualMachine *vm) {
        return vm->operationInProgress() || guestState(vm->id());
    };
    QList<VirtualMachine *> loaded;
    loaded.reserve(configurations.size());
    for (const VMConfiguration &configuration : std::as_const(configurations)) {
        VirtualMachine *known = virtualMachine(configuration.id);
        const bool stays = known && hasGuest(known) && !loaded.contains(known);
        loaded.append(stays ? known : makeStoredMachine(configuration));
    }
    for (VirtualMachine *vm : std::as_const(m_virtualMachines))
        if (hasGuest(vm) && !loaded.contains(vm))
            loaded.append(vm);
    const QList<VirtualMachine *> replaced = std::exchange(m_virtualMachines, loaded);
    Q_EMIT virtualMachinesChanged();
    for (VirtualMachine *vm : replaced)
        if (!hasGuest(vm))
            vm->deleteLater();
    DiagnosticLogger::shared().log(u"Loaded %1 virtual machine(s)"_s.arg(loaded.size()), LogLevel::info);
}

VirtualMachine *VMManager::openBundle(const QUrl &bundle)
{
    const QString place = placeOf(bundle);
    for (VirtualMachine *vm : std::as_const(m_virtualMachines))
        if (!place.isEmpty() && placeOf(vm->configuration().storageDirectory) == place)
            return vm;

    VMConfiguration configuration = m_storage.loadConfiguration(bundle);
    if (VirtualMachine *known = virtualMachine(configuration.id)) {
        const QUrl original = known->configuration().storageDirectory;
        if (placeOf(original).isEmpty())
            return known; // the folder was moved inside the root
        throw KelvoError::internalError(tr("“%1” is a copy of the virtual machine in “%2”.")
                                            .arg(FileUrl::path(bundle), FileUrl::path(original)));
    }
    configuration.storageDirectory = FileUrl::directory(FileUrl::path(bundle));
    VirtualMachine *vm = makeStoredMachine(configuration);
    m_virtualMachines.append(vm);
    Q_EMIT virtualMachinesChanged();
    return vm;
}

void VMManager::listNewBundles()
{
    const std::optional<FileManager::Version> root = m_storage.rootVersion();
    if (!root || root == m_knownRoot)
        return;
    QSet<QString> known;
    for (const VirtualMachine *vm : std::as_const(m_virtualMachines)) {
        const QUrl bundle = vm->configuration().storageDirectory;
        if (FileUrl::deletingLastComponent(bundle) == m_storage.rootDirectory())
            known.insert(FileUrl::lastComponent(bundle));
    }
    const qsizetype countBefore = m_virtualMachines.size();
    try {
        for (const VMConfiguration &configuration : m_storage.scanVirtualMachines(known))
            if (!virtualMachine(configuration.id))
                m_virtualMachines.append(makeStoredMachine(configuration));
    } catch (const LocalizedError &) {
        return; // the list was good before
    }
    if (hasSettled(*root))
        m_knownRoot = root;
    if (m_virtualMachines.size() > countBefore)
        Q_EMIT virtualMachinesChanged();
}

void VMManager::takeOverChanges(VirtualMachine &vm)
{
    if (vm.operationInProgress() || (vm.state() != VMState::poweredOff && vm.state() != VMState::error))
        return;
    const QUrl bundle = vm.configuration().storageDirectory;
    try {
        const std::optional<FileManager::Version> version = m_storage.configurationVersion(bundle);
        const bool isFirstLook = !m_knownDocuments.contains(vm.id());
        if (isFirstLook || m_knownDocuments.value(vm.id()) != version) {
            VMConfiguration configuration = stored(m_storage.loadConfiguration(bundle));
            if (configuration.id != vm.id())
                return;
            configuration.storageDirectory = bundle;
            m_knownDocuments.insert(vm.id(), version);
            if (!isFirstLook || configuration.modifiedAt != vm.configuration().modifiedAt)
                vm.setConfiguration(configuration);
        }
        if (m_unsavedMetadata.contains(vm.id()))
            return;
        const VMPersistedMetadata metadata = m_storage.loadMetadata(bundle);
        if (std::exchange(m_metadataByVMID[vm.id()], metadata) != metadata)
            vm.setInstallationState(metadata.installationState);
    } catch (const LocalizedError &) {
        // A machine stays as it is known until its documents can be read again.
    }
}

QCoro::Task<VirtualMachine *> VMManager::createVirtualMachine(VMConfiguration configuration)
{
    configuration.backend = recommendedBackend(configuration.guestOS);
    validateBackendAvailability(configuration);
    VMConfigurationValidator::validate(configuration);
    avoidKnownVNCPorts(configuration);
    m_storage.ensureRootDirectory();
    m_diskManager.createDisk(configuration.diskURL(), configuration.diskSizeBytes);

    VMPersistedMetadata metadata;
    metadata.installationState =
        configuration.installationMediaURL() ? VMInstallationState::ready : VMInstallationState::notStarted;
    m_storage.save(configuration, metadata);

    VirtualMachine *vm = makeVirtualMachine(configuration, metadata);
    rememberDocument(*vm);
    m_virtualMachines.append(vm);
    Q_EMIT virtualMachinesChanged();
    const QString message =
        u"VM created: "_s + configuration.name + u" ["_s + displayName(configuration.backend) + u']';
    DiagnosticLogger::shared().log(message, LogLevel::info);
    co_return vm;
}

void VMManager::avoidKnownVNCPorts(VMConfiguration &configuration) const
{
    constexpr qsizetype portCount = 100;
    QSet<qint64> knownPorts;
    for (const VirtualMachine *vm : m_virtualMachines)
        if (const qint64 port = vm->configuration().vncPort; port > 5900 && port <= 5900 + portCount)
            knownPorts.insert(port);
    if (knownPorts.size() == portCount)
        return;
    while (knownPorts.contains(configuration.vncPort)) {
        configuration.id = QUuid::createUuid();
        configuration.vncPort = VMConfiguration::defaultVNCPort(configuration.id);
    }
}

void VMManager::saveConfiguration(VirtualMachine &vm)
{
    const std::optional<FileManager::Version> version =
        m_storage.configurationVersion(vm.configuration().storageDirectory);
    if (version && m_knownDocuments.value(vm.id(), version) != version) {
        throw KelvoError::internalError(
            tr("Another application has changed “%1”. Nothing was saved; open the "
               "settings again to see what they are now.")
                .arg(vm.name()));
    }
    std::optional<VMPersistedMetadata> metadata;
    if (const auto found = m_metadataByVMID.constFind(vm.id()); found != m_metadataByVMID.constEnd())
        metadata = *found;
    m_storage.save(vm.configuration(), metadata);
    rememberDocument(vm);
}

void VMManager::rememberDocument(const VirtualMachine &vm)
{
    m_knownDocuments.insert(vm.id(), m_storage.configurationVersion(vm.configuration().storageDirectory));
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
    if (!controller)
        controller = m_makeController(vm.configuration().backend);
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
    m_storage.saveMetadata(metadata, vm.configuration());
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
