#pragma once

#include "Virtualization/QEMU/ChildSupervision.h"

#include <QCoroTask>
#include <QUrl>

#include <sys/types.h>

struct SWTPMTimeouts
{
    std::chrono::milliseconds socket = std::chrono::seconds(5);
    std::chrono::milliseconds grace = ChildSupervision::defaultGrace;
    /// An emulator that ends takes its TPM with it, and is usually seen to end a little later.
    std::chrono::milliseconds warning = std::chrono::seconds(2);
};

/// Owns at most one software TPM (swtpm(8)) and can be used again for the next. One that ends unasked is told
/// of in the diagnostic log. Destroying it leaves the process running. Main thread only; it must outlive its
/// tasks.
class SWTPMProcessManager
{
public:
    explicit SWTPMProcessManager(const SWTPMTimeouts &timeouts = {});
    SWTPMProcessManager(const SWTPMProcessManager &) = delete;
    SWTPMProcessManager &operator=(const SWTPMProcessManager &) = delete;
    ~SWTPMProcessManager();

    /// Ends an earlier one first; done when the control socket exists. `socketPath` is directly inside
    /// `tpmDirectory`. Throws PlatformError when the directory cannot be made or swtpm not be launched, and
    /// KelvoError::internalError when the socket does not appear; swtpm may then still be running.
    [[nodiscard]] QCoro::Task<> start(QUrl tpmDirectory, QUrl socketPath, QUrl swtpmBinary);
    /// Goes on with the one that listens at the control socket; false where none does.
    bool takeUp(const QUrl &socketPath);
    /// Asks swtpm to terminate and waits; kills one that does not within the grace period.
    [[nodiscard]] QCoro::Task<> stop();

    [[nodiscard]] QList<pid_t> processIdentifiers() const;

private:
    [[nodiscard]] QCoro::Task<> waitForSocket(QString path);

    SWTPMTimeouts m_timeouts;
    std::shared_ptr<ChildProcess> m_process;
    QMetaObject::Connection m_endWarning;
};
