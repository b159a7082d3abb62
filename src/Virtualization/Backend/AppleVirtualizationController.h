#pragma once

#include "Virtualization/Backend/VMBackendController.h"

/// A guest on the host hypervisor layer. No host offers the layer yet, so configuring one fails with
/// KelvoError::virtualizationUnavailable and there is nothing to start.
class AppleVirtualizationController final : public VMBackendController
{
public:
    [[nodiscard]] VMState state() const override { return m_stateMachine.state(); }
    [[nodiscard]] VMBackendType backendType() const override { return VMBackendType::appleVirtualization; }
    [[nodiscard]] VMDisplayKind displayKind() const override { return VMDisplayKind::hypervisorView; }
    [[nodiscard]] VZVirtualMachine *vzMachine() const override { return nullptr; }
    [[nodiscard]] std::optional<QString> vncHost() const override { return std::nullopt; }
    [[nodiscard]] std::optional<qint64> vncPort() const override { return std::nullopt; }

    void configure(const VMConfiguration &configuration, VMBuildMode mode,
                   const std::optional<QUrl> &attachISO) override;
    [[nodiscard]] QCoro::Task<> start() override;
    [[nodiscard]] QCoro::Task<> stop() override;
    [[nodiscard]] QCoro::Task<> pause() override;
    [[nodiscard]] QCoro::Task<> resume() override;
    void resetStateMachine(VMState to) override { m_stateMachine.forceSet(to); }

private:
    VMStateMachine m_stateMachine;
};
