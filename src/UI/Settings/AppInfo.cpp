#include "UI/Settings/AppInfo.h"

#include "Models/VMConfiguration.h"
#include "Platform/Emulator/KVMProbe.h"
#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"
#include "UI/Components/ByteCount.h"
#include "Virtualization/VMManager.h"

#include <QClipboard>
#include <QGuiApplication>

static QString accelerationText(const KVMOffer &host)
{
    const QString detail = QString::fromStdString(host.detail);
    switch (host.obstacle) {
    case KVMOffer::Obstacle::none:
        return AppInfo::tr("On");
    case KVMOffer::Obstacle::otherProcessor:
        return AppInfo::tr("Off, because this is no ARM64 computer");
    case KVMOffer::Obstacle::noDevice:
        return AppInfo::tr("Off, because this system has no /dev/kvm");
    case KVMOffer::Obstacle::noPermission:
        return detail.isEmpty()
                   ? AppInfo::tr("Off, because you may not open /dev/kvm")
                   : AppInfo::tr(
                         "Off, because this session is not in the group “%1”, which may open /dev/kvm")
                         .arg(detail);
    case KVMOffer::Obstacle::noMachine:
        return AppInfo::tr("Off, because KVM makes no machine: %1").arg(detail);
    }
    Q_UNREACHABLE();
}

void AppInfo::setManager(VMManager *manager)
{
    if (m_manager == manager)
        return;
    m_manager = manager;
    refresh();
}

QList<LabeledValue> AppInfo::capabilities() const
{
    if (!m_manager)
        return {};
    const SystemCapabilities &host = m_manager->systemCapabilities();
    return {
        {tr("Mac"), host.chipName},
        {tr("CPU"), tr("%1 cores").arg(host.physicalCPUCount)},
        {tr("Memory"), ByteCount::memoryStyle(host.totalMemoryBytes)},
        {tr("Available Storage"), ByteCount::fileStyle(host.availableStorageBytes)},
        {tr("macOS"), host.macOSVersion},
        {tr("Apple Silicon"), host.isAppleSilicon ? tr("Yes") : tr("No")},
        {tr("Virtualization"), host.virtualizationAvailable ? tr("Available") : tr("Unavailable")},
        {tr("Hardware acceleration"), accelerationText(hostKVM())},
    };
}

QList<LabeledValue> AppInfo::recommendation() const
{
    if (!m_manager)
        return {};
    const SystemCapabilities &host = m_manager->systemCapabilities();
    return {
        {tr("CPU"), tr("%1 cores").arg(host.recommendedCPUCount)},
        {tr("RAM"), ByteCount::memoryStyle(host.recommendedMemoryBytes)},
        {tr("Disk"), ByteCount::fileStyle(host.recommendedDiskBytes)},
    };
}

QString AppInfo::defaultLocation() const
{
    return FileUrl::path(VMConfiguration::defaultStorageRoot());
}

QString AppInfo::diagnostics() const
{
    return DiagnosticLogger::shared().formattedLog();
}

void AppInfo::refresh()
{
    m_qemuStatus.clear();
    m_installHint.clear();
    if (m_manager) {
        const QEMUDependencyStatus status = m_manager->qemuDependencyService().status();
        if (status.isReady()) {
            m_qemuStatus = {
                {tr("Status"), tr("Ready")},
                {tr("QEMU"), FileUrl::path(status.dependencies->qemuBinary)},
                {tr("swtpm"), FileUrl::path(status.dependencies->swtpmBinary)},
                {tr("UEFI Firmware"), FileUrl::path(status.dependencies->uefiCode)},
            };
        } else {
            m_qemuStatus = {{tr("Status"), tr("Not Installed")}};
            m_installHint = status.installHint;
        }
    }
    Q_EMIT changed();
}

void AppInfo::copyInstallCommand() const
{
    QGuiApplication::clipboard()->setText(installCommand);
}

void AppInfo::copyDiagnostics() const
{
    QGuiApplication::clipboard()->setText(diagnostics());
}
