#pragma once

#include "Platform/ChildProcess.h"
#include "Platform/Hypervisor/QMPChannel.h"
#include "Platform/Hypervisor/VZVirtualMachineConfiguration.h"

#include <QCoroTask>

#include <chrono>

struct EmulatorInstallation;

/// How long each step of an EmulatorSession may take.
struct EmulatorTimeouts
{
    std::chrono::milliseconds boot = std::chrono::seconds(30);
    std::chrono::milliseconds quit = std::chrono::seconds(2);
    /// After SIGKILL: the process may wait for a disk that does not answer.
    std::chrono::milliseconds kill = std::chrono::seconds(10);
    std::chrono::milliseconds answer = QMPChannel::defaultPatience;
};

/// One run of the emulator for one machine, from its launch to its end. Destroying it leaves the process
/// alone. Main thread only.
class EmulatorSession : public QObject
{
    Q_OBJECT

public:
    /// Launches the installed emulator; the guest stands still. Throws VZError, virtualMachineAlreadyRunning
    /// when a process has the machine's variable store, and PlatformError.
    explicit EmulatorSession(const VZVirtualMachineConfiguration &configuration);
    EmulatorSession(const VZVirtualMachineConfiguration &configuration,
                    const EmulatorInstallation &installation, const EmulatorTimeouts &timeouts);

    /// Sets the guest going and is done when it runs. When that fails the process has ended, and the error is
    /// its last line of standard error.
    [[nodiscard]] QCoro::Task<> boot();
    [[nodiscard]] QCoro::Task<> pause();
    [[nodiscard]] QCoro::Task<> resume();
    /// What the emulator says of the guest: "running", "paused", … (query-status). Throws VZError.
    [[nodiscard]] QCoro::Task<QString> status();
    /// Ends the process: politely, then by force. Done when it is gone.
    [[nodiscard]] QCoro::Task<> quit();
    /// SIGKILL.
    void kill();
    /// See VZVirtualMachine::openDisplay().
    [[nodiscard]] UniqueDescriptor openDisplay();

    /// The guest asked for the end itself.
    [[nodiscard]] bool guestShutDown() const { return m_guestShutDown; }
    /// ended() has been sent.
    [[nodiscard]] bool hasEnded() const { return m_hasEnded; }
    /// Why it ended, for people to read.
    [[nodiscard]] QString endDescription() const;

Q_SIGNALS:
    void message(const QString &line);
    /// Once: the process is gone and everything that it said is known.
    void ended();

private:
    /// The machine's lock, held open by the emulator, and the two ends of the control connection.
    struct Descriptors
    {
        UniqueDescriptor storeLock;
        UniqueDescriptor ours;
        UniqueDescriptor theirs;
    };

    EmulatorSession(const VZVirtualMachineConfiguration &configuration,
                    const EmulatorInstallation &installation, const EmulatorTimeouts &timeouts,
                    Descriptors descriptors);

    [[nodiscard]] static Descriptors makeDescriptors(const VZVirtualMachineConfiguration &configuration);
    [[nodiscard]] static ChildProcess::LaunchOptions
    launchOptions(const VZVirtualMachineConfiguration &configuration,
                  const EmulatorInstallation &installation, const Descriptors &descriptors);
    [[nodiscard]] QCoro::Task<> negotiateAndRun();
    [[nodiscard]] QCoro::Task<> failOnGuestError();
    void noteEvent(const QString &name, const QJsonObject &data);
    void reportEnd();

    EmulatorTimeouts m_timeouts;
    ChildProcess m_process;
    QMPChannel m_channel;
    QString m_lastLine;
    QString m_guestError;
    bool m_guestShutDown = false;
    bool m_isBooting = true;
    bool m_isStopExpected = true;
    bool m_hasEnded = false;
    bool m_isKilled = false; ///< by us
    int m_displays = 0;
};
