#include "Platform/ChildProcess.h"

#include "Platform/ChildProcessWatch.h"
#include "Platform/PlatformError.h"

#include <QCoreApplication>
#include <QCoroFuture>
#include <QFile>
#include <QThread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

struct PipeEnds
{
    UniqueDescriptor read;
    UniqueDescriptor write;
};

PipeEnds makePipe(const QString &program)
{
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        throw PlatformError(errno, u"launch"_s, program);
    PipeEnds pipe{UniqueDescriptor(ends[0]), UniqueDescriptor(ends[1])};
    // Ours alone: a child may be one that does not expect EAGAIN when it writes.
    ::fcntl(pipe.read.get(), F_SETFL, O_NONBLOCK);
    return pipe;
}

/// The file actions and attributes of one posix_spawn(3) call.
class SpawnPlan
{
public:
    explicit SpawnPlan(const ChildProcess::LaunchOptions &options)
        : m_options(options)
        , m_firstClosed(3 + static_cast<int>(options.inheritedDescriptors.size()))
    {
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawnattr_init(&m_attributes);

        sigset_t signals;
        ::sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&m_attributes, &signals);
        ::sigfillset(&signals);
        ::sigdelset(&signals, SIGPIPE);
        ::posix_spawnattr_setsigdefault(&m_attributes, &signals);
        ::posix_spawnattr_setflags(&m_attributes,
                                   POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    SpawnPlan(const SpawnPlan &) = delete;
    SpawnPlan &operator=(const SpawnPlan &) = delete;
    ~SpawnPlan()
    {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }

    /// The child gets a duplicate of `descriptor` as number `target`.
    void pass(int descriptor, int target)
    {
        // Above all targets first: a target's number may be that of a descriptor that is still to be passed.
        UniqueDescriptor copy(::fcntl(descriptor, F_DUPFD_CLOEXEC, m_firstClosed));
        if (!copy.isValid())
            throw PlatformError(errno, u"launch"_s, m_options.program);
        ::posix_spawn_file_actions_adddup2(&m_actions, copy.get(), target);
        m_copies.push_back(std::move(copy));
    }

    void enter(const QString &directory)
    {
        UniqueDescriptor folder(
            ::open(QFile::encodeName(directory).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!folder.isValid())
            throw PlatformError(errno, u"open folder"_s, directory);
        ::posix_spawn_file_actions_addfchdir_np(&m_actions, folder.get());
        m_copies.push_back(std::move(folder));
    }

    [[nodiscard]] pid_t spawn()
    {
        ::posix_spawn_file_actions_addclosefrom_np(&m_actions, m_firstClosed);
        const QByteArray program = QFile::encodeName(m_options.program);
        QByteArrayList arguments{program};
        for (const QString &argument : m_options.arguments)
            arguments.append(argument.toUtf8());
        std::vector<char *> pointers;
        for (QByteArray &argument : arguments)
            pointers.push_back(argument.data());
        pointers.push_back(nullptr);

        pid_t identifier = -1;
        const int code = ::posix_spawn(&identifier, program.constData(), &m_actions, &m_attributes,
                                       pointers.data(), ::environ);
        if (code != 0)
            throw PlatformError(code, u"launch"_s, m_options.program);
        return identifier;
    }

private:
    const ChildProcess::LaunchOptions &m_options;
    int m_firstClosed;
    posix_spawn_file_actions_t m_actions = {};
    posix_spawnattr_t m_attributes = {};
    std::vector<UniqueDescriptor> m_copies;
};

UniqueDescriptor openProcess(pid_t identifier, const QString &program)
{
    // By number: the C++ of glibc 2.36 cannot link pidfd_open(2).
    UniqueDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, identifier, 0)));
    if (process.isValid())
        return process;
    const int code = errno;
    ::kill(identifier, SIGKILL);
    ::waitpid(identifier, nullptr, 0);
    throw PlatformError(code, u"launch"_s, program);
}

} // namespace

ChildProcess::ChildProcess(const LaunchOptions &options, QObject *parent)
    : QObject(parent)
{
    Q_ASSERT(QCoreApplication::instance() && QThread::currentThread() == qApp->thread());
    // A child inherits what is ignored: it survives that nobody reads its output after we are gone.
    static const bool pipesAreSafe = ::signal(SIGPIPE, SIG_IGN) != SIG_ERR;
    Q_ASSERT(pipesAreSafe);

    SpawnPlan plan(options);
    if (options.standardInput == StandardInput::null) {
        const UniqueDescriptor null(::open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (!null.isValid())
            throw PlatformError(errno, u"open"_s, u"/dev/null"_s);
        plan.pass(null.get(), STDIN_FILENO);
    }
    PipeEnds output;
    if (options.standardOutput == StandardOutput::discarded) {
        output = makePipe(options.program);
        plan.pass(output.write.get(), STDOUT_FILENO);
    }
    PipeEnds error = makePipe(options.program);
    plan.pass(error.write.get(), STDERR_FILENO);
    int target = 3;
    for (const int descriptor : options.inheritedDescriptors)
        plan.pass(descriptor, target++);
    if (!options.workingDirectory.isEmpty())
        plan.enter(options.workingDirectory);

    m_processIdentifier = plan.spawn();
    follow(new ChildProcessWatch(openProcess(m_processIdentifier, options.program), std::move(output.read),
                                 std::move(error.read)));
}

ChildProcess::ChildProcess(UniqueDescriptor process, pid_t identifier)
    : m_processIdentifier(identifier)
{
    follow(new ChildProcessWatch(std::move(process), {}, {}));
}

void ChildProcess::follow(ChildProcessWatch *watch)
{
    m_watch = watch;
    m_watch->setParent(qApp);
    m_exit = m_watch->exit();
    connect(m_watch, &ChildProcessWatch::standardErrorLine, this, &ChildProcess::standardErrorLine);
    connect(m_watch, &ChildProcessWatch::exited, this, &ChildProcess::exited);
}

ChildProcess::~ChildProcess() = default;

UniqueDescriptor ChildProcess::openStandardError() const
{
    return m_watch ? m_watch->openStandardError() : UniqueDescriptor();
}

void ChildProcess::atEnd(std::function<void()> step)
{
    if (m_watch)
        m_watch->atEnd(std::move(step));
}

void ChildProcess::endNow()
{
    if (m_watch)
        m_watch->endNow();
}

void ChildProcess::terminate()
{
    if (m_watch)
        m_watch->sendSignal(SIGTERM);
}

void ChildProcess::kill()
{
    if (m_watch)
        m_watch->sendSignal(SIGKILL);
}

QCoro::Task<bool> ChildProcess::waitForExit(std::chrono::milliseconds timeout)
{
    const auto exit = m_exit;
    if (exit->has_value() || !m_watch)
        co_return exit->has_value();
    const QFuture<void> settled = m_watch->exitOrTimeout(timeout);
    co_await settled;
    co_return exit->has_value();
}
