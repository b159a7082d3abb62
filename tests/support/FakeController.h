#pragma once

#include "Virtualization/Backend/VMBackendController.h"

#include <QStringList>

#include <functional>

/// A controller that does as it is told: every call is noted, may fail, and an operation may be held open.
class FakeController final : public QObject, public VMBackendController
{
    Q_OBJECT

public:
    VMState currentState = VMState::poweredOff;
    QStringList calls;                           ///< "configure installation …", "start", …
    QString failingCall;                         ///< the call that throws KelvoError::internalError("…")
    bool holdsOperations = false;                ///< an operation waits until release()
    std::optional<qint64> port;                  ///< set by configure()
    VMDisplayKind display = VMDisplayKind::vnc;

    void release();

    [[nodiscard]] VMState state() const override { return currentState; }
    [[nodiscard]] VMBackendType backendType() const override { return VMBackendType::qemuHVF; }
    [[nodiscard]] VMDisplayKind displayKind() const override { return display; }
    [[nodiscard]] VZVirtualMachine *vzMachine() const override { return nullptr; }
    [[nodiscard]] std::optional<QString> vncHost() const override;
    [[nodiscard]] std::optional<qint64> vncPort() const override { return port; }
    void configure(const VMConfiguration &configuration, VMBuildMode mode,
                   const std::optional<QUrl> &attachISO) override;
    [[nodiscard]] QCoro::Task<> start() override;
    [[nodiscard]] QCoro::Task<> stop() override;
    [[nodiscard]] QCoro::Task<> pause() override;
    [[nodiscard]] QCoro::Task<> resume() override;
    void resetStateMachine(VMState to) override { currentState = to; }

Q_SIGNALS:
    void released();

private:
    void note(const QString &call);
    [[nodiscard]] QCoro::Task<> operate(QString call, VMState target);
};
