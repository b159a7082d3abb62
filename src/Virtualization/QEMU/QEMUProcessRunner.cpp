#include "Virtualization/QEMU/QEMUProcessRunner.h"

#include "Platform/ChildProcess.h"
#include "Platform/Emulator/EmulatorEnd.h"
#include "Platform/Emulator/EmulatorLog.h"
#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"

using namespace Qt::StringLiterals;

/// What the last process has left.
struct QEMUProcessRunner::End
{
    QString lastLine;
    std::optional<ChildExit> exit;
};

QEMUProcessRunner::QEMUProcessRunner(std::chrono::milliseconds grace)
    : m_grace(grace)
{}

QEMUProcessRunner::~QEMUProcessRunner() = default;

void QEMUProcessRunner::onTermination(TerminationHandler handler)
{
    m_terminationHandler = std::move(handler);
}

QCoro::Task<> QEMUProcessRunner::start(QUrl qemuBinary, QStringList arguments, QUrl workingDirectory,
                                       QList<int> inheritedDescriptors)
{
    const QCoro::Task<> earlier = stop();
    co_await earlier;

    const QString name = FileUrl::lastComponent(qemuBinary);
    const ChildProcess::LaunchOptions options = {
        .program = FileUrl::path(qemuBinary),
        .arguments = arguments,
        .workingDirectory = FileUrl::path(workingDirectory),
        .standardInput = ChildProcess::StandardInput::inherited,
        .standardOutput = ChildProcess::StandardOutput::discarded,
        .inheritedDescriptors = inheritedDescriptors,
    };
    const auto process = std::make_shared<ChildProcess>(options);
    ChildSupervision::logStandardError(*process, name);
    follow(process);
    m_logWriter = EmulatorLog::keep(*process, FileUrl::path(workingDirectory));
    DiagnosticLogger::shared().log(u"QEMU started: "_s + name, LogLevel::info);
}

void QEMUProcessRunner::takeUp(const std::shared_ptr<ChildProcess> &process)
{
    m_logWriter.reset();
    follow(process);
}

void QEMUProcessRunner::follow(const std::shared_ptr<ChildProcess> &process)
{
    const auto left = std::make_shared<End>();
    m_end = left;
    QObject::connect(process.get(), &ChildProcess::standardErrorLine, process.get(),
                     [left](const QString &line) {
                         if (!line.startsWith(ChildSupervision::hostNote))
                             left->lastLine = line;
                     });
    QObject::connect(process.get(), &ChildProcess::exited, process.get(),
                     [left](const ChildExit &exit) { left->exit = exit; });
    if (const TerminationHandler handler = m_terminationHandler) {
        QObject::connect(process.get(), &ChildProcess::exited, process.get(),
                         [handler](const ChildExit &exit) { handler(exit.value); });
    }
    m_process = process;
}

QCoro::Task<> QEMUProcessRunner::stop()
{
    const std::shared_ptr<ChildProcess> process = m_process;
    if (!process)
        co_return;
    const QCoro::Task<> end = ChildSupervision::end(process, u"QEMU"_s, m_grace);
    co_await end;
    forget(process);
}

QCoro::Task<> QEMUProcessRunner::forceStop()
{
    const std::shared_ptr<ChildProcess> process = m_process;
    if (!process)
        co_return;
    const QCoro::Task<> end = ChildSupervision::kill(process, u"QEMU"_s);
    co_await end;
    forget(process);
}

bool QEMUProcessRunner::isRunning() const
{
    return m_process && m_process->isRunning();
}

QList<pid_t> QEMUProcessRunner::processIdentifiers() const
{
    QList<pid_t> identifiers;
    if (isRunning())
        identifiers.append(m_process->processIdentifier());
    if (m_logWriter)
        identifiers.append(*m_logWriter);
    return identifiers;
}

bool QEMUProcessRunner::hasEndedUnwatched() const
{
    return m_end && m_end->exit && m_end->exit->kind == ChildExit::Kind::unknown;
}

std::optional<QString> QEMUProcessRunner::endReason(const QUrl &controlSocket) const
{
    if (!m_end || !m_end->exit)
        return std::nullopt;
    const QUrl folder = FileUrl::deletingLastComponent(controlSocket);
    return EmulatorEnd::reason(*m_end->exit, m_end->lastLine, FileUrl::path(controlSocket),
                               FileUrl::path(folder));
}

QCoro::Task<bool> QEMUProcessRunner::waitForExit(std::chrono::milliseconds timeout)
{
    const std::shared_ptr<ChildProcess> process = m_process;
    if (!process)
        co_return true;
    const QCoro::Task<bool> exit = process->waitForExit(timeout);
    const bool hasEnded = co_await exit;
    co_return hasEnded;
}

void QEMUProcessRunner::forget(const std::shared_ptr<ChildProcess> &process)
{
    if (m_process == process)
        m_process.reset();
}
