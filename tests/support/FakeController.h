#pragma once

#include "Virtualization/Backend/VMBackendController.h"

#include <QStringList>

#include <coroutine>
#include <memory>

/// A controller that does as it is told: every call is noted, may fail, and an operation may be held open.
class FakeController final : public VMBackendController
{
public:
    VMState currentState = VMState::poweredOff;
    QStringList calls;            ///< "configure installation …", "start", …
    QString failingCall;          ///< the call that throws KelvoError::internalError("…")
    bool holdsOperations = false; ///< an operation waits until release()
    std::optional<qint64> port;   ///< set by configure()
    GuestTakeUp guest;            ///< what takeUp() finds; a guest that it takes up runs
    QList<pid_t> processes;
    VMDisplayKind display = VMDisplayKind::vnc;
    VZVirtualMachine *machine = nullptr; ///< not owned

    /// A held operation fails when the controller goes.
    ~FakeController() override;

    void release();
    /// As when a guest changes its state by itself.
    void change(VMState state, const QString &reason = {});

    [[nodiscard]] VMState state() const override { return currentState; }
    [[nodiscard]] VMBackendType backendType() const override { return VMBackendType::qemuHVF; }
    [[nodiscard]] VMDisplayKind displayKind() const override { return display; }
    [[nodiscard]] VZVirtualMachine *vzMachine() const override { return machine; }
    [[nodiscard]] std::optional<QString> vncHost() const override;
    [[nodiscard]] std::optional<qint64> vncPort() const override { return port; }
    void configure(const VMConfiguration &configuration, VMBuildMode mode,
                   const std::optional<QUrl> &attachISO) override;
    [[nodiscard]] QCoro::Task<> start() override;
    [[nodiscard]] QCoro::Task<> stop() override;
    [[nodiscard]] QCoro::Task<> requestShutDown() override;
    [[nodiscard]] QCoro::Task<> pause() override;
    [[nodiscard]] QCoro::Task<> resume() override;
    void resetStateMachine(VMState to) override { currentState = to; }
    [[nodiscard]] QList<pid_t> processIdentifiers() const override { return processes; }
    [[nodiscard]] QCoro::Task<GuestTakeUp> takeUp(VMConfiguration configuration) override;

private:
    /// Where an operation waits. It goes on from the event loop, as after a real one, when the controller may
    /// have gone.
    struct Gate
    {
        std::coroutine_handle<> waiting;
        bool isControllerGone = false;

        void open();
    };
    struct Wait
    {
        std::shared_ptr<Gate> gate;

        [[nodiscard]] bool await_ready() const { return false; }
        void await_suspend(std::coroutine_handle<> coroutine) { gate->waiting = coroutine; }
        void await_resume() const {}
    };

    void note(const QString &call);
    [[nodiscard]] QCoro::Task<> operate(QString call, VMState target);

    std::shared_ptr<Gate> m_gate = std::make_shared<Gate>();
};
