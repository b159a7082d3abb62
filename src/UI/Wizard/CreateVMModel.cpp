#include "UI/Wizard/CreateVMModel.h"

#include "Platform/BinaryUnits.h"
#include "Platform/FileUrl.h"
#include "Services/ISOService.h"
#include "UI/Components/ByteCount.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/QEMU/QEMURuntimePaths.h"
#include "Virtualization/VMManager.h"

#include <QStandardPaths>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

QString defaultName(GuestOperatingSystem guestOS)
{
    switch (guestOS) {
    case GuestOperatingSystem::windows11ARM64:
        return u"Windows 11"_s;
    case GuestOperatingSystem::linuxARM64:
        return u"Linux ARM64"_s;
    case GuestOperatingSystem::otherARM64:
        return u"Other ARM64 OS"_s;
    }
    Q_UNREACHABLE();
}

} // namespace

CreateVMModel::CreateVMModel(QObject *parent)
    : QObject(parent)
    , m_memoryBytes(8 * gibibyte)
    , m_diskBytes(128 * gibibyte)
    , m_vmName(defaultName(m_guestOS))
{}

void CreateVMModel::setAppState(AppState *appState)
{
    if (m_appState == appState)
        return;
    if (m_appState)
        m_appState->disconnect(this);
    m_appState = appState;
    if (m_appState)
        connect(m_appState, &AppState::proposedImageChanged, this, &CreateVMModel::takeProposedImage);
    Q_EMIT appStateChanged();
    Q_EMIT changed();
    takeProposedImage();
}

void CreateVMModel::takeProposedImage()
{
    // What is being created has its image already; the next presentation takes this one.
    if (m_isCreating || !m_appState || !m_appState->proposedImage().isValid())
        return;
    set(m_mediaType, InstallationMediaType::iso);
    set(m_isoURL, m_appState->proposedImage());
    m_appState->setProposedImage({});
}

QString CreateVMModel::missing() const
{
    if (m_step == 1 && offersISO() && !m_isoURL.isValid())
        return tr("Choose an ISO file first.");
    if (m_step == 3 && m_vmName.trimmed().isEmpty())
        return tr("Enter a name first.");
    return {};
}

void CreateVMModel::goBack()
{
    if (m_step > 0)
        setStep(m_step - 1);
}

void CreateVMModel::goForward()
{
    if (isLastStep() || !canContinue())
        return;
    if (m_step == 1)
        fitHardwareToHost();
    setStep(m_step + 1);
}

/// The figures to begin with are the same on every host, but the hypervisor layer refuses what is beyond a
/// small one.
void CreateVMModel::fitHardwareToHost()
{
    if (!m_appState || recommendedBackend(m_guestOS) != VMBackendType::appleVirtualization)
        return;
    const SystemCapabilities &host = m_appState->vmManager()->systemCapabilities();
    m_cpuCount = std::clamp(m_cpuCount, minimumCPUCount(), maximumCPUCount());
    const QList<quint64> &options = VMConfiguration::memoryOptions();
    while (m_memoryBytes > host.allowedMemoryRange.maximum && m_memoryBytes != options.first())
        m_memoryBytes = options.at(options.indexOf(m_memoryBytes) - 1);
}

void CreateVMModel::setStep(int step)
{
    m_step = step;
    Q_EMIT stepChanged();
    Q_EMIT changed();
}

void CreateVMModel::setGuestOSIndex(int index)
{
    const GuestOperatingSystem guestOS = VMChoices::at(allGuestOperatingSystems, index, m_guestOS);
    if (guestOS == m_guestOS)
        return;
    m_guestOS = guestOS;
    m_vmName = defaultName(m_guestOS);
    Q_EMIT changed();
}

QStringList CreateVMModel::imagePatterns() const
{
    return ISOService().namePatterns();
}

