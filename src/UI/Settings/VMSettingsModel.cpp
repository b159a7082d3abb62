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

void VMSettingsModel::setAppState(AppState *appState)
{
    m_appState = appState;
    begin();
}

void VMSettingsModel::begin()
{
    if (vm()) {
        if (m_appState)
            m_appState->vmManager()->takeOverChanges(*vm());
        const VMConfiguration &configuration = vm()->configuration();
        m_draft.name = configuration.name;
        m_draft.cpuCount = asInt(configuration.cpuCount);
        m_draft.memoryBytes = configuration.memorySizeBytes;
        m_draft.networkMode = configuration.networkMode;
        m_draft.displayWidth = asInt(configuration.displayWidth);
        m_draft.displayHeight = asInt(configuration.displayHeight);
        m_draft.displayScaling = configuration.displayScaling;
        m_draft.hasDisplayDriver =
            offersDisplayDriver() && FileManager::defaultManager().fileExists(displayDriverMarkPath());
    }
    m_saveMessage.clear();
    Q_EMIT changed();
}

void VMSettingsModel::setDraft(const VMDraft &draft)
{
    if (m_draft == draft)
        return;
    m_draft = draft;
    Q_EMIT changed();
}

QString VMSettingsModel::guestName() const
{
    return vm() ? localizedName(vm()->guestOS()) : QString();
}

ClosedRange<qint64> VMSettingsModel::cpuCountRange() const
{
    return m_appState ? m_appState->vmManager()->systemCapabilities().allowedCPUCountRange
                      : ClosedRange<qint64>{m_draft.cpuCount, m_draft.cpuCount};
}

int VMSettingsModel::asInt(qint64 number)
{
    return static_cast<int>(
        std::clamp<qint64>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

bool VMSettingsModel::offersDisplayDriver() const
{
    return vm() && vm()->configuration().backend == VMBackendType::qemuHVF;
}

QString VMSettingsModel::displayDriverMarkPath() const
{
    return FileUrl::path(vm()->configuration().storageDirectory) + u'/' +
           QLatin1StringView(displayDriverMark);
}

void VMSettingsModel::saveDisplayDriver() const
{
    FileManager &files = FileManager::defaultManager();
    const QString mark = displayDriverMarkPath();
    if (!offersDisplayDriver() || files.fileExists(mark) == m_draft.hasDisplayDriver)
        return;
    if (m_draft.hasDisplayDriver)
        files.writeAtomically(mark, {});
    else
        files.removeItem(mark);
}

QList<LabeledValue> VMSettingsModel::storage() const
{
    if (!vm())
        return {};
    const VMConfiguration &configuration = vm()->configuration();
    QList<LabeledValue> rows = {{tr("Maximum Size"), tr("%1 GB").arg(configuration.diskSizeGB())}};
    if (const std::optional<quint64> bytes = vm()->actualDiskUsageBytes())
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
    if (!vm())
        return false;
    const VMState state = vm()->state();
    return state == VMState::running || state == VMState::starting || state == VMState::paused;
}

VMConfiguration VMSettingsModel::edited() const
{
    VMConfiguration configuration = vm()->configuration();
    configuration.name = m_draft.name;
    configuration.cpuCount = m_draft.cpuCount;
    configuration.memorySizeBytes = m_draft.memoryBytes;
    configuration.networkMode = m_draft.networkMode;
    configuration.displayWidth = m_draft.displayWidth;
    configuration.displayHeight = m_draft.displayHeight;
    configuration.displayScaling = m_draft.displayScaling;
    return configuration;
}

QString VMSettingsModel::problem() const
{
    if (!vm())
        return {};
    try {
        const VMConfiguration configuration = edited();
        VMConfigurationValidator::validate(configuration);
        if (configuration.backend == VMBackendType::appleVirtualization) {
            VZVirtualMachineConfiguration::validateScreen(
                {.widthInPixels = m_draft.displayWidth, .heightInPixels = m_draft.displayHeight});
        }
    } catch (const LocalizedError &error) {
        return error.localizedDescription();
    }
    return {};
}

void VMSettingsModel::saveChanges()
{
    if (!vm() || !m_appState)
        return;
    vm()->setConfiguration(edited());
    try {
        m_appState->vmManager()->saveConfiguration(*vm());
        saveDisplayDriver();
    } catch (const LocalizedError &error) {
        m_appState->setErrorMessage(error.localizedDescription());
        return;
    }
    m_saveMessage = tr("Saved.");
    Q_EMIT changed();
}

void VMSettingsModel::refreshDiskUsage()
{
    if (vm() && m_appState)
        m_appState->vmManager()->refreshDiskUsage(*vm());
}
