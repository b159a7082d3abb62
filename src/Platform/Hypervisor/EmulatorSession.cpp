#include "Platform/Hypervisor/EmulatorSession.h"

#include "Platform/Emulator/EmulatorEnd.h"
#include "Platform/Emulator/EmulatorLog.h"
#include "Platform/Emulator/ProcessorKinds.h"
#include "Platform/FileLock.h"
#include "Platform/FileUrl.h"
#include "Platform/Hypervisor/EmulatorCommandLine.h"
#include "Platform/Hypervisor/VZError.h"
#include "Platform/PlatformError.h"

#include <QCoroFuture>
#include <QFileInfo>
#include <QPointer>
#include <QTimer>

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

constexpr int controlDescriptor = 3; // the first that a child inherits

/// The emulator takes no lock on its flash memory. It inherits this one, so that the lock lasts as long as it
/// does, whatever becomes of us.
UniqueDescriptor lockStore(const VZEFIVariableStore &store)
{
    UniqueDescriptor lock = FileLock::take(FileUrl::path(store.url()));
    if (!lock.isValid())
        throw VZError(u"This virtual machine is already running."_s);
    return lock;
}

UniqueDescriptor openFolder(const QString &path)
{
    return UniqueDescriptor(::open(QFile::encodeName(path).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

/// The file's path by way of the folder's descriptor (proc(5)).
QString pathIn(const UniqueDescriptor &folder, const QUrl &file)
{
    if (!folder.isValid())
        return FileUrl::path(file);
    return u"/proc/self/fd/%1/"_s.arg(folder.get()) + FileUrl::lastComponent(file);
}

EmulatorInstallation requireInstallation()
{
    std::optional<EmulatorInstallation> installation = EmulatorInstallation::find();
    if (!installation)
        throw VZError(u"No emulator with firmware for ARM64 is installed."_s);
    return *std::move(installation);
}

} // namespace

/// Keeps the poll silent for its own lifetime: what it hears meanwhile is older than what a command does.
class EmulatorSession::Quiet
{
public:
    explicit Quiet(EmulatorSession *session)
        : m_session(session)
    {
        m_session->m_poll.stop();
    }
    Quiet(const Quiet &) = delete;
    Quiet &operator=(const Quiet &) = delete;
    ~Quiet()
    {
        if (m_session && !m_session->m_hasEnded && m_session->m_guestFailure.isEmpty())
            m_session->m_poll.restart();
    }

private:
    QPointer<EmulatorSession> m_session;
};

EmulatorSession::EmulatorSession(const VZVirtualMachineConfiguration &configuration)
    : EmulatorSession(configuration, requireInstallation(), EmulatorTimeouts())
{}

EmulatorSession::EmulatorSession(const VZVirtualMachineConfiguration &configuration,
                                 const EmulatorInstallation &installation, const EmulatorTimeouts &timeouts)
    : EmulatorSession(configuration, launch(configuration, installation), timeouts)
{
    m_isBooting = true;
    m_poll.stop();
    m_logWriter = EmulatorLog::keep(*m_process, logFolder());
}

EmulatorSession::~EmulatorSession()
{
    if (!m_hasEnded && !m_process->isRunning())
        removeSocket(m_variableStore, m_controlSocket); // its end has been waited for, and is not told
}

EmulatorSession::EmulatorSession(const VZVirtualMachineConfiguration &configuration,
                                 std::shared_ptr<ChildProcess> emulator, const EmulatorTimeouts &timeouts)
    : m_timeouts(timeouts)
    , m_folder(openFolder(FileUrl::path(FileUrl::deletingLastComponent(configuration.controlSocket))))
    , m_controlSocket(pathIn(m_folder, configuration.controlSocket))
    , m_process(std::move(emulator))
    , m_poll(m_controlSocket, timeouts.poll, timeouts.answer)
{
    if (configuration.bootLoader) {
        const QUrl &store = configuration.bootLoader->variableStore->url();
        const bool isBeside = FileUrl::deletingLastComponent(store) ==
                              FileUrl::deletingLastComponent(configuration.controlSocket);
        m_variableStore = isBeside ? pathIn(m_folder, store) : FileUrl::path(store);
    }
    connect(m_process.get(), &ChildProcess::standardErrorLine, this, &EmulatorSession::noteLine);
    connect(m_process.get(), &ChildProcess::exited, this, &EmulatorSession::noteExit);
    connect(&m_poll, &EmulatorPoll::answered, this, &EmulatorSession::noteStatus);
    m_poll.restart();
}

std::shared_ptr<ChildProcess> EmulatorSession::launch(const VZVirtualMachineConfiguration &configuration,
                                                      const EmulatorInstallation &installation)
{
    // The lock first: then what stands in the socket's place is of no use to anyone.
    const UniqueDescriptor lock = lockStore(*configuration.bootLoader->variableStore);
    const QString socket = FileUrl::path(configuration.controlSocket);
    const UniqueDescriptor listener = UnixSocket::listen(socket);
    const EmulatorInstallation::Accelerator accelerator = EmulatorInstallation::accelerator();
    std::optional<ProcessorKinds::StrongestOnly> oneKind;
    if (accelerator == EmulatorInstallation::Accelerator::kvm)
        oneKind.emplace();
    ChildProcess::LaunchOptions options;
    options.program = installation.emulator;
    options.arguments =
        EmulatorCommandLine::arguments(configuration, installation, accelerator, controlDescriptor);
    options.inheritedDescriptors = {listener.get(), lock.get()};
    try {
        return std::make_shared<ChildProcess>(options);
    } catch (const PlatformError &) {
        QFile::remove(socket);
        throw;
    }
}

QCoro::Task<> EmulatorSession::boot()
{
    const QPointer<EmulatorSession> self(this);
    QTimer::singleShot(m_timeouts.boot, this, [this] {
        if (m_isBooting)
            kill();
    });
    bool runs = false;
    try {
        const QCoro::Task<> going = resume();
        co_await going;
        runs = true;
    } catch (const std::exception &) {
        // The emulator's own words are better than those of its broken connection.
    }
    if (!self)
        co_return;
    m_isBooting = false;
    if (runs)
        co_return;
    const QCoro::Task<> end = quit();
    co_await end;
    if (self)
        throw VZError(m_endReason.value_or(u"The emulator ended before its guest ran."_s));
}

QCoro::Task<> EmulatorSession::pause()
{
    const Quiet quiet(this);
    const QCoro::Task<QJsonValue> asked =
        QMPChannel::ask(m_controlSocket, u"stop"_s, QJsonObject(), m_timeouts.answer);
    co_await asked;
}

QCoro::Task<> EmulatorSession::resume()
{
    const QPointer<EmulatorSession> self(this);
    const Quiet quiet(this);
    const QCoro::Task<std::shared_ptr<QMPChannel>> opened =
        QMPChannel::open(m_controlSocket, m_timeouts.answer);
    const std::shared_ptr<QMPChannel> channel = co_await opened;
    const QFuture<QJsonValue> going = channel->execute(u"cont"_s);
    co_await going;
    const QCoro::Task<EmulatorStatus> asked = EmulatorStatus::ask(channel);
    const EmulatorStatus status = co_await asked;
    if (status.guest == EmulatorStatus::Guest::running)
        co_return;
    if (self && status.guest == EmulatorStatus::Guest::failed)
        noteStatus(status);
    throw VZError(status.reason.isEmpty() ? u"The guest does not run."_s : status.reason);
}

QCoro::Task<> EmulatorSession::requestStop()
{
    const QCoro::Task<QJsonValue> asked =
        QMPChannel::ask(m_controlSocket, u"system_powerdown"_s, QJsonObject(), m_timeouts.answer);
    co_await asked;
}

QCoro::Task<> EmulatorSession::quit()
{
    const QPointer<EmulatorSession> self(this);
    m_poll.stop();
    QCoro::connect(tell(u"quit"_s), this, [] {});
    const QCoro::Task<bool> politeEnd = m_process->waitForExit(m_timeouts.quit);
    const bool ended = co_await politeEnd;
    if (ended || !self)
        co_return;
    kill();
    const QCoro::Task<bool> abruptEnd = m_process->waitForExit(m_timeouts.kill);
    co_await abruptEnd;
}

QCoro::Task<> EmulatorSession::tell(QString command)
{
    try {
        const QCoro::Task<QJsonValue> told =
            QMPChannel::ask(m_controlSocket, command, QJsonObject(), m_timeouts.answer);
        co_await told;
    } catch (const LocalizedError &) {
        // What the emulator does then is seen by what becomes of its process.
    }
}

void EmulatorSession::kill()
{
    m_isKilled = m_process->isRunning();
    m_process->kill();
}

UniqueDescriptor EmulatorSession::openDisplay()
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw PlatformError(errno, u"connect to the emulator"_s);
    QCoro::connect(handOver(std::make_shared<UniqueDescriptor>(ends[1])), this, [] {});
    return UniqueDescriptor(ends[0]);
}

/// Gives the emulator the other end of a display's connection, which is closed when that fails.
QCoro::Task<> EmulatorSession::handOver(std::shared_ptr<UniqueDescriptor> display)
{
    const QString name = u"display"_s;
    try {
        const QCoro::Task<std::shared_ptr<QMPChannel>> opened =
            QMPChannel::open(m_controlSocket, m_timeouts.answer);
        const std::shared_ptr<QMPChannel> channel = co_await opened;
        channel->execute(u"getfd"_s, {{"fdname"_L1, name}}, display->get());
        const QFuture<QJsonValue> added = channel->execute(
            u"add_client"_s, {{"protocol"_L1, u"vnc"_s}, {"fdname"_L1, name}, {"skipauth"_L1, true}});
        co_await added;
    } catch (const LocalizedError &) {
        // Whoever has our end sees it closed and tries again.
    }
}

void EmulatorSession::noteLine(const QString &line)
{
    if (m_acceleratorLine.isEmpty() && line.contains("kvm"_L1))
        m_acceleratorLine = line;
    m_lastLine = line;
    Q_EMIT message(line);
}

/// A guest that the host can run no further stands still; the emulator would stay with it for ever.
void EmulatorSession::noteStatus(const EmulatorStatus &status)
{
    if (m_hasEnded)
        return;
    if (status.guest != EmulatorStatus::Guest::failed)
        return void(Q_EMIT statusSeen(status));
    m_guestFailure = m_acceleratorLine.isEmpty() ? status.reason : m_acceleratorLine;
    if (!m_isBooting)
        QCoro::connect(quit(), this, [] {});
}

QList<pid_t> EmulatorSession::processIdentifiers() const
{
    QList<pid_t> identifiers{m_process->processIdentifier()};
    if (m_logWriter)
        identifiers.append(*m_logWriter);
    return identifiers;
}

QString EmulatorSession::logFolder() const
{
    return QFileInfo(m_variableStore).path();
}

void EmulatorSession::noteExit(const ChildExit &exit)
{
    m_poll.stop();
    if (exit.kind == ChildExit::Kind::unknown && !m_isKilled)
        QTimer::singleShot(EmulatorLog::timeout, this, [this, exit] { end(exit); });
    else
        end(exit);
}

void EmulatorSession::end(const ChildExit &exit)
{
    m_endReason = reasonOf(exit);
    m_hasEnded = true;
    removeSocket(m_variableStore, m_controlSocket); // it stays where the emulator was killed
    Q_EMIT ended();
}

std::optional<QString> EmulatorSession::reasonOf(const ChildExit &exit) const
{
    if (!m_guestFailure.isEmpty())
        return m_guestFailure;
    if (m_isKilled)
        return m_lastLine.isEmpty() ? u"The emulator does not answer."_s : m_lastLine;
    return EmulatorEnd::reason(exit, m_lastLine, m_controlSocket, logFolder());
}

bool EmulatorSession::removeSocket(const QString &variableStore, const QString &controlSocket)
{
    try {
        const UniqueDescriptor lock = FileLock::take(variableStore);
        return lock.isValid() && QFile::remove(controlSocket);
    } catch (const PlatformError &) {
        return false; // the next start removes it
    }
}