QUrl CreateVMModel::startFolder() const
{
    if (m_isoURL.isValid())
        return FileUrl::deletingLastComponent(m_isoURL);
    return QUrl::fromLocalFile(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
}

bool CreateVMModel::offersDrivers() const
{
    return offersISO() && m_guestOS == GuestOperatingSystem::windows11ARM64;
}

void CreateVMModel::setISOURL(const QUrl &url)
{
    set(m_isoURL, url);
}

QString CreateVMModel::isoName() const
{
    return m_isoURL.isValid() ? FileUrl::lastComponent(m_isoURL) : tr("No file selected");
}

void CreateVMModel::setVirtioDriversURL(const QUrl &url)
{
    set(m_virtioDriversURL, url);
}

QString CreateVMModel::virtioDriversName() const
{
    return m_virtioDriversURL.isValid() ? FileUrl::lastComponent(m_virtioDriversURL)
                                        : tr("No driver ISO selected");
}

void CreateVMModel::setCPUCount(int count)
{
    set(m_cpuCount, std::clamp(count, minimumCPUCount(), maximumCPUCount()));
}

int CreateVMModel::minimumCPUCount() const
{
    return m_appState
               ? static_cast<int>(m_appState->vmManager()->systemCapabilities().allowedCPUCountRange.minimum)
               : 0;
}

int CreateVMModel::maximumCPUCount() const
{
    return m_appState
               ? static_cast<int>(m_appState->vmManager()->systemCapabilities().allowedCPUCountRange.maximum)
               : 0;
}

QString CreateVMModel::cpuText() const
{
    return tr("%1 virtual CPU cores").arg(m_cpuCount);
}

void CreateVMModel::setVMName(const QString &name)
{
    set(m_vmName, name);
}

void CreateVMModel::setStorageLocation(const QUrl &url)
{
    set(m_storageLocation, url);
}

QString CreateVMModel::storageLocationPath() const
{
    return FileUrl::path(m_storageLocation);
}

QUrl CreateVMModel::bundleURL() const
{
    return FileUrl::appendingDirectory(m_storageLocation, VMConfiguration::bundleFolderName(m_vmName));
}

QList<LabeledValue> CreateVMModel::summaryRows() const
{
    QList<LabeledValue> rows = {
        {tr("OS"), localizedName(m_guestOS)},
        {tr("CPU"), tr("%1 cores").arg(m_cpuCount)},
        {tr("RAM"), VMChoices::sizeText(m_memoryBytes)},
        {tr("Disk"), VMChoices::sizeText(m_diskBytes)},
        {tr("Network"), localizedName(m_networkMode)},
        {tr("Backend"), displayName(recommendedBackend(m_guestOS))},
        {tr("Location"), FileUrl::path(bundleURL())},
    };
    if (m_isoURL.isValid())
        rows.append({tr("Installation ISO"), FileUrl::lastComponent(m_isoURL)});
    if (m_virtioDriversURL.isValid())
        rows.append({tr("Virtio Drivers"), FileUrl::lastComponent(m_virtioDriversURL)});
    return rows;
}

QString CreateVMModel::hardwareHint() const
{
    if (!m_appState)
        return {};
    const SystemCapabilities &host = m_appState->vmManager()->systemCapabilities();
    QStringList hints;
    if (m_cpuCount > host.physicalCPUCount)
        hints
            << tr("More cores than this computer has (%1) make a machine slower.").arg(host.physicalCPUCount);
    if (m_memoryBytes > host.allowedMemoryRange.maximum)
        hints << tr("This computer has %1 of memory: a machine with %2 may not start.")
                     .arg(ByteCount::memoryStyle(host.totalMemoryBytes), VMChoices::sizeText(m_memoryBytes));
    return hints.join(u'\n');
}

QString CreateVMModel::summaryHint() const
{
    if (m_guestOS == GuestOperatingSystem::windows11ARM64)
        return tr("Windows 11 runs on QEMU with Apple Hypervisor (HVF) acceleration, a virtual TPM and UEFI "
                  "firmware.");
    if (m_appState && !m_appState->vmManager()->qemuDependencyService().status().isReady())
        return tr("Linux VMs use Apple Virtualization. Install QEMU only if you plan to run Windows.");
    return {};
}

void CreateVMModel::setStartInstallationAfterCreate(bool start)
{
    set(m_startInstallationAfterCreate, start);
}

void CreateVMModel::setErrorMessage(const QString &message)
{
    if (std::exchange(m_errorMessage, message) != message)
        Q_EMIT errorMessageChanged();
}

void CreateVMModel::setCreating(bool creating)
{
    if (std::exchange(m_isCreating, creating) != creating)
        Q_EMIT isCreatingChanged();
}

VMConfiguration CreateVMModel::configuration() const
{
    VMConfiguration configuration = VMConfiguration::defaultConfiguration(m_vmName, m_guestOS);
    configuration.cpuCount = m_cpuCount;
    configuration.memorySizeBytes = m_memoryBytes;
    configuration.diskSizeBytes = m_diskBytes;
    configuration.networkMode = m_networkMode;
    configuration.storageDirectory = bundleURL();
    configuration.installationMediaType = m_mediaType;
    if (m_isoURL.isValid())
        configuration.installationMediaPath = FileUrl::path(m_isoURL);
    if (m_virtioDriversURL.isValid())
        configuration.virtioDriversMediaPath = FileUrl::path(m_virtioDriversURL);
    return configuration;
}

void CreateVMModel::create()
{
    if (m_isCreating || !m_appState)
        return;
    QCoro::connect(createVM(), this, [] {});
}

QCoro::Task<> CreateVMModel::createVM()
{
    const QPointer<CreateVMModel> self(this);
    setCreating(true);
    QString failure;
    try {
        std::optional<QUrl> image;
        if (m_startInstallationAfterCreate && m_isoURL.isValid())
            image = m_isoURL;
        const QPointer<AppState> state = m_appState;
        const VMConfiguration wanted = configuration();
        if (wanted.backend == VMBackendType::qemuHVF)
            QEMURuntimePaths::forConfiguration(wanted).requireAddressableSockets();
        const QCoro::Task<> creating = createAndInstall(state, wanted, image);
        co_await creating;
    } catch (const std::exception &error) {
        failure = localizedDescription(error);
    }
    if (!self)
        co_return;
    if (!failure.isEmpty())
        setErrorMessage(failure);
    else if (m_appState)
        m_appState->setShowingCreateVM(false);
    if (self)
        setCreating(false);
}

QCoro::Task<> CreateVMModel::createAndInstall(QPointer<AppState> state, VMConfiguration configuration,
                                              std::optional<QUrl> installationImage)
{
    const QCoro::Task<VirtualMachine *> creating = state->vmManager()->createVirtualMachine(configuration);
    VirtualMachine *created = co_await creating;
    if (!state)
        co_return;
    const QUuid id = created->id();
    state->setSelectedVMID(id);
    if (!installationImage)
        co_return;
    const QCoro::Task<> installing = state->vmManager()->beginInstallation(created, installationImage);
    co_await installing;
    if (!state)
        co_return;
    state->setConsoleVMID(id);
    state->setShowingConsole(true);
}
