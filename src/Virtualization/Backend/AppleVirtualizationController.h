#pragma once

#include "Platform/Hypervisor/VZVirtualMachine.h"
#include "Virtualization/Backend/VMBackendController.h"
#include "Virtualization/VMConfigurationBuilder.h"

#include <QObject>

/// A machine on the host hypervisor layer. Destroying it leaves a running guest alone.
class AppleVirtualizationController final : public QObject,
                                            public VMBackendController,
                                            public VZVirtualMachineDelegate
{
    Q_OBJECT

public:
    using MachineFactory =
        std::function<std::unique_ptr<VZVirtualMachine>(const VZVirtualMachineConfiguration &)>;

    AppleVirtualizationController();
    AppleVirtualizationController(const VMConfigurationBuilder &configurationBuilder,
                                  const MachineFactory &makeMachine);

    [[nodiscard]] VMState state() const override { return m_stateMachine.state(); }
    [[nodiscard]] VMBackendType backendType() const override { return VMBackendType::appleVirtualization; }
    [[nodiscard]] VMDisplayKind displayKind() const override { return VMDisplayKind::hypervisorView; }
    [[nodiscard]] VZVirtualMachine *vzMachine() const override { return m_virtualMachine.get(); }
    [[nodiscard]] std::optional<QString> vncHost() const override { return std::nullopt; }
    [[nodiscard]] std::optional<qint64> vncPort() const override { return std::nullopt; }

    /// After a failure the machine of an earlier call is still there. Refused while that has a living guest.
    void configure(const VMConfiguration &configuration, VMBuildMode mode,
                   const std::optional<QUrl> &attachISO) override;
    /// Takes a ready machine instead, with the same refusal; the run state stays as it is.
    void configure(const VZVirtualMachineConfiguration &configuration);
    [[nodiscard]] QCoro::Task<> start() override;
    [[nodiscard]] QCoro::Task<> start(VZVirtualMachineStartOptions options);
    [[nodiscard]] QCoro::Task<> stop() override;
    [[nodiscard]] QCoro::Task<> requestShutDown() override;
    [[nodiscard]] QCoro::Task<> pause() override;
    [[nodiscard]] QCoro::Task<> resume() override;
    void resetStateMachine(VMState to) override { m_stateMachine.forceSet(to); }
    [[nodiscard]] QList<pid_t> processIdentifiers() const override;
    [[nodiscard]] QCoro::Task<GuestTakeUp> takeUp(VMConfiguration configuration) override;

    void guestDidStop(VZVirtualMachine &machine) override;
    void virtualMachineDidStopWithError(VZVirtualMachine &machine, const VZError &error) override;

private:
    using CompletionHandler = VZVirtualMachine::CompletionHandler;
    /// Calls one operation of the machine.
    using MachineCall = std::function<void(VZVirtualMachine &, const CompletionHandler &)>;

    [[nodiscard]] QCoro::Task<>
    performLifecycleOperation(VMState targetState,
                              QCoro::Task<> (AppleVirtualizationController::*operation)());
    [[nodiscard]] auto markBusy();
    [[nodiscard]] QCoro::Task<> boot();
    [[nodiscard]] QCoro::Task<> shutDown();
    [[nodiscard]] QCoro::Task<> call(MachineCall operation);
    void adopt(std::unique_ptr<VZVirtualMachine> machine);
    void noteStatus(const QString &reason);
    void requireIdle() const;
    void requireNoGuest() const;
    void fail(const std::exception_ptr &failure);

    MachineFactory m_makeMachine;
    std::unique_ptr<VZVirtualMachine> m_virtualMachine;
    VMStateMachine m_stateMachine;
    bool m_operationInProgress = false;
    QString m_standstill; ///< why the guest stands still, where nobody has asked for that
    VMConfigurationBuilder m_configurationBuilder;
    VZVirtualMachineStartOptions m_startOptions;
};
