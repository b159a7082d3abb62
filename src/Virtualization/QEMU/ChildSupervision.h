#pragma once

#include <QCoroTask>

#include <chrono>
#include <memory>

class ChildProcess;

/// What the emulator's and the TPM emulator's processes have in common.
namespace ChildSupervision {

/// How long a process may take to end after SIGTERM.
inline constexpr std::chrono::milliseconds defaultGrace = std::chrono::seconds(10);

/// Puts what the child writes to standard error into the diagnostic log, as warnings under `name`.
void logStandardError(ChildProcess &process, const QString &name);
/// SIGTERM, and SIGKILL with a warning in the diagnostic log when that did nothing for `grace`. Done when the
/// process has ended.
[[nodiscard]] QCoro::Task<> end(std::shared_ptr<ChildProcess> process, QString name,
                                std::chrono::milliseconds grace);

} // namespace ChildSupervision
