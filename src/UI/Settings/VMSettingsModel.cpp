#include "UI/Settings/VMSettingsModel.h"

#include "Platform/Emulator/DisplayDriverMark.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/Hypervisor/VZError.h"
#include "Platform/Hypervisor/VZVirtualMachineConfiguration.h"
#include "Services/DiagnosticLogger.h"
#include "UI/Components/ByteCount.h"
#include "Virtualization/VMManager.h"

#include <algorithm>
#include <limits>

VMSettingsModel::VMSettingsModel(QObject *parent)
    : QObject(parent)
{}

void VMSettingsModel::setVM(VirtualMachine *vm)
{
    if (m_vm == vm)
        return;
    if (m_vm)
        m_vm->disconnect(this);
    m_vm = vm;
    if (m_vm)
        connect(m_vm, &VirtualMachine::changed, this, &VMSettingsModel::changed);
    loadFromVM();
}

void VMSettingsModel::setAppState(AppState *appState)
{
    m_appState = appState;
    loadFromVM();
}

void VMSettingsModel::loadFromVM()
{
    if (m_vm) {
        if (m_appState)
            m_appState->vmManager()->takeOverChanges(*m_vm);
        const VMConfiguration &configuration = m_vm->configuration();
        m_name = configuration.name;
        m_cpuCount = configuration.cpuCount;
        m_memoryBytes = configuration.memorySizeBytes;
        m_networkMode = configuration.networkMode;
        m_displayWidth = configuration.displayWidth;
        m_displayHeight = configuration.displayHeight;
        m_displayScaling = configuration.displayScaling;
        m_hasDisplayDriver =
            offersDisplayDriver() && FileManager::defaultManager().fileExists(displayDriverMarkPath());
    }
    m_saveMessage.clear();
    Q_EMIT changed();
}

void VMSettingsModel::setName(const QString &name)
{
    set(m_name, name);
}

QString VMSettingsModel::guestName() const
{
    return m_vm ? localizedName(m_vm->guestOS()) : QString();
}

ClosedRange<qint64> VMSettingsModel::cpuCountRange() const
{
    return m_appState ? m_appState->vmManager()->systemCapabilities().allowedCPUCountRange
                      : ClosedRange<qint64>{m_cpuCount, m_cpuCount};
}

int VMSettingsModel::asInt(qint64 number)
{
    return static_cast<int>(
        std::clamp<qint64>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

void VMSettingsModel::setCPUCount(int count)
{
    const ClosedRange<qint64> range = cpuCountRange();
    set(m_cpuCount, std::clamp<qint64>(count, range.minimum, range.maximum));
}

void VMSettingsModel::setDisplayWidth(int pixels)
{
    set(m_displayWidth, std::clamp<qint64>(pixels, minimumDisplayWidth, maximumDisplayWidth));
}

void VMSettingsModel::setDisplayHeight(int pixels)
{
    set(m_displayHeight, std::clamp<qint64>(pixels, minimumDisplayHeight, maximumDisplayHeight));
}

void VMSettingsModel::setDisplayScaling(double scaling)
{
    set(m_displayScaling, std::clamp(scaling, minimumDisplayScaling, maximumDisplayScaling));
}

void VMSettingsModel::setHasDisplayDriver(bool hasDriver)
{
    set(m_hasDisplayDriver, hasDriver);
}

bool VMSettingsModel::offersDisplayDriver() const
{
    return m_vm && m_vm->configuration().backend == VMBackendType::qemuHVF;
}

QString VMSettingsModel::displayDriverMarkPath() const
{
    return FileUrl::path(m_vm->configuration().storageDirectory) + u'/' +
           QLatin1StringView(displayDriverMark);
}

void VMSettingsModel::saveDisplayDriver() const
{
    FileManager &files = FileManager::defaultManager();
    const QString mark = displayDriverMarkPath();
    if (!offersDisplayDriver() || files.fileExists(mark) == m_hasDisplayDriver)
        return;
    if (m_hasDisplayDriver)
        files.writeAtomically(mark, {});
    else
        files.removeItem(mark);
}

QList<LabeledValue> VMSettingsModel::storage() const
{
    if (!m_vm)
        return {};
    const VMConfiguration &configuration = m_vm->configuration();
    QList<LabeledValue> rows = {{tr("Maximum Size"), tr("%1 GB").arg(configuration.diskSizeGB())}};
    if (const std::optional<quint64> bytes = m_vm->actualDiskUsageBytes())
        rows.append({tr("Host Usage"), ByteCount::fileStyle(*bytes)});
    rows.append({tr("Path"), FileUrl::path(configuration.storageDirectory)});
    if (configuration.backend == VMBackendType::qemuHVF && configuration.virtioDriversMediaURL())
        rows.append(
            {tr("Virtio Drivers ISO"), FileUrl::lastComponent(*configuration.virtioDriversMediaURL())});
    return rows;
}

QString VMSettingsModel::recentLog() const
{
    const QStringList lines = DiagnosticLogger::shared().formattedLog().split(u'\n');
    return lines.mid(std::max<qsizetype>(0, lines.size() - 3)).join(u'\n');
}

bool VMSettingsModel::isRunning() const
{
    if (!m_vm)
        return false;
    const VMState state = m_vm->state();
    return state == VMState::running || state == VMState::starting || state == VMState::paused;
}

VMConfiguration VMSettingsModel::edited() const
{
    VMConfiguration configuration = m_vm->configuration();
    configuration.name = m_name;
    configuration.cpuCount = m_cpuCount;
    configuration.memorySizeBytes = m_memoryBytes;
    configuration.networkMode = m_networkMode;
    configuration.displayWidth = m_displayWidth;
    configuration.displayHeight = m_displayHeight;
    configuration.displayScaling = m_displayScaling;
    return configuration;
}

QString VMSettingsModel::problem() const
{
    if (!m_vm)
        return {};
    try {
        const VMConfiguration configuration = edited();
        VMConfigurationValidator::validate(configuration);
        if (configuration.backend == VMBackendType::appleVirtualization) {
            VZVirtualMachineConfiguration::validateScreen(
                {.widthInPixels = m_displayWidth, .heightInPixels = m_displayHeight});
        }
    } catch (const LocalizedError &error) {
        return error.localizedDescription();
    }
    return {};
}

void VMSettingsModel::saveChanges()
{
    if (!m_vm || !m_appState)
        return;
    m_vm->setConfiguration(edited());
    try {
        m_appState->vmManager()->saveConfiguration(*m_vm);
        saveDisplayDriver();
    } catch (const LocalizedError &error) {
        m_appState->setErrorMessage(error.localizedDescription());
        return;
    }
    set(m_saveMessage, tr("Saved."));
}

void VMSettingsModel::refreshDiskUsage()
{
    if (m_vm && m_appState)
        m_appState->vmManager()->refreshDiskUsage(*m_vm);
}
