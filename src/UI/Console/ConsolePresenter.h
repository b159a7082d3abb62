#pragma once

#include "Platform/Hypervisor/VZVirtualMachine.h"
#include "UI/Components/VMFollower.h"
#include "Virtualization/VMManager.h"

/// What a console window shows below its buttons: the guest's screen, or a panel with a title and a message.
/// What can be done VMPresenter says.
class ConsolePresenter : public VMFollower
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(VMManager *manager READ manager WRITE setManager NOTIFY managerChanged)
    Q_PROPERTY(Display display READ display NOTIFY displayChanged)
    Q_PROPERTY(QString vncHost READ vncHost NOTIFY displayChanged)
    Q_PROPERTY(int vncPort READ vncPort NOTIFY displayChanged)
    /// What HypervisorView shows; null otherwise.
    Q_PROPERTY(VZVirtualMachine *vzMachine READ vzMachine NOTIFY displayChanged)
    Q_PROPERTY(QString statusTitle READ statusTitle NOTIFY statusChanged)
    Q_PROPERTY(QString statusMessage READ statusMessage NOTIFY statusChanged)
    Q_PROPERTY(QUrl serialLog READ serialLog NOTIFY statusChanged)
    Q_PROPERTY(bool isBusy READ isBusy NOTIFY statusChanged)
    Q_PROPERTY(bool offersDiagnostics READ offersDiagnostics NOTIFY statusChanged)

public:
    enum Display
    {
        StatusPanel,
        VNC,
        HypervisorView
    };
    Q_ENUM(Display)

    [[nodiscard]] VMManager *manager() const { return m_manager; }
    void setManager(VMManager *manager);

    [[nodiscard]] Display display() const { return m_display.kind; }
    [[nodiscard]] QString vncHost() const { return m_display.vncHost; }
    [[nodiscard]] int vncPort() const { return m_display.vncPort; }
    /// Where the guest's words on its serial line are; empty without a machine.
    [[nodiscard]] QUrl serialLog() const { return m_status.serialLog; }
    [[nodiscard]] VZVirtualMachine *vzMachine() const { return m_display.vzMachine; }
    [[nodiscard]] QString statusTitle() const { return m_status.title; }
    [[nodiscard]] QString statusMessage() const { return m_status.message; }
    /// A start, a stop or another operation is under way.
    [[nodiscard]] bool isBusy() const { return m_status.isBusy; }
    /// Something failed, of which the log may say more.
    [[nodiscard]] bool offersDiagnostics() const { return m_status.offersDiagnostics; }

    /// Looks anew, also for what notifies nobody: the controller's display and the QEMU tools.
    Q_INVOKABLE void refresh();

Q_SIGNALS:
    void managerChanged();
    void displayChanged();
    void statusChanged();

private:
    struct DisplaySource
    {
        Display kind = StatusPanel;
        QString vncHost;
        int vncPort = 0;
        QPointer<VZVirtualMachine> vzMachine;

        bool operator==(const DisplaySource &) const = default;
    };
    struct Status
    {
        QString title;
        QString message;
        QUrl serialLog;
        bool isBusy = false;
        bool offersDiagnostics = false;

        bool operator==(const Status &) const = default;
    };

    void update() override { refresh(); }
    [[nodiscard]] DisplaySource displaySource() const;
    [[nodiscard]] Status status() const;
    [[nodiscard]] QString message() const;

    QPointer<VMManager> m_manager;
    DisplaySource m_display;
    Status m_status;
};
