#pragma once

#include "App/SidebarSection.h"
#include "App/VMCommand.h"
#include "Models/VirtualMachine.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>

#include <memory>

class VMManager;

/// The interface's own state, shared by every window. A property notifies only on a real change. Main thread.
class AppState : public QObject
{
    Q_OBJECT
    Q_PROPERTY(SidebarSectionEnum::SidebarSection selectedSection READ selectedSection WRITE
                   setSelectedSection NOTIFY selectedSectionChanged)
    Q_PROPERTY(VirtualMachine *selectedVM READ selectedVM NOTIFY selectedVMChanged)
    Q_PROPERTY(QString selectedVMID READ selectedVMIDText NOTIFY selectedVMIDChanged)
    Q_PROPERTY(
        bool showingCreateVM READ showingCreateVM WRITE setShowingCreateVM NOTIFY showingCreateVMChanged)
    Q_PROPERTY(bool showingAppSettings READ showingAppSettings WRITE setShowingAppSettings NOTIFY
                   showingAppSettingsChanged)
    Q_PROPERTY(bool showingConsole READ showingConsole WRITE setShowingConsole NOTIFY showingConsoleChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage WRITE setErrorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(VMManager *vmManager READ vmManager CONSTANT)

public:
    explicit AppState(std::unique_ptr<VMManager> vmManager, QObject *parent = nullptr);
    ~AppState() override;

    [[nodiscard]] VMManager *vmManager() const { return m_vmManager.get(); }

    [[nodiscard]] SidebarSection selectedSection() const { return m_selectedSection; }
    void setSelectedSection(SidebarSection section);
    [[nodiscard]] std::optional<QUuid> selectedVMID() const { return m_selectedVMID; }
    [[nodiscard]] QString selectedVMIDText() const;
    void setSelectedVMID(const std::optional<QUuid> &id);
    [[nodiscard]] bool showingCreateVM() const { return m_showingCreateVM; }
    void setShowingCreateVM(bool showing);
    [[nodiscard]] bool showingAppSettings() const { return m_showingAppSettings; }
    void setShowingAppSettings(bool showing);
    [[nodiscard]] bool showingConsole() const { return m_showingConsole; }
    void setShowingConsole(bool showing);
    /// The machine for which showingConsole() was set.
    [[nodiscard]] std::optional<QUuid> consoleVMID() const { return m_consoleVMID; }
    void setConsoleVMID(const std::optional<QUuid> &id);
    /// Empty means that there is none.
    [[nodiscard]] QString errorMessage() const { return m_errorMessage; }
    void setErrorMessage(const QString &message);

    /// The listed machine with the selected identifier; null when there is none.
    [[nodiscard]] VirtualMachine *selectedVM() const;
    /// All machines, or in the section "Running" the running and paused ones.
    [[nodiscard]] QList<VirtualMachine *> filteredVirtualMachines() const;

    Q_INVOKABLE void load();
    Q_INVOKABLE void select(VirtualMachine *vm);
    Q_INVOKABLE void clearSelection();
    Q_INVOKABLE void showSettings(VirtualMachine *vm);
    /// Runs the manager's operation; a failure becomes errorMessage().
    Q_INVOKABLE void perform(VirtualMachine *vm, VMCommandEnum::VMCommand command);
    /// The same on the selected machine; nothing without one.
    Q_INVOKABLE void performOnSelectedVM(VMCommandEnum::VMCommand command);
    Q_INVOKABLE void installAndShowConsole(VirtualMachine *vm);
    Q_INVOKABLE void finishInstallation(VirtualMachine *vm);
    /// Asks for the machine's console window.
    Q_INVOKABLE void showConsole(VirtualMachine *vm);

Q_SIGNALS:
    void selectedSectionChanged();
    void selectedVMIDChanged();
    void selectedVMChanged();
    void showingCreateVMChanged();
    void showingAppSettingsChanged();
    void showingConsoleChanged();
    void consoleVMIDChanged();
    void errorMessageChanged();
    void consoleRequested(VirtualMachine *vm);

private:
    [[nodiscard]] QCoro::Task<> run(QPointer<VirtualMachine> vm, VMCommand command, bool showsConsole);

    std::unique_ptr<VMManager> m_vmManager;
    SidebarSection m_selectedSection = SidebarSection::virtualMachines;
    std::optional<QUuid> m_selectedVMID;
    bool m_showingCreateVM = false;
    bool m_showingAppSettings = false;
    bool m_showingConsole = false;
    std::optional<QUuid> m_consoleVMID;
    QString m_errorMessage;
};
