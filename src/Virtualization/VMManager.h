#pragma once

#include "Models/VirtualMachine.h"
#include "Platform/Emulator/GuestTakeUp.h"
#include "Services/QEMUDependencyService.h"
#include "Services/SystemInfoService.h"
#include "Virtualization/BundleLibrary.h"
#include "Virtualization/DiskManager.h"
#include "Virtualization/GuestWatch.h"
#include "Virtualization/VMInstaller.h"

#include <QCoroTask>
#include <QHash>
#include <QObject>
#include <QSet>

#include <functional>
#include <map>
#include <memory>

class VMBackendController;

/// The single owner of all virtual machines: finds and makes them on disk, keeps one backend controller for
/// each and drives it. Operations on one machine never overlap (its `operationInProgress`), different
/// machines are independent. A failed operation throws into its task; main thread only.
class VMManager : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<VirtualMachine *> virtualMachines READ virtualMachines NOTIFY virtualMachinesChanged)

public:
    using ControllerFactory = std::function<std::unique_ptr<VMBackendController>(VMBackendType)>;

    struct Collaborators
    {
        VMStorage storage;
        DiskManager diskManager;
        VMInstaller installer;
        SystemInfoService systemInfoService;
        QEMUDependencyService qemuDependencyService;
        ControllerFactory makeController;
        /// See GuestWatch.
        QString sharedFolder = {};
        /// For a guest to shut itself down.
        std::chrono::milliseconds shutDownTimeout = std::chrono::seconds(30);
    };

    explicit VMManager(const Collaborators &collaborators, QObject *parent = nullptr);
    ~VMManager() override;
    /// Over the user's own storage root and the real host.
    [[nodiscard]] static Collaborators defaultCollaborators();

    /// In the order of loading, new ones last.
    [[nodiscard]] const QList<VirtualMachine *> &virtualMachines() const { return m_virtualMachines; }
    [[nodiscard]] VirtualMachine *virtualMachine(const QUuid &id) const;
    /// The controller of the machine that was started last; null without one.
    [[nodiscard]] VMBackendController *activeController() const { return m_activeController; }
    [[nodiscard]] std::optional<QUuid> activeVMID() const { return m_activeVMID; }
    [[nodiscard]] const SystemCapabilities &systemCapabilities() const { return m_systemCapabilities; }
    [[nodiscard]] const QEMUDependencyService &qemuDependencyService() const
    {
        return m_qemuDependencyService;
    }

    /// Replaces the list with what is on disk; a failure is logged and the list stays. A machine in use stays
    /// the object that it is, wherever its bundle has gone.
    QCoro::Task<> loadVirtualMachines();
    /// The listed machine of a bundle folder. One that lies outside the root is appended for this run. Throws
    /// VMStorageError or PlatformError.
    VirtualMachine *openBundle(const QUrl &bundle);
    /// Appends what has come into the root since it was last looked at, and notes what was moved in it.
    void listNewBundles();
    /// Takes up what others have started since, and guests of an earlier run, each as soon as it has
    /// answered.
    void lookForGuests();
    /// Takes over what another application has saved in the bundle since it was read, unless the machine is
    /// in use; what cannot be read changes nothing.
    void takeOverChanges(VirtualMachine &vm);
    /// Makes the files and appends the machine. The backend is the guest's recommended one; an identifier
    /// whose VNC port a known machine has is exchanged for one with a free port, as long as there is one.
    /// Throws KelvoError where there is anything in the folder already, or its path is too long for sockets.
    QCoro::Task<VirtualMachine *> createVirtualMachine(VMConfiguration configuration);
    /// Throws KelvoError, and writes nothing, when another application has saved the machine since
    /// takeOverChanges(), or the folder is no longer the machine's.
    void saveConfiguration(VirtualMachine &vm);
    void refreshDiskUsage(VirtualMachine &vm);
    /// Made on first use and kept, also when the machine's backend changes later.
    [[nodiscard]] VMBackendController &controller(const VirtualMachine &vm);
    /// Throws KelvoError when this host cannot run the configuration's backend.
    void validateBackendAvailability(const VMConfiguration &configuration) const;

    /// `attachISO`: an image for an installed machine's ordinary boot. A paused guest is resumed, unless an
    /// image is given. Where another guest lives already, this and beginInstallation() are refused before
    /// anything is touched, apart from the machine's state, which is put right.
    QCoro::Task<> start(VirtualMachine *vm, std::optional<QUrl> attachISO = std::nullopt);
    QCoro::Task<> stop(VirtualMachine *vm);
    /// Asks the guest to shut itself down; done when it has been asked. The machine is then shutting down
    /// until its guest has ended, or else for a while, after which shutDownOverdue() is sent.
    QCoro::Task<> requestShutDown(VirtualMachine *vm);
    /// False where stop() would end nothing that anybody could miss: no guest, or an installer that has just
    /// been booted.
    [[nodiscard]] bool mayLoseWork(const VirtualMachine &vm) const;
    QCoro::Task<> pause(VirtualMachine *vm);
    QCoro::Task<> resume(VirtualMachine *vm);
    /// `isoURL` goes before the configuration's own image.
    QCoro::Task<> beginInstallation(VirtualMachine *vm, std::optional<QUrl> isoURL = std::nullopt);
    void completeInstallation(VirtualMachine &vm);

