#include "Virtualization/QEMU/SWTPMProcessManager.h"

#include "Platform/ChildProcess.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/PlatformError.h"
#include "Platform/UnixSocket.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/KelvoError.h"

#include <QDeadlineTimer>
#include <QTimer>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

void removeIfPresent(const QString &path)
{
    try {
        if (FileManager::defaultManager().fileExists(path))
            FileManager::defaultManager().removeItem(path);
    } catch (const LocalizedError &) {
        // swtpm says itself that it cannot make its socket.
    }
}

ChildProcess::LaunchOptions launchOptions(const QString &directory, const QUrl &socketPath,
                                          const QUrl &swtpmBinary)
{
    // swtpm takes every comma for a separator and knows no way to write one; relative paths have none.
    const bool isRelative = directory.contains(u',');
    const QString stateDirectory = isRelative ? u"."_s : directory;
    const QString socket = isRelative ? FileUrl::lastComponent(socketPath) : FileUrl::path(socketPath);
    return {
        .program = FileUrl::path(swtpmBinary),
        .arguments = {u"socket"_s, u"--tpm2"_s, u"--tpmstate"_s, u"dir="_s + stateDirectory, u"--ctrl"_s,
                      u"type=unixio,path="_s + socket},
        .workingDirectory = isRelative ? directory : QString(),
        .standardInput = ChildProcess::StandardInput::inherited,
        .standardOutput = ChildProcess::StandardOutput::inherited,
        .inheritedDescriptors = {},
    };
}

} // namespace

SWTPMProcessManager::SWTPMProcessManager(const SWTPMTimeouts &timeouts)
    : m_timeouts(timeouts)
{}

SWTPMProcessManager::~SWTPMProcessManager() = default;

QCoro::Task<> SWTPMProcessManager::start(QUrl tpmDirectory, QUrl socketPath, QUrl swtpmBinary)
{
    const QCoro::Task<> earlier = stop();
    co_await earlier;

    const QString directory = FileUrl::path(tpmDirectory);
    const QString socket = FileUrl::path(socketPath);
    FileManager::defaultManager().createDirectory(directory);
    // One whose QEMU has gone waits for ever and keeps the state directory locked.
    if (takeUp(socketPath)) {
        const QCoro::Task<> strayEnded = stop();
        co_await strayEnded;
    }
    removeIfPresent(socket);

    const ChildProcess::LaunchOptions options = launchOptions(directory, socketPath, swtpmBinary);
    m_process = std::make_shared<ChildProcess>(options);
    ChildSupervision::logStandardError(*m_process, u"swtpm"_s);
    const QCoro::Task<> socketUp = waitForSocket(socket);
    co_await socketUp;
    ChildProcess *const process = m_process.get();
    m_endWarning =
        QObject::connect(process, &ChildProcess::exited, process, [process, delay = m_timeouts.warning] {
            QTimer::singleShot(delay, process, [] {
                DiagnosticLogger::shared().log(
                    u"swtpm ended; its guest has no TPM until it is started again."_s, LogLevel::warning);
            });
        });
    DiagnosticLogger::shared().log(u"swtpm started for "_s + FileUrl::lastComponent(tpmDirectory),
                                   LogLevel::info);
}

bool SWTPMProcessManager::takeUp(const QUrl &socketPath)
{
    try {
        const UniqueDescriptor connection = UnixSocket::connect(FileUrl::path(socketPath));
        UnixSocket::Peer peer = UnixSocket::peerOf(connection);
        if (!peer.isOurUser || !peer.runsProgram(u"swtpm"))
            return false;
        m_process = std::make_shared<ChildProcess>(std::move(peer.process), peer.identifier);
        return true;
    } catch (const PlatformError &) {
        return false; // nobody listens
    }
}

QCoro::Task<> SWTPMProcessManager::stop()
{
    const std::shared_ptr<ChildProcess> process = m_process;
    if (!process)
        co_return;
    QObject::disconnect(m_endWarning);
    const QCoro::Task<> end = ChildSupervision::end(process, u"swtpm"_s, m_timeouts.grace);
    co_await end;
    if (m_process == process)
        m_process.reset();
}

QCoro::Task<> SWTPMProcessManager::waitForSocket(QString path)
{
    const std::shared_ptr<ChildProcess> process = m_process;
    const QDeadlineTimer deadline(m_timeouts.socket);
    std::chrono::milliseconds interval = 5ms; // it is usually there after a few
    while (!deadline.hasExpired() && process->isRunning()) {
        if (FileManager::defaultManager().fileExists(path))
            co_return;
        const QCoro::Task<bool> pause = process->waitForExit(interval);
        co_await pause;
        interval = std::min(2 * interval, 50ms);
    }
    throw KelvoError::internalError(u"Timed out waiting for swtpm socket."_s);
}

QList<pid_t> SWTPMProcessManager::processIdentifiers() const
{
    return m_process && m_process->isRunning() ? QList<pid_t>{m_process->processIdentifier()}
                                               : QList<pid_t>();
}
