#pragma once

#include <QCoroTask>
#include <QString>

#include <chrono>
#include <memory>

class ChildProcess;

/// What the emulator's and the TPM emulator's processes have in common.
namespace ChildSupervision {

/// How long a process may take to end after SIGTERM.
inline constexpr std::chrono::milliseconds defaultGrace = std::chrono::seconds(10);
inline constexpr std::chrono::milliseconds killPatience = std::chrono::seconds(10);

/// How the host adapter begins what it has to say before it becomes the emulator; no word of the emulator's
/// own.
inline constexpr QLatin1StringView hostNote{"kelvo-host-adapter: note: "};

/// Puts what the child writes to standard error into the diagnostic log, as warnings under `name`; notes of
/// the host adapter are none.
void logStandardError(ChildProcess &process, const QString &name);
/// SIGTERM, and kill() with a warning in the diagnostic log when that did nothing for `grace`.
[[nodiscard]] QCoro::Task<> end(std::shared_ptr<ChildProcess> process, QString name,
                                std::chrono::milliseconds grace);
/// SIGKILL. Done when the process has ended or, with an error in the diagnostic log, after `killPatience`: a
/// process that waits for a broken disk ends only when that answers.
[[nodiscard]] QCoro::Task<> kill(std::shared_ptr<ChildProcess> process, QString name);

} // namespace ChildSupervision
