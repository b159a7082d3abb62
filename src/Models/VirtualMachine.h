#pragma once

#include "Models/VMConfiguration.h"
#include "Models/VMInstallationState.h"
#include "Models/VMState.h"

#include <QObject>

/// The live object of one virtual machine. The manager owns it and writes its state; views observe it.
/// Every notification comes synchronously with a real change. Main thread only.
class VirtualMachine : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QUuid id READ id CONSTANT)
    Q_PROPERTY(QString name READ name NOTIFY changed)
    Q_PROPERTY(bool operationInProgress READ operationInProgress NOTIFY changed)
    Q_PROPERTY(bool canStart READ canStart NOTIFY changed)
    Q_PROPERTY(bool canStop READ canStop NOTIFY changed)
    Q_PROPERTY(bool canShutDown READ canShutDown NOTIFY changed)
    Q_PROPERTY(bool canPause READ canPause NOTIFY changed)
    Q_PROPERTY(bool canResume READ canResume NOTIFY changed)
    Q_PROPERTY(bool canInstall READ canInstall NOTIFY changed)
    Q_PROPERTY(bool needsInstallation READ needsInstallation NOTIFY changed)

public:
    VirtualMachine(const VMConfiguration &configuration, VMState state, VMInstallationState installationState,
                   QObject *parent = nullptr);

    /// The configuration's at construction; it stays when the configuration is replaced.
    [[nodiscard]] QUuid id() const { return m_id; }

    [[nodiscard]] const VMConfiguration &configuration() const { return m_configuration; }
    void setConfiguration(const VMConfiguration &configuration);
    [[nodiscard]] VMState state() const { return m_state; }
    void setState(VMState state);
    [[nodiscard]] VMInstallationState installationState() const { return m_installationState; }
    void setInstallationState(VMInstallationState state);
    /// Description of the last failed operation.
    [[nodiscard]] const std::optional<QString> &lastError() const { return m_lastError; }
    void setLastError(const std::optional<QString> &text);
    /// What the disk image occupied on the host when it was last measured.
    [[nodiscard]] std::optional<quint64> actualDiskUsageBytes() const { return m_actualDiskUsageBytes; }
    void setActualDiskUsageBytes(std::optional<quint64> bytes);
    /// True while the manager works on this machine; a second operation is refused.
    [[nodiscard]] bool operationInProgress() const { return m_operationInProgress; }
    void setOperationInProgress(bool inProgress);
    /// True while its guest, which runs, has been asked to shut down and is given time for that.
    [[nodiscard]] bool isShuttingDown() const { return m_isShuttingDown; }
    void setShuttingDown(bool shuttingDown);

    [[nodiscard]] const QString &name() const { return m_configuration.name; }
    [[nodiscard]] GuestOperatingSystem guestOS() const { return m_configuration.guestOS; }
    [[nodiscard]] bool canStart() const;
    [[nodiscard]] bool canStop() const;
    [[nodiscard]] bool canShutDown() const;
    [[nodiscard]] bool canPause() const;
    [[nodiscard]] bool canResume() const;
    [[nodiscard]] bool hasInstallationMedia() const;
    [[nodiscard]] bool needsInstallation() const;
    [[nodiscard]] bool canInstall() const;

Q_SIGNALS:
    /// Anything of the above, the state included.
    void changed();
    void stateChanged();

private:
    template<typename Value>
    void assign(Value &field, const Value &value);

    const QUuid m_id;
    VMConfiguration m_configuration;
    VMState m_state;
    VMInstallationState m_installationState;
    std::optional<QString> m_lastError;
    std::optional<quint64> m_actualDiskUsageBytes;
    bool m_operationInProgress = false;
    bool m_isShuttingDown = false;
};
