#pragma once

#include "App/State/DetailContent.h"
#include "App/State/LocalizedName.h"
#include "App/State/SidebarSection.h"
#include "App/State/VMCommand.h"
#include "Models/VirtualMachine.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QQmlEngine>
#include <QUrl>

#include <memory>

class VMManager;

/// The interface's own state, shared by every window. A property notifies only on a real change. Main thread.
class AppState : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_MOC_INCLUDE("Virtualization/VMManager.h")
    Q_PROPERTY(SidebarSectionEnum::SidebarSection selectedSection READ selectedSection WRITE
                   setSelectedSection NOTIFY selectedSectionChanged)
    /// In the order of the sections.
    Q_PROPERTY(QList<QString> sectionTitles READ sectionTitles CONSTANT)
    Q_PROPERTY(QList<QString> sectionSymbols READ sectionSymbols CONSTANT)
    Q_PROPERTY(QString sectionTitle READ sectionTitle NOTIFY selectedSectionChanged)
    Q_PROPERTY(DetailContentEnum::DetailContent detailContent READ detailContent NOTIFY detailContentChanged)
    Q_PROPERTY(VirtualMachine *selectedVM READ selectedVM NOTIFY selectedVMChanged)
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
    /// From now on the views of `engine`, which ends before this object, know it as AppState.
    void showTo(QQmlEngine &engine);
    [[nodiscard]] static AppState *create(QQmlEngine *engine, QJSEngine *jsEngine);

    [[nodiscard]] VMManager *vmManager() const { return m_vmManager.get(); }

    [[nodiscard]] SidebarSection selectedSection() const { return m_selectedSection; }
    void setSelectedSection(SidebarSection section);
    [[nodiscard]] QStringList sectionTitles() const;
    [[nodiscard]] QStringList sectionSymbols() const;
    [[nodiscard]] QString sectionTitle() const { return localizedName(m_selectedSection); }
    [[nodiscard]] DetailContent detailContent() const;
    [[nodiscard]] std::optional<QUuid> selectedVMID() const { return m_selectedVMID; }
    void setSelectedVMID(const std::optional<QUuid> &id);
    [[nodiscard]] bool showingCreateVM() const { return m_showingCreateVM; }
    void setShowingCreateVM(bool showing)
    {
        assign(m_showingCreateVM, showing, &AppState::showingCreateVMChanged);
    }
    [[nodiscard]] bool showingAppSettings() const { return m_showingAppSettings; }
    void setShowingAppSettings(bool showing)
    {
        assign(m_showingAppSettings, showing, &AppState::showingAppSettingsChanged);
    }
    [[nodiscard]] bool showingConsole() const { return m_showingConsole; }
    void setShowingConsole(bool showing)
    {
        assign(m_showingConsole, showing, &AppState::showingConsoleChanged);
    }
    /// The machine for which showingConsole() was set.
    [[nodiscard]] std::optional<QUuid> consoleVMID() const { return m_consoleVMID; }
    void setConsoleVMID(const std::optional<QUuid> &id)
    {
        assign(m_consoleVMID, id, &AppState::consoleVMIDChanged);
    }
    /// Empty means that there is none.
    [[nodiscard]] QString errorMessage() const { return m_errorMessage; }
    void setErrorMessage(const QString &message)
    {
        assign(m_errorMessage, message, &AppState::errorMessageChanged);
    }
    /// The installation medium for the next wizard, which takes it; invalid when there is none.
    [[nodiscard]] QUrl proposedImage() const { return m_proposedImage; }
    void setProposedImage(const QUrl &image)
    {
        assign(m_proposedImage, image, &AppState::proposedImageChanged);
    }
    /// True while a machine starts, runs or stops: not while it is paused.
    [[nodiscard]] bool isMachineAtWork() const { return m_isMachineAtWork; }
    /// True once load() has ended for the first time.
    [[nodiscard]] bool isLoaded() const { return m_isLoaded; }

    /// The listed machine with the selected identifier; null when there is none.
    [[nodiscard]] VirtualMachine *selectedVM() const;
    /// All machines, or in the section "Running" the running and paused ones.
    [[nodiscard]] QList<VirtualMachine *> filteredVirtualMachines() const;

    Q_INVOKABLE void load();
    Q_INVOKABLE void select(VirtualMachine *vm);
    Q_INVOKABLE void showSettings(VirtualMachine *vm);
    /// Runs the manager's operation; a failure becomes errorMessage().
    Q_INVOKABLE void perform(VirtualMachine *vm, VMCommandEnum::VMCommand command);
    /// The same on the selected machine; nothing without one.
    Q_INVOKABLE void performOnSelectedVM(VMCommandEnum::VMCommand command);
    /// Asks for the console once the installation has begun.
    Q_INVOKABLE void installAndShowConsole(VirtualMachine *vm);
    Q_INVOKABLE void finishInstallation(VirtualMachine *vm);
    /// The same from the machine's console, where a failure is told, too: consoleFailed().
    Q_INVOKABLE void performInConsole(VirtualMachine *vm, VMCommandEnum::VMCommand command);
    Q_INVOKABLE void finishInstallationInConsole(VirtualMachine *vm);
    Q_INVOKABLE void showConsole(VirtualMachine *vm);
    /// Makes and selects a machine; with an image begins its installation, and then asks for the console.
    /// Throws as the manager's operations do.
    [[nodiscard]] QCoro::Task<> createMachine(VMConfiguration configuration,
                                              std::optional<QUrl> installationImage);
    /// What quitting leaves behind, for people; empty where no machine runs, is paused, starts or stops.
    Q_INVOKABLE [[nodiscard]] QString quitNotice() const;
    /// The notice has been read.
    Q_INVOKABLE void confirmQuit();

