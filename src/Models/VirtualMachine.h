#pragma once

#include "Models/VMConfiguration.h"
#include "Models/VMInstallationState.h"
#include "Models/VMState.h"

#include <QObject>
#include <QProperty>

/// The live object of one virtual machine. The manager owns it and writes its state; views observe it.
/// Every notification comes synchronously with a real change. Main thread only.
class VirtualMachine : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QUuid id READ id CONSTANT)
    Q_PROPERTY(QString name READ name NOTIFY nameChanged BINDABLE bindableName)
    Q_PROPERTY(bool operationInProgress READ operationInProgress NOTIFY operationInProgressChanged)
    Q_PROPERTY(bool canStart READ canStart NOTIFY canStartChanged BINDABLE bindableCanStart)
    Q_PROPERTY(bool canStop READ canStop NOTIFY canStopChanged BINDABLE bindableCanStop)
    Q_PROPERTY(bool canPause READ canPause NOTIFY canPauseChanged BINDABLE bindableCanPause)
    Q_PROPERTY(bool canResume READ canResume NOTIFY canResumeChanged BINDABLE bindableCanResume)
    Q_PROPERTY(bool canInstall READ canInstall NOTIFY canInstallChanged BINDABLE bindableCanInstall)
    Q_PROPERTY(bool needsInstallation READ needsInstallation NOTIFY needsInstallationChanged BINDABLE
                   bindableNeedsInstallation)

public:
    VirtualMachine(const VMConfiguration &configuration, VMState state, VMInstallationState installationState,
                   QObject *parent = nullptr);

    /// The configuration's at construction; it stays when the configuration is replaced.
    [[nodiscard]] QUuid id() const { return m_id; }

    [[nodiscard]] VMConfiguration configuration() const { return m_configuration; }
    void setConfiguration(const VMConfiguration &configuration) { m_configuration = configuration; }
    [[nodiscard]] VMState state() const { return m_state; }
    void setState(VMState state) { m_state = state; }
    [[nodiscard]] VMInstallationState installationState() const { return m_installationState; }
    void setInstallationState(VMInstallationState state) { m_installationState = state; }
    /// Description of the last failed operation.
    [[nodiscard]] std::optional<QString> lastError() const { return m_lastError; }
    void setLastError(const std::optional<QString> &text) { m_lastError = text; }
    /// What the disk image occupied on the host when it was last measured.
    [[nodiscard]] std::optional<quint64> actualDiskUsageBytes() const { return m_actualDiskUsageBytes; }
    void setActualDiskUsageBytes(std::optional<quint64> bytes) { m_actualDiskUsageBytes = bytes; }
    /// True while the manager works on this machine; a second operation is refused.
    [[nodiscard]] bool operationInProgress() const { return m_operationInProgress; }
    void setOperationInProgress(bool inProgress) { m_operationInProgress = inProgress; }

    [[nodiscard]] QString name() const { return m_name; }
    [[nodiscard]] GuestOperatingSystem guestOS() const { return m_configuration.value().guestOS; }
    [[nodiscard]] bool canStart() const { return m_canStart; }
    [[nodiscard]] bool canStop() const { return m_canStop; }
    [[nodiscard]] bool canPause() const { return m_canPause; }
    [[nodiscard]] bool canResume() const { return m_canResume; }
    [[nodiscard]] bool hasInstallationMedia() const;
    [[nodiscard]] bool needsInstallation() const { return m_needsInstallation; }
    [[nodiscard]] bool canInstall() const { return m_canInstall; }

    [[nodiscard]] QBindable<QString> bindableName() { return &m_name; }
    [[nodiscard]] QBindable<bool> bindableCanStart() { return &m_canStart; }
    [[nodiscard]] QBindable<bool> bindableCanStop() { return &m_canStop; }
    [[nodiscard]] QBindable<bool> bindableCanPause() { return &m_canPause; }
    [[nodiscard]] QBindable<bool> bindableCanResume() { return &m_canResume; }
    [[nodiscard]] QBindable<bool> bindableCanInstall() { return &m_canInstall; }
    [[nodiscard]] QBindable<bool> bindableNeedsInstallation() { return &m_needsInstallation; }

Q_SIGNALS:
    void configurationChanged();
    void stateChanged();
    void installationStateChanged();
    void lastErrorChanged();
    void actualDiskUsageBytesChanged();
    void operationInProgressChanged();
    void nameChanged();
    void canStartChanged();
    void canStopChanged();
    void canPauseChanged();
    void canResumeChanged();
    void canInstallChanged();
    void needsInstallationChanged();

private:
    void bindDerivedProperties();

    const QUuid m_id;
    Q_OBJECT_BINDABLE_PROPERTY(VirtualMachine, VMConfiguration, m_configuration,
                               &VirtualMachine::configurationChanged)
    Q_OBJECT_BINDABLE_PROPERTY(VirtualMachine, VMState, m_state, &VirtualMachine::stateChanged)
    Q_OBJECT_BINDABLE_PROPERTY(VirtualMachine, VMInstallationState, m_installationState,
                               &VirtualMachine::installationStateChanged)
    Q_OBJECT_BINDABLE_PROPERTY(VirtualMachine, std::optional<QString>, m_lastError,
                               &VirtualMachine::lastErrorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(VirtualMachine, std::optional<quint64>, m_actualDiskUsageBytes,
                               &VirtualMachine::actualDiskUsageBytesChanged)
    Q_OBJECT_BINDABLE_PROPERTY_WITH_ARGS(VirtualMachine, bool, m_operationInProgress, false,
                                         &VirtualMachine::operationInProgressChanged)
    Q_OBJECT_BINDABLE_PROPERTY(VirtualMachine, QString, m_name, &VirtualMachine::nameChanged)
    Q_OBJECT_BINDABLE_PROPERTY(VirtualMachine, bool, m_canStart, &VirtualMachine::canStartChanged)
    Q_OBJECT_BINDABLE_PROPERTY(VirtualMachine, bool, m_canStop, &VirtualMachine::canStopChanged)
    Q_OBJECT_BINDABLE_PROPERTY(VirtualMachine, bool, m_canPause, &VirtualMachine::canPauseChanged)
    Q_OBJECT_BINDABLE_PROPERTY(VirtualMachine, bool, m_canResume, &VirtualMachine::canResumeChanged)
    Q_OBJECT_BINDABLE_PROPERTY(VirtualMachine, bool, m_canInstall, &VirtualMachine::canInstallChanged)
    Q_OBJECT_BINDABLE_PROPERTY(VirtualMachine, bool, m_needsInstallation,
                               &VirtualMachine::needsInstallationChanged)
};
