#include "Virtualization/QEMU/ChildSupervision.h"

#include "Platform/ChildProcess.h"
#include "Services/DiagnosticLogger.h"

using namespace Qt::StringLiterals;

namespace ChildSupervision {

void logStandardError(ChildProcess &process, const QString &name)
{
    const QString prefix = name + u": "_s;
    QObject::connect(&process, &ChildProcess::standardErrorLine, &process, [prefix](const QString &line) {
        const QString message = line.startsWith(prefix) ? line : prefix + line;
        DiagnosticLogger::shared().log(message,
                                       line.startsWith(hostNote) ? LogLevel::info : LogLevel::warning);
    });
}

QCoro::Task<> end(std::shared_ptr<ChildProcess> process, QString name, std::chrono::milliseconds grace)
{
    process->terminate();
    const QCoro::Task<bool> politeEnd = process->waitForExit(grace);
    const bool ended = co_await politeEnd;
    if (ended)
        co_return;
    DiagnosticLogger::shared().log(name + u" did not end when asked to and is killed."_s, LogLevel::warning);
    const QCoro::Task<> abruptEnd = kill(process, name);
    co_await abruptEnd;
}

QCoro::Task<> kill(std::shared_ptr<ChildProcess> process, QString name)
{
    process->kill();
    const QCoro::Task<bool> end = process->waitForExit(killPatience);
    const bool ended = co_await end;
    if (!ended)
        DiagnosticLogger::shared().log(name + u" was killed, but the host does not let it end."_s,
                                       LogLevel::error);
}

} // namespace ChildSupervision
