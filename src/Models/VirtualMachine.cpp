#include "Models/VirtualMachine.h"

VirtualMachine::VirtualMachine(const VMConfiguration &configuration, VMState state,
                               VMInstallationState installationState, QObject *parent)
    : QObject(parent)
    , m_id(configuration.id)
    , m_configuration(configuration)
    , m_state(state)
    , m_installationState(installationState)
{
    bindDerivedProperties();
}

void VirtualMachine::bindDerivedProperties()
{
    m_name.setBinding([this] { return m_configuration.value().name; });
    m_canStart.setBinding([this] { return !m_operationInProgress && ::canStart(m_state); });
    m_canStop.setBinding([this] { return !m_operationInProgress && ::canStop(m_state); });
    m_canPause.setBinding([this] { return !m_operationInProgress && ::canPause(m_state); });
    m_canResume.setBinding([this] { return !m_operationInProgress && ::canResume(m_state); });
    m_needsInstallation.setBinding(
        [this] { return ::canBeginInstallation(m_installationState) && hasInstallationMedia(); });
    m_canInstall.setBinding([this] { return m_needsInstallation && m_canStart; });
}

bool VirtualMachine::hasInstallationMedia() const
{
    return m_configuration.value().installationMediaPath.has_value();
}
