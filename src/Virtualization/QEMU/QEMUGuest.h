#pragma once

#include "Models/VMConfiguration.h"
#include "Models/VMState.h"
#include "Platform/Emulator/EmulatorPoll.h"
#include "Platform/Emulator/GuestTakeUp.h"
#include "Platform/Emulator/RunningEmulator.h"
#include "Services/QEMUDependencyService.h"
#include "Virtualization/QEMU/LoopbackPort.h"
#include "Virtualization/QEMU/QEMUProcessRunner.h"
#include "Virtualization/QEMU/QEMURuntimePaths.h"
#include "Virtualization/QEMU/QMPClient.h"
#include "Virtualization/QEMU/SWTPMProcessManager.h"

/// How long the steps of a guest's life may take.
struct QEMUTimeouts
{
    std::chrono::milliseconds display = std::chrono::seconds(10);
    std::chrono::milliseconds displayPoll = std::chrono::milliseconds(100); ///< at most
    std::chrono::milliseconds grace = ChildSupervision::defaultGrace;       ///< after SIGTERM
    std::chrono::milliseconds poll = EmulatorPoll::defaultInterval;
    SWTPMTimeouts swtpm = {};
    QMPTimeouts qmp = {};
};

/// All that the next start needs.
struct QEMULaunchPlan
{
    VMConfiguration configuration;
    QEMURuntimePaths runtimePaths;
    QEMUDependencies dependencies;
    QStringList arguments;
    QMPClient qmpClient;
};

/// The two processes of one machine and its run state. Operations keep the object alive until they end, so
/// their caller may let go of it at any time; the processes go on when it is destroyed. Main thread only.
class QEMUGuest : public std::enable_shared_from_this<QEMUGuest>
{
public:
    explicit QEMUGuest(const QEMUTimeouts &timeouts);

    [[nodiscard]] VMState state() const { return m_stateMachine.state(); }
    void resetStateMachine(VMState to) { m_stateMachine.forceSet(to); }
    [[nodiscard]] const std::optional<QEMULaunchPlan> &plan() const { return m_plan; }
    void setPlan(const QEMULaunchPlan &plan) { m_plan = plan; }
    /// Called after each change of the state that no operation has asked for, with the reason where something
    /// went wrong.
    void onUnaskedChange(std::function<void(const QString &reason)> handler)
    {
        m_changeHandler = std::move(handler);
    }

    /// See VMBackendController::processIdentifiers().
    [[nodiscard]] QList<pid_t> processIdentifiers() const;
    [[nodiscard]] QCoro::Task<> start();
    [[nodiscard]] QCoro::Task<> stop();
    [[nodiscard]] QCoro::Task<> requestShutDown();
    [[nodiscard]] QCoro::Task<> pause();
    [[nodiscard]] QCoro::Task<> resume();
    /// See VMBackendController::takeUp(); the machine's port becomes the one that the guest really has.
    [[nodiscard]] QCoro::Task<GuestTakeUp> takeUp(QEMULaunchPlan plan);

    /// Removes what stands at `path` unless a process listens there: a guest that outlived an earlier run of
    /// the application keeps its control channel.
    static void removeSocket(const QUrl &path);

private:
    using Operation = QCoro::Task<> (QEMUGuest::*)();

    [[nodiscard]] QCoro::Task<> performLifecycleOperation(VMState targetState, Operation operation);
    [[nodiscard]] QCoro::Task<> boot();
    [[nodiscard]] QCoro::Task<> shutDown();
    [[nodiscard]] QCoro::Task<> refuseForeignGuest();
    [[nodiscard]] QCoro::Task<GuestTakeUp> takeUp(RunningEmulator emulator);
    [[nodiscard]] QCoro::Task<GuestTakeUp> clearRemains();
    void follow();
    void noteStatus(const EmulatorStatus &status);
    [[nodiscard]] QCoro::Task<> endFailedGuest();
    void tell(const QString &reason);
    [[nodiscard]] QCoro::Task<> waitForVNCPort(std::chrono::milliseconds timeout);
    [[nodiscard]] static QCoro::Task<bool> isPortOpen(qint64 port);
    void requireIdle() const;
    void noteProcessExit(quint64 launch);
    void scheduleProcessExit();
    [[nodiscard]] QCoro::Task<> handleProcessExit(quint64 launch);
    [[nodiscard]] QCoro::Task<> clearAway();
    [[nodiscard]] UniqueDescriptor takeLock() const;

    QEMUTimeouts m_timeouts;
    VMStateMachine m_stateMachine;
    bool m_operationInProgress = false;
    std::optional<QEMULaunchPlan> m_plan;
    std::shared_ptr<LoopbackPort::Claim> m_portClaim; ///< from start() until the processes have ended
    SWTPMProcessManager m_swtpm;
    QEMUProcessRunner m_qemu;
    quint64 m_launch = 0; ///< counts the starts, so that the end of an earlier process is told apart
    std::optional<quint64> m_exitToHandle;
    std::unique_ptr<EmulatorPoll> m_poll; ///< while a guest runs
    QString m_standstill;                 ///< why the guest stands still, where nobody has asked for that
    QString m_failure;                    ///< why the host could run it no further
    UniqueDescriptor m_lock;              ///< of the variable store, until QEMU has it, too
    std::function<void(const QString &reason)> m_changeHandler;
};
