#include "Models/VirtualMachine.h"

VirtualMachine::VirtualMachine(const VMConfiguration &configuration, VMState state,
                               VMInstallationState installationState, QObject *parent)
    : QObject(parent)
    , m_id(configuration.id)
    , m_configuration(configuration)
    , m_state(state)
    , m_installationState(installationState)
{}

template<typename Value>
void VirtualMachine::assign(Value &field, const Value &value)
{
    if (field == value)
        return;
    field = value;
    Q_EMIT changed();
}

void VirtualMachine::setConfiguration(const VMConfiguration &configuration)
{
    assign(m_configuration, configuration);
}

void VirtualMachine::setState(VMState state)
{
    if (m_state == state)
        return;
    m_state = state;
    m_isShuttingDown = m_isShuttingDown && state == VMState::running;
    Q_EMIT stateChanged();
    Q_EMIT changed();
}

void VirtualMachine::setInstallationState(VMInstallationState state)
{
    assign(m_installationState, state);
}

void VirtualMachine::setLastError(const std::optional<QString> &text)
{
    assign(m_lastError, text);
}

void VirtualMachine::setActualDiskUsageBytes(std::optional<quint64> bytes)
{
    assign(m_actualDiskUsageBytes, bytes);
}

void VirtualMachine::setOperationInProgress(bool inProgress)
{
    assign(m_operationInProgress, inProgress);
}

void VirtualMachine::setShuttingDown(bool shuttingDown)
{
    assign(m_isShuttingDown, shuttingDown);
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
