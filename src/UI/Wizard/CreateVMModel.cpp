#include "UI/Wizard/CreateVMModel.h"

#include "Platform/FileUrl.h"
#include "Services/ISOService.h"
#include "UI/Components/ByteCount.h"
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
{
    m_draft.name = defaultName(m_draft.guestOS);
}

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
    VMDraft draft = m_draft;
    draft.mediaType = InstallationMediaType::iso;
    draft.iso = m_appState->proposedImage();
    setDraft(draft);
    m_appState->setProposedImage({});
}

QString CreateVMModel::missing() const
{
    if (m_step == 1 && offersISO() && !m_draft.iso.isValid())
        return tr("Choose an ISO file first.");
    if (m_step == 3 && m_draft.name.trimmed().isEmpty())
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
    if (!m_appState || recommendedBackend(m_draft.guestOS) != VMBackendType::appleVirtualization)
        return;
    const SystemCapabilities &host = m_appState->vmManager()->systemCapabilities();
    m_draft.cpuCount = std::clamp(m_draft.cpuCount, minimumCPUCount(), maximumCPUCount());
    while (m_draft.memoryBytes > host.allowedMemoryRange.maximum && m_draft.memoryIndex() > 0)
        m_draft.setMemoryIndex(m_draft.memoryIndex() - 1);
}

void CreateVMModel::setStep(int step)
{
    m_step = step;
    Q_EMIT stepChanged();
    Q_EMIT changed();
}

void CreateVMModel::setDraft(const VMDraft &draft)
{
    if (m_draft == draft)
        return;
    const bool isOtherGuest = m_draft.guestOS != draft.guestOS;
    m_draft = draft;
    if (isOtherGuest)
        m_draft.name = defaultName(m_draft.guestOS);
    Q_EMIT changed();
}

QStringList CreateVMModel::imagePatterns() const
{
    return ISOService().namePatterns();
}

QUrl CreateVMModel::startFolder() const
{
    if (m_draft.iso.isValid())
        return FileUrl::deletingLastComponent(m_draft.iso);
    return QUrl::fromLocalFile(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
}

bool CreateVMModel::offersDrivers() const
{
    return offersISO() && m_draft.guestOS == GuestOperatingSystem::windows11ARM64;
}

QString CreateVMModel::isoName() const
{
    return m_draft.iso.isValid() ? FileUrl::lastComponent(m_draft.iso) : tr("No file selected");
}

QString CreateVMModel::driversName() const
{
    return hasDrivers() ? FileUrl::lastComponent(m_draft.drivers) : tr("No driver ISO selected");
}

ClosedRange<qint64> CreateVMModel::cpuCountRange() const
{
    return m_appState ? m_appState->vmManager()->systemCapabilities().allowedCPUCountRange
                      : ClosedRange<qint64>();
}

QString CreateVMModel::storageLocationPath() const
{
    return FileUrl::path(m_draft.storageLocation);
}

QUrl CreateVMModel::bundleURL() const
{
    return FileUrl::appendingDirectory(m_draft.storageLocation,
                                       VMConfiguration::bundleFolderName(m_draft.name));
}

QList<LabeledValue> CreateVMModel::summaryRows() const
{
    QList<LabeledValue> rows = {
        {tr("OS"), localizedName(m_draft.guestOS)},
        {tr("CPU"), tr("%1 cores").arg(m_draft.cpuCount)},
        {tr("RAM"), VMChoices::sizeText(m_draft.memoryBytes)},
        {tr("Disk"), VMChoices::sizeText(m_draft.diskBytes)},
        {tr("Network"), localizedName(m_draft.networkMode)},
        {tr("Backend"), displayName(recommendedBackend(m_draft.guestOS))},
        {tr("Location"), FileUrl::path(bundleURL())},
    };
    if (m_draft.iso.isValid())
        rows.append({tr("Installation ISO"), FileUrl::lastComponent(m_draft.iso)});
    if (m_draft.drivers.isValid())
        rows.append({tr("Virtio Drivers"), FileUrl::lastComponent(m_draft.drivers)});
    return rows;
}

QString CreateVMModel::hardwareHint() const
{
    if (!m_appState)
        return {};
    const SystemCapabilities &host = m_appState->vmManager()->systemCapabilities();
    QStringList hints;
    if (m_draft.cpuCount > host.physicalCPUCount)
        hints
            << tr("More cores than this computer has (%1) make a machine slower.").arg(host.physicalCPUCount);
    if (m_draft.memoryBytes > host.allowedMemoryRange.maximum)
        hints << tr("This computer has %1 of memory: a machine with %2 may not start.")
                     .arg(ByteCount::memoryStyle(host.totalMemoryBytes),
                          VMChoices::sizeText(m_draft.memoryBytes));
    return hints.join(u'\n');
}

QString CreateVMModel::summaryHint() const
{
    if (m_draft.guestOS == GuestOperatingSystem::windows11ARM64)
        return tr("Windows 11 runs on QEMU with Apple Hypervisor (HVF) acceleration, a virtual TPM and UEFI "
                  "firmware.");
    if (m_appState && !m_appState->vmManager()->qemuDependencyService().status().isReady())
        return tr("Linux VMs use Apple Virtualization. Install QEMU only if you plan to run Windows.");
    return {};
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
    VMConfiguration configuration = VMConfiguration::defaultConfiguration(m_draft.name, m_draft.guestOS);
    configuration.cpuCount = m_draft.cpuCount;
    configuration.memorySizeBytes = m_draft.memoryBytes;
    configuration.diskSizeBytes = m_draft.diskBytes;
    configuration.networkMode = m_draft.networkMode;
    configuration.storageDirectory = bundleURL();
    configuration.installationMediaType = m_draft.mediaType;
    if (m_draft.iso.isValid())
        configuration.installationMediaPath = FileUrl::path(m_draft.iso);
    if (m_draft.drivers.isValid())
        configuration.virtioDriversMediaPath = FileUrl::path(m_draft.drivers);
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
        if (m_draft.startsInstallation && m_draft.iso.isValid())
            image = m_draft.iso;
        const QCoro::Task<> creating = m_appState->createMachine(configuration(), image);
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
