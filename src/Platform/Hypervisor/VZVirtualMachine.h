#pragma once

#include "Platform/Emulator/GuestTakeUp.h"
#include "Platform/Hypervisor/VZVirtualMachineConfiguration.h"
#include "Platform/UniqueDescriptor.h"

#include <QCoroTask>
#include <QObject>

#include <sys/types.h>

#include <exception>
#include <functional>
#include <memory>

class EmulatorSession;
struct EmulatorStatus;
struct RunningEmulator;
class VZError;
class VZVirtualMachine;

/// Nothing can be chosen yet.
struct VZVirtualMachineStartOptions
{};

/// Learns of ends that nobody asked for. Called on the main thread, from the event loop.
class VZVirtualMachineDelegate
{
public:
    virtual ~VZVirtualMachineDelegate() = default;

    /// The guest shut itself down.
    virtual void guestDidStop(VZVirtualMachine &machine) = 0;
    virtual void virtualMachineDidStopWithError(VZVirtualMachine &machine, const VZError &error) = 0;
};

/// A guest on the host hypervisor layer: one emulator process for each run, which others of the same user may
/// control as well. Destroying the object leaves a running guest alone; one that is just being started is
/// ended. Main thread only.
class VZVirtualMachine : public QObject
{
    Q_OBJECT
    Q_PROPERTY(State state READ state NOTIFY stateChanged)

public:
    enum class State
    {
        stopped,
        running,
        paused,
        error, ///< ended by an error
        starting,
        pausing,
        resuming,
        stopping
    };
    Q_ENUM(State)

    /// Called once, from the event loop; without an error after success.
    using CompletionHandler = std::function<void(const std::exception_ptr &error)>;

    /// Whether this host can run guests on the layer: an emulator and firmware for it are installed.
    [[nodiscard]] static bool isSupported();

    explicit VZVirtualMachine(const VZVirtualMachineConfiguration &configuration, QObject *parent = nullptr);
    ~VZVirtualMachine() override;

    [[nodiscard]] const VZVirtualMachineConfiguration &configuration() const { return m_configuration; }
    [[nodiscard]] virtual State state() const { return m_state; }
    /// Must outlive the machine or be replaced by null.
    void setDelegate(VZVirtualMachineDelegate *delegate) { m_delegate = delegate; }

    /// Goes on with the machine's guest that somebody else has started, or removes what an emulator that was
    /// killed has left behind. Only for a machine that is stopped.
    [[nodiscard]] QCoro::Task<GuestTakeUp> takeUp();

    // Errors of the operations: VZError, QMPError or PlatformError.

    /// Completes when the guest runs. A configuration that the emulator refuses fails with its last line of
    /// standard error.
    virtual void start(const VZVirtualMachineStartOptions &options, const CompletionHandler &handler);
    /// Ends the guest at once, like pulling the plug.
    virtual void stop(const CompletionHandler &handler);
    /// Asks the guest to end by itself, as its power button would; completes when it has been asked.
    virtual void requestStop(const CompletionHandler &handler);
    virtual void pause(const CompletionHandler &handler);
    /// Also of a guest that runs: a pause that was given up may still have come about.
    virtual void resume(const CompletionHandler &handler);

    /// Those of a guest that this object has started, which live and end with it.
    [[nodiscard]] virtual QList<pid_t> processIdentifiers() const;

    /// A new connection to the screen, keyboard and pointer of a guest that runs or is paused: a stream
    /// socket on which the emulator speaks RFB (RFC 6143) without authentication. The peer closes it when it
    /// refuses or ends. Throws VZError, PlatformError.
    [[nodiscard]] virtual UniqueDescriptor openDisplay();

Q_SIGNALS:
    void stateChanged();
    /// Every second: what the guest does is known again, and perhaps changed state(). `reason`: why it stands
    /// still, where nobody has asked for that.
    void statusSeen(const QString &reason);
    /// A line of the emulator's standard error.
    void emulatorMessage(const QString &line);

private:
    [[nodiscard]] QCoro::Task<> performStart();
    [[nodiscard]] QCoro::Task<> performStop();
    [[nodiscard]] QCoro::Task<> performRequestStop();
    [[nodiscard]] QCoro::Task<> performPause();
    [[nodiscard]] QCoro::Task<> performResume();
    void requireState(std::initializer_list<State> allowed, const QString &action) const;
    void setState(State state);
    [[nodiscard]] QCoro::Task<GuestTakeUp> takeUp(RunningEmulator emulator);
    void adopt(const std::shared_ptr<EmulatorSession> &session);
    void noteStatus(const EmulatorStatus &status);
    void handleEnd();

    VZVirtualMachineConfiguration m_configuration;
    State m_state = State::stopped;
    VZVirtualMachineDelegate *m_delegate = nullptr;
    std::shared_ptr<EmulatorSession> m_session;
};