Q_SIGNALS:
    void selectedSectionChanged();
    void detailContentChanged();
    void selectedVMIDChanged();
    void selectedVMChanged();
    void filteredVirtualMachinesChanged();
    void showingCreateVMChanged();
    void showingAppSettingsChanged();
    void showingConsoleChanged();
    void consoleVMIDChanged();
    void errorMessageChanged();
    void proposedImageChanged();
    void machineAtWorkChanged(bool atWork);
    void quitConfirmed();
    /// Each time load() has ended.
    void loaded();
    /// Each time somebody asks for the machine's console window, also when it is open already.
    void consoleRequested(const QUuid &id);
    /// The person has to decide whether the machine is stopped, where they asked for it.
    void stopQuestioned(VirtualMachine *vm, bool inConsole);
    /// Not where the console shows it anyway, as the reason of a failed machine.
    void consoleFailed(VirtualMachine *vm, const QString &message);

private:
    /// Who asked, and so is told of a failure.
    enum class Asker
    {
        mainWindow,
        mainWindowForConsole, ///< which opens after success
        console
    };

    template<typename Value>
    void assign(Value &field, const Value &value, void (AppState::*changed)())
    {
        if (field == value)
            return;
        field = value;
        Q_EMIT(this->*changed)();
    }
    void begin(VirtualMachine *vm, VMCommand command, Asker asker);
    [[nodiscard]] QCoro::Task<> run(QPointer<VirtualMachine> vm, VMCommand command, Asker asker);
    void complete(VirtualMachine *vm, Asker asker);
    void tellOfFailure(VirtualMachine *vm, const QString &message, Asker asker);
    [[nodiscard]] QCoro::Task<> operation(VirtualMachine *vm, VMCommand command);
    void followMachines();
    void updateDerivedState();

    std::unique_ptr<VMManager> m_vmManager;
    SidebarSection m_selectedSection = SidebarSection::virtualMachines;
    std::optional<QUuid> m_selectedVMID;
    bool m_showingCreateVM = false;
    bool m_showingAppSettings = false;
    bool m_showingConsole = false;
    std::optional<QUuid> m_consoleVMID;
    QString m_errorMessage;
    QUrl m_proposedImage;
    bool m_isLoaded = false;
    bool m_isMachineAtWork = false;

    QPointer<VirtualMachine> m_notifiedVM;
    DetailContent m_notifiedDetailContent = DetailContent::MachineList;
    QList<VirtualMachine *> m_notifiedList; ///< compared, never followed
};
