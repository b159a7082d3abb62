#include "UI/VMInfo.h"

#include "Models/VirtualMachine.h"
#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"
#include "UI/ByteCount.h"
#include "Virtualization/VMManager.h"

#include <QLocale>

void VMInfo::setVM(VirtualMachine *vm)
{
    if (m_vm == vm)
        return;
    if (m_vm)
        m_vm->disconnect(this);
    m_vm = vm;
    if (m_vm) {
        connect(m_vm, &VirtualMachine::configurationChanged, this, &VMInfo::changed);
        connect(m_vm, &VirtualMachine::stateChanged, this, &VMInfo::changed);
        connect(m_vm, &VirtualMachine::actualDiskUsageBytesChanged, this, &VMInfo::changed);
    }
    Q_EMIT changed();
}

void VMInfo::setManager(VMManager *manager)
{
    m_manager = manager;
    Q_EMIT changed();
}

QList<LabeledValue> VMInfo::general() const
{
    if (!m_vm)
        return {};
    return {{tr("Name"), m_vm->name()}, {tr("Operating System"), rawValue(m_vm->guestOS())}};
}

QList<LabeledValue> VMInfo::hardware() const
{
    if (!m_vm)
        return {};
    const VMConfiguration configuration = m_vm->configuration();
    return {
        {tr("CPU"), tr("%1 cores").arg(configuration.cpuCount)},
        {tr("RAM"), tr("%1 GB").arg(configuration.memorySizeGB())},
        {tr("Network"), rawValue(configuration.networkMode)},
    };
}

QList<LabeledValue> VMInfo::storage() const
{
    if (!m_vm)
        return {};
    const VMConfiguration configuration = m_vm->configuration();
    QList<LabeledValue> rows = {{tr("Maximum Size"), tr("%1 GB").arg(configuration.diskSizeGB())}};
    if (const std::optional<quint64> bytes = m_vm->actualDiskUsageBytes())
        rows.append({tr("Host Usage"), ByteCount::fileStyle(*bytes)});
    rows.append({tr("Path"), FileUrl::path(configuration.storageDirectory)});
    if (configuration.backend == VMBackendType::qemuHVF && configuration.virtioDriversMediaURL())
        rows.append(
            {tr("Virtio Drivers ISO"), FileUrl::lastComponent(*configuration.virtioDriversMediaURL())});
    return rows;
}

QList<LabeledValue> VMInfo::display() const
{
    if (!m_vm)
        return {};
    const VMConfiguration configuration = m_vm->configuration();
    const QLocale locale;
    return {
        {tr("Width"), locale.toString(configuration.displayWidth)},
        {tr("Height"), locale.toString(configuration.displayHeight)},
        {tr("Scaling"), locale.toString(configuration.displayScaling)},
    };
}

QString VMInfo::recentLog() const
{
    const QStringList lines = DiagnosticLogger::shared().formattedLog().split(u'\n');
    return lines.mid(qMax(qsizetype(0), lines.size() - 3)).join(u'\n');
}

void VMInfo::refreshDiskUsage()
{
    if (m_vm && m_manager)
        m_manager->refreshDiskUsage(*m_vm);
}
