#pragma once

#include "Virtualization/Backend/VMBackendController.h"
#include "Virtualization/QEMU/QEMUGuest.h"

class FileManager;

/// A machine on an external QEMU with a software TPM. Destroying it leaves a running guest alone and lets an
/// operation that is under way come to its end.
class QEMUBackendController final : public VMBackendController
{
public:
    QEMUBackendController();
    /// `fileManager` must outlive the controller.
    QEMUBackendController(const QEMUDependencyService &dependencyService, FileManager &fileManager,
                          const QEMUTimeouts &timeouts);

    ~QEMUBackendController() override;

    [[nodiscard]] VMState state() const override;
    [[nodiscard]] VMBackendType backendType() const override { return VMBackendType::qemuHVF; }
    [[nodiscard]] VMDisplayKind displayKind() const override { return VMDisplayKind::vnc; }
    [[nodiscard]] VZVirtualMachine *vzMachine() const override { return nullptr; }
    [[nodiscard]] std::optional<QString> vncHost() const override;
    [[nodiscard]] std::optional<qint64> vncPort() const override;

    void configure(const VMConfiguration &configuration, VMBuildMode mode,
                   const std::optional<QUrl> &attachISO) override;
    [[nodiscard]] QCoro::Task<> start() override;
    [[nodiscard]] QCoro::Task<> stop() override;
    [[nodiscard]] QCoro::Task<> requestShutDown() override;
    [[nodiscard]] QCoro::Task<> pause() override;
    [[nodiscard]] QCoro::Task<> resume() override;
    void resetStateMachine(VMState to) override;
    [[nodiscard]] QList<pid_t> processIdentifiers() const override { return m_guest->processIdentifiers(); }
    [[nodiscard]] QCoro::Task<GuestTakeUp> takeUp(VMConfiguration configuration) override;

private:
    void prepareUEFIVariables(const QUrl &uefiVarsTemplate, const QUrl &destination);

    QEMUDependencyService m_dependencyService;
    FileManager *m_fileManager;
    QEMUTimeouts m_timeouts;
    std::shared_ptr<QEMUGuest> m_guest;
};
