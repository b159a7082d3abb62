#pragma once

#include "Platform/Emulator/EmulatorPoll.h"
#include "Platform/Emulator/RunningEmulator.h"
#include "Platform/Hypervisor/VZVirtualMachineConfiguration.h"

struct EmulatorInstallation;

/// How long each step of an EmulatorSession may take.
struct EmulatorTimeouts
{
    std::chrono::milliseconds boot = std::chrono::seconds(30);
    std::chrono::milliseconds quit = std::chrono::seconds(2);
    /// After SIGKILL: the process may wait for a disk that does not answer.
    std::chrono::milliseconds kill = std::chrono::seconds(10);
    std::chrono::milliseconds answer = QMPChannel::defaultTimeout;
    std::chrono::milliseconds poll = EmulatorPoll::defaultInterval;
};

/// One run of the emulator for one machine, to its end. It is controlled through the machine's control
/// socket, so that others can do so as well. Destroying the session leaves the process alone. Main thread
/// only.
class EmulatorSession : public QObject
{
    Q_OBJECT

public:
    /// Launches the installed emulator; the guest stands still. Throws VZError, virtualMachineAlreadyRunning
    /// when a process has the machine's variable store, and PlatformError.
    explicit EmulatorSession(const VZVirtualMachineConfiguration &configuration);
    EmulatorSession(const VZVirtualMachineConfiguration &configuration,
                    const EmulatorInstallation &installation, const EmulatorTimeouts &timeouts);
    /// Goes on with an emulator that runs.
    EmulatorSession(const VZVirtualMachineConfiguration &configuration,
                    std::shared_ptr<ChildProcess> emulator, const EmulatorTimeouts &timeouts = {});
    ~EmulatorSession() override;

    /// Sets the guest going and is done when it runs. When that fails the process has ended, and the error is
    /// its last line of standard error.
    [[nodiscard]] QCoro::Task<> boot();
    [[nodiscard]] QCoro::Task<> pause();
    [[nodiscard]] QCoro::Task<> resume();
    /// Presses the guest's power button.
    [[nodiscard]] QCoro::Task<> requestStop();
    /// Ends the process: politely, then by force. Done when it is gone.
    [[nodiscard]] QCoro::Task<> quit();
    /// SIGKILL.
    void kill();
    /// See VZVirtualMachine::openDisplay().
    [[nodiscard]] UniqueDescriptor openDisplay();

    /// Those that live and end with the guest.
    [[nodiscard]] QList<pid_t> processIdentifiers() const;

    /// ended() has been sent.
    [[nodiscard]] bool hasEnded() const { return m_hasEnded; }
    /// Why it ended; nothing when the guest asked for it itself.
    [[nodiscard]] std::optional<QString> endReason() const { return m_endReason; }

    /// Removes what an emulator has left at the control socket, unless one has the store's lock; false when
    /// nothing was there.
    static bool removeSocket(const QString &variableStore, const QString &controlSocket);

Q_SIGNALS:
    void message(const QString &line);
    /// What the guest does by now, every second from its boot on.
    void statusSeen(const EmulatorStatus &status);
    /// Once: the process is gone and everything that it said is known.
    void ended();

private:
    class Quiet;

    [[nodiscard]] static std::shared_ptr<ChildProcess>
    launch(const VZVirtualMachineConfiguration &configuration, const EmulatorInstallation &installation);
    [[nodiscard]] QCoro::Task<> tell(QString command);
    [[nodiscard]] QCoro::Task<> handOver(std::shared_ptr<UniqueDescriptor> display);
    void noteLine(const QString &line);
    void noteStatus(const EmulatorStatus &status);
    void noteExit(const ChildExit &exit);
    void end(const ChildExit &exit);
    [[nodiscard]] QString logFolder() const;
    [[nodiscard]] std::optional<QString> reasonOf(const ChildExit &exit) const;

    EmulatorTimeouts m_timeouts;
    UniqueDescriptor m_folder; ///< of the control socket, wherever it is moved
    QString m_controlSocket;
    QString m_variableStore;
    std::shared_ptr<ChildProcess> m_process;
    std::optional<pid_t> m_logWriter; ///< see EmulatorLog; none where others have launched the emulator
    EmulatorPoll m_poll;
    QString m_lastLine;
    QString m_acceleratorLine; ///< the first that the host's own virtualization is complained of in
    QString m_guestFailure;
    std::optional<QString> m_endReason;
    bool m_isBooting = true;
    bool m_hasEnded = false;
    bool m_isKilled = false; ///< by us
};
