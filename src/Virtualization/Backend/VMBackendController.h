#pragma once

#include "Models/VMConfiguration.h"
#include "Models/VMState.h"
#include "Platform/Emulator/GuestTakeUp.h"

#include <QCoroTask>
#include <QList>

#include <sys/types.h>

#include <functional>

class VZVirtualMachine;

enum class VMBuildMode
{
    normalBoot,  ///< the installed disk
    installation ///< the installation media attached
};

enum class VMDisplayKind
{
    hypervisorView, ///< the host hypervisor layer's own view
    vnc             ///< an RFB server at vncHost() and vncPort()
};

/// One virtual machine on one backend. A call that finds the controller busy fails with
/// KelvoError::operationInProgress, one that does not fit the state with VMStateTransitionError. The state
/// may also change unasked (the guest shut down, its process ended), which is told. Main thread only;
/// operations suspend there.
class VMBackendController
{
public:
    VMBackendController() = default;
    VMBackendController(const VMBackendController &) = delete;
    VMBackendController &operator=(const VMBackendController &) = delete;
    virtual ~VMBackendController() = default;

    [[nodiscard]] virtual VMState state() const = 0;
    [[nodiscard]] virtual VMBackendType backendType() const = 0;
    [[nodiscard]] virtual VMDisplayKind displayKind() const = 0;
    /// The layer's machine for its display view; null without one.
    [[nodiscard]] virtual VZVirtualMachine *vzMachine() const = 0;
    [[nodiscard]] virtual std::optional<QString> vncHost() const = 0;
    [[nodiscard]] virtual std::optional<qint64> vncPort() const = 0;

    /// Prepares the next start; starts nothing. Throws.
    virtual void configure(const VMConfiguration &configuration, VMBuildMode mode,
                           const std::optional<QUrl> &attachISO) = 0;
    /// Done when the guest runs.
    [[nodiscard]] virtual QCoro::Task<> start() = 0;
    /// Done when it has stopped.
    [[nodiscard]] virtual QCoro::Task<> stop() = 0;
    /// Asks a guest that runs to shut itself down, as its power button would; done when it has been asked.
    [[nodiscard]] virtual QCoro::Task<> requestShutDown() = 0;
    [[nodiscard]] virtual QCoro::Task<> pause() = 0;
    [[nodiscard]] virtual QCoro::Task<> resume() = 0;
    virtual void resetStateMachine(VMState to) = 0;
    /// Those of a guest that this controller has started, which live and end with it.
    [[nodiscard]] virtual QList<pid_t> processIdentifiers() const = 0;
    /// Goes on with the guest that an earlier run of the application, or another one of the same user, has
    /// started for the machine, or clears away what such a guest has left. Only for a machine without a guest
    /// of this controller.
    [[nodiscard]] virtual QCoro::Task<GuestTakeUp> takeUp(VMConfiguration configuration) = 0;

    /// `reason`: why the guest did not end in order; empty where it did.
    using ChangeHandler = std::function<void(const QString &reason)>;
    /// Called from the event loop after each change of the state that no operation has asked for.
    void onUnaskedChange(ChangeHandler handler) { m_changeHandler = std::move(handler); }

protected:
    void tellOfUnaskedChange(const QString &reason = {}) const
    {
        if (m_changeHandler)
            m_changeHandler(reason);
    }

private:
    ChangeHandler m_changeHandler;
};