Q_SIGNALS:
    void virtualMachinesChanged();
    /// Any listed machine's; a connection to each machine would cost thousands of them a megabyte.
    void machineStateChanged(VirtualMachine *vm);
    void activeVMIDChanged();
    /// A guest of ours runs, in these processes.
    void guestLaunched(VirtualMachine *vm, const QList<pid_t> &processes);
    /// Its guest has ended or come to a standstill without an operation of ours. `reason`: why; empty where
    /// it has ended in order, as it also does when it `wasAsked` to shut down.
    void guestStoodStill(VirtualMachine *vm, const QString &reason, bool wasAsked);
    /// The guest goes on as if it had not been asked.
    void shutDownOverdue(VirtualMachine *vm);

private:
    using ControllerOperation = QCoro::Task<> (VMBackendController::*)();

    [[nodiscard]] QCoro::Task<> performOnController(VirtualMachine *vm, ControllerOperation operation);

    void noteLaunch(VirtualMachine *vm, VMBackendController &backend);
    void waitForShutDown(VirtualMachine *vm);
    [[nodiscard]] QCoro::Task<> bootInstaller(VMConfiguration configuration, QUrl image,
                                              VMBackendController &backend);
    void setState(VirtualMachine *vm, VMState state);
    [[nodiscard]] std::optional<VMState> guestState(const QUuid &id) const;
    void noteUnaskedChange(const QUuid &id, const QString &reason);
    void look();
    [[nodiscard]] QCoro::Task<GuestTakeUp> takeUp(VirtualMachine *vm);
    [[nodiscard]] QCoro::Task<> takeUpBeforeStart(VirtualMachine *vm);
    [[nodiscard]] bool isInUse(const VirtualMachine &vm) const;
    void refuseWhileGuestLives(VirtualMachine &vm);
    void recordFailure(VirtualMachine *vm);
    void updateMetadata(const VirtualMachine &vm, const std::function<void(VMPersistedMetadata &)> &change);
    void setActive(VMBackendController *controller, const std::optional<QUuid> &id);
    void requireOwnDocuments(const VirtualMachine &vm);
    [[nodiscard]] QSet<qint64> knownPorts() const;
    static void avoidVNCPorts(const QSet<qint64> &known, VMConfiguration &configuration);
    VirtualMachine *takeIn(VMConfiguration configuration);
    [[nodiscard]] static VMConfiguration stored(VMConfiguration configuration);
    [[nodiscard]] VirtualMachine *makeStoredMachine(const VMConfiguration &configuration);
    [[nodiscard]] VirtualMachine *makeVirtualMachine(const VMConfiguration &configuration,
                                                     const VMPersistedMetadata &metadata);

    BundleLibrary m_library;
    GuestWatch m_guestWatch;
    DiskManager m_diskManager;
    VMInstaller m_installer;
    QEMUDependencyService m_qemuDependencyService;
    ControllerFactory m_makeController;
    SystemCapabilities m_systemCapabilities;
    std::chrono::milliseconds m_shutDownTimeout;
    QList<VirtualMachine *> m_virtualMachines;
    std::map<QUuid, std::unique_ptr<VMBackendController>> m_controllers;
    QHash<QUuid, VMPersistedMetadata> m_metadataByVMID;
    QSet<QUuid> m_unsavedMetadata; ///< newer in the table than on disk
    VMBackendController *m_activeController = nullptr;
    std::optional<QUuid> m_activeVMID;
};
