#pragma once

#include "Virtualization/QEMU/ChildSupervision.h"

#include <QCoroTask>
#include <QStringList>
#include <QUrl>

#include <sys/types.h>

#include <functional>

/// Owns at most one QEMU process and can be used again for the next. Destroying it leaves the process
/// running. Main thread only; it must outlive its tasks.
class QEMUProcessRunner
{
public:
    using TerminationHandler = std::function<void(qint32 exitStatus)>;

    explicit QEMUProcessRunner(std::chrono::milliseconds grace = ChildSupervision::defaultGrace);
    QEMUProcessRunner(const QEMUProcessRunner &) = delete;
    QEMUProcessRunner &operator=(const QEMUProcessRunner &) = delete;
    ~QEMUProcessRunner();

    /// For processes that are started afterwards: called once on the main thread when one has ended, with its
    /// exit status or the number of the signal that ended it.
    void onTermination(TerminationHandler handler);
    /// Ends an earlier process first. QEMU has `inheritedDescriptors` for as long as it lives. Throws
    /// PlatformError when it cannot be launched.
    [[nodiscard]] QCoro::Task<> start(QUrl qemuBinary, QStringList arguments, QUrl workingDirectory,
                                      QList<int> inheritedDescriptors = {});
    /// Goes on with a process that was started elsewhere; only while none runs.
    void takeUp(const std::shared_ptr<ChildProcess> &process);
    /// Asks QEMU to terminate and waits; kills one that does not within the grace period.
    [[nodiscard]] QCoro::Task<> stop();
    /// Kills and waits.
    [[nodiscard]] QCoro::Task<> forceStop();
    [[nodiscard]] bool isRunning() const;
    /// Those that were started here, which live and end together.
    [[nodiscard]] QList<pid_t> processIdentifiers() const;
    /// True where the last process has ended and only its EmulatorLog can say why.
    [[nodiscard]] bool hasEndedUnwatched() const;
    /// Of the last process, see EmulatorEnd; nothing while it runs. The working directory is that of the
    /// control socket.
    [[nodiscard]] std::optional<QString> endReason(const QUrl &controlSocket) const;
    /// True when no process runs (any more), false when the time is over.
    [[nodiscard]] QCoro::Task<bool> waitForExit(std::chrono::milliseconds timeout);

private:
    struct End;

    void follow(const std::shared_ptr<ChildProcess> &process);
    void forget(const std::shared_ptr<ChildProcess> &process);

    std::chrono::milliseconds m_grace;
    TerminationHandler m_terminationHandler;
    std::shared_ptr<ChildProcess> m_process;
    std::optional<pid_t> m_logWriter; ///< see EmulatorLog
    std::shared_ptr<End> m_end;
};
