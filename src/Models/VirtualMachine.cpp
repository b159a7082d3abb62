#include "Models/VirtualMachine.h"

struct VirtualMachine::Commands
{
    bool start;
    bool stop;
    bool shutDown;
    bool pause;
    bool resume;
    bool install;
    bool needsInstallation;

    bool operator==(const Commands &) const = default;
};

VirtualMachine::VirtualMachine(const VMConfiguration &configuration, VMState state,
                               VMInstallationState installationState, QObject *parent)
    : QObject(parent)
    , m_id(configuration.id)
    , m_configuration(configuration)
    , m_state(state)
    , m_installationState(installationState)
{}

VirtualMachine::Commands VirtualMachine::commands() const
{
    return {canStart(), canStop(), canShutDown(), canPause(), canResume(), canInstall(), needsInstallation()};
}

template<typename Value>
void VirtualMachine::assign(Value &field, const Value &value, void (VirtualMachine::*changed)())
{
    if (field == value)
        return;
    const Commands before = commands();
    field = value;
    Q_EMIT(this->*changed)();
    if (commands() != before)
        Q_EMIT commandsChanged();
}

void VirtualMachine::setConfiguration(const VMConfiguration &configuration)
{
    const QString nameBefore = name();
    assign(m_configuration, configuration, &VirtualMachine::configurationChanged);
    if (name() != nameBefore)
        Q_EMIT nameChanged();
}

void VirtualMachine::setState(VMState state)
{
    assign(m_state, state, &VirtualMachine::stateChanged);
    if (state != VMState::running)
        setShuttingDown(false);
}

void VirtualMachine::setInstallationState(VMInstallationState state)
{
    assign(m_installationState, state, &VirtualMachine::installationStateChanged);
}

void VirtualMachine::setLastError(const std::optional<QString> &text)
{
    assign(m_lastError, text, &VirtualMachine::lastErrorChanged);
}

void VirtualMachine::setActualDiskUsageBytes(std::optional<quint64> bytes)
{
    assign(m_actualDiskUsageBytes, bytes, &VirtualMachine::actualDiskUsageBytesChanged);
}

void VirtualMachine::setOperationInProgress(bool inProgress)
{
    assign(m_operationInProgress, inProgress, &VirtualMachine::operationInProgressChanged);
}

void VirtualMachine::setShuttingDown(bool shuttingDown)
{
    assign(m_isShuttingDown, shuttingDown, &VirtualMachine::shuttingDownChanged);
}

bool VirtualMachine::canStart() const
{
    return !m_operationInProgress && ::canStart(m_state);
}

bool VirtualMachine::canStop() const
{
    return !m_operationInProgress && ::canStop(m_state);
}

bool VirtualMachine::canShutDown() const
{
    return !m_operationInProgress && !m_isShuttingDown && m_state == VMState::running;
}

bool VirtualMachine::canPause() const
{
    return !m_operationInProgress && ::canPause(m_state);
}

bool VirtualMachine::canResume() const
{
    return !m_operationInProgress && ::canResume(m_state);
}

bool VirtualMachine::hasInstallationMedia() const
{
    return m_configuration.installationMediaPath.has_value();
}

bool VirtualMachine::needsInstallation() const
{
    return canBeginInstallation(m_installationState) && hasInstallationMedia();
}

bool VirtualMachine::canInstall() const
{
    return needsInstallation() && canStart();
}
