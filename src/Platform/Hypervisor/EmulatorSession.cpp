#include "Platform/Hypervisor/EmulatorSession.h"

#include "Platform/EmulatorEnd.h"
#include "Platform/FileUrl.h"
#include "Platform/Hypervisor/EmulatorCommandLine.h"
#include "Platform/Hypervisor/VZError.h"
#include "Platform/PlatformError.h"

#include <QCoreApplication>
#include <QCoroFuture>
#include <QFile>
#include <QPointer>
#include <QTimer>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

constexpr int controlDescriptor = 3; // the first that a child inherits

struct SocketPair
{
    UniqueDescriptor ours;
    UniqueDescriptor theirs;
};

SocketPair makeSocketPair()
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw PlatformError(errno, u"connect to the emulator"_s);
    return {UniqueDescriptor(ends[0]), UniqueDescriptor(ends[1])};
}

/// The emulator takes no lock on its flash memory. It inherits this one, so that the lock lasts as long as it
/// does, whatever becomes of us.
UniqueDescriptor lockStore(const VZEFIVariableStore &store)
{
    const QString path = FileUrl::path(store.url());
    UniqueDescriptor file(::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC));
    if (!file.isValid())
        throw PlatformError(errno, u"open"_s, path);
    if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0)
        return file;
    if (errno != EWOULDBLOCK)
        throw PlatformError(errno, u"lock"_s, path);
    throw VZError(VZError::Case::virtualMachineAlreadyRunning, u"This virtual machine is already running."_s);
}

EmulatorInstallation requireInstallation()
{
    std::optional<EmulatorInstallation> installation = EmulatorInstallation::find();
    if (!installation)
        throw VZError(VZError::Case::internalError, u"No emulator with firmware for ARM64 is installed."_s);
    return *std::move(installation);
}

} // namespace

EmulatorSession::EmulatorSession(const VZVirtualMachineConfiguration &configuration)
    : EmulatorSession(configuration, requireInstallation(), EmulatorTimeouts())
{}

EmulatorSession::EmulatorSession(const VZVirtualMachineConfiguration &configuration,
                                 const EmulatorInstallation &installation, const EmulatorTimeouts &timeouts)
    : EmulatorSession(configuration, installation, timeouts, makeDescriptors(configuration))
{}

EmulatorSession::EmulatorSession(const VZVirtualMachineConfiguration &configuration,
                                 const EmulatorInstallation &installation, const EmulatorTimeouts &timeouts,
                                 Descriptors descriptors)
    : m_timeouts(timeouts)
    , m_process(launchOptions(configuration, installation, descriptors))
    , m_channel(std::move(descriptors.ours), timeouts.answer)
{
    connect(&m_process, &ChildProcess::standardErrorLine, this, [this](const QString &line) {
        m_lastLine = line;
        Q_EMIT message(line);
    });
    connect(&m_process, &ChildProcess::exited, this, &EmulatorSession::reportEnd);
    connect(&m_channel, &QMPChannel::closed, this, &EmulatorSession::reportEnd);
    connect(&m_channel, &QMPChannel::eventReceived, this, &EmulatorSession::noteEvent);
}

EmulatorSession::Descriptors
EmulatorSession::makeDescriptors(const VZVirtualMachineConfiguration &configuration)
{
    SocketPair control = makeSocketPair();
    return {.storeLock = lockStore(*configuration.bootLoader->variableStore),
            .ours = std::move(control.ours),
            .theirs = std::move(control.theirs)};
}

ChildProcess::LaunchOptions EmulatorSession::launchOptions(const VZVirtualMachineConfiguration &configuration,
                                                           const EmulatorInstallation &installation,
                                                           const Descriptors &descriptors)
{
    ChildProcess::LaunchOptions options;
    options.program = installation.emulator;
    options.arguments = EmulatorCommandLine::arguments(
        configuration, installation, EmulatorInstallation::accelerator(), controlDescriptor);
    options.inheritedDescriptors = {descriptors.theirs.get(), descriptors.storeLock.get()};
    return options;
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
        const QCoro::Task<> negotiation = negotiateAndRun();
        co_await negotiation;
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
        throw VZError(VZError::Case::internalError, endDescription());
}

QCoro::Task<> EmulatorSession::negotiateAndRun()
{
    const QPointer<EmulatorSession> self(this);
    const QFuture<QJsonValue> negotiated = m_channel.execute(u"qmp_capabilities"_s);
    co_await negotiated;
    if (!self)
        co_return;
    const QCoro::Task<> running = resume();
    co_await running;
}

QCoro::Task<> EmulatorSession::pause()
{
    m_isStopExpected = true;
    const QFuture<QJsonValue> answer = m_channel.execute(u"stop"_s);
    co_await answer;
}

QCoro::Task<> EmulatorSession::resume()
{
    const QPointer<EmulatorSession> self(this);
    m_channel.execute(u"cont"_s);
    const QCoro::Task<QString> asked = status();
    const QString answer = co_await asked;
    if (answer != "running"_L1)
        throw VZError(VZError::Case::internalError, u"The guest does not run (%1)."_s.arg(answer));
    if (self)
        m_isStopExpected = false;
}

QCoro::Task<QString> EmulatorSession::status()
{
    const QFuture<QJsonValue> asked = m_channel.execute(u"query-status"_s);
    const QJsonValue answer = co_await asked;
    co_return answer["status"_L1].toString();
}

QCoro::Task<> EmulatorSession::quit()
{
    const QPointer<EmulatorSession> self(this);
    m_isStopExpected = true;
    m_channel.execute(u"quit"_s);
    const QCoro::Task<bool> politeEnd = m_process.waitForExit(m_timeouts.quit);
    const bool ended = co_await politeEnd;
    if (ended || !self)
        co_return;
    kill();
    const QCoro::Task<bool> abruptEnd = m_process.waitForExit(m_timeouts.kill);
    co_await abruptEnd;
}

void EmulatorSession::kill()
{
    m_isKilled = m_process.isRunning();
    m_process.kill();
}

UniqueDescriptor EmulatorSession::openDisplay()
{
    SocketPair display = makeSocketPair();
    const QString name = u"display"_s + QString::number(++m_displays);
    m_channel.execute(u"getfd"_s, {{"fdname"_L1, name}}, display.theirs.get());
    m_channel.execute(u"add_client"_s,
                      {{"protocol"_L1, u"vnc"_s}, {"fdname"_L1, name}, {"skipauth"_L1, true}});
    return std::move(display.ours);
}

void EmulatorSession::noteEvent(const QString &name, const QJsonObject &data)
{
    if (name == "SHUTDOWN"_L1) {
        m_guestShutDown = data.value("guest"_L1).toBool();
        m_isStopExpected = true;
    } else if (name == "STOP"_L1 && !m_isStopExpected) {
        QCoro::connect(failOnGuestError(), this, [] {});
    }
}

/// A guest that the host can run no further stands still; the emulator would stay with it for ever.
QCoro::Task<> EmulatorSession::failOnGuestError()
{
    const QPointer<EmulatorSession> self(this);
    QString answer;
    try {
        const QCoro::Task<QString> asked = status();
        answer = co_await asked;
    } catch (const VZError &) {
        co_return; // its end is reported anyway
    }
    if (!self || (answer != "internal-error"_L1 && answer != "io-error"_L1))
        co_return;
    m_guestError = u"The host cannot run the guest any further (%1)."_s.arg(answer);
    const QCoro::Task<> end = quit();
    co_await end;
}

void EmulatorSession::reportEnd()
{
    if (m_hasEnded || m_process.isRunning() || m_channel.isOpen())
        return;
    m_hasEnded = true;
    Q_EMIT ended();
}

QString EmulatorSession::endDescription() const
{
    if (!m_guestError.isEmpty())
        return m_guestError;
    const std::optional<ChildExit> exit = m_process.exit();
    if (!exit || m_isKilled)
        return m_lastLine.isEmpty() ? u"The emulator does not answer."_s : m_lastLine;
    return EmulatorEnd::reason(*exit, m_lastLine).value_or(u"The emulator was ended from outside."_s);
}
