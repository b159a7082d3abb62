#pragma once

#include "Platform/UniqueDescriptor.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QStringList>

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class ChildProcessWatch;

/// How a child ended.
struct ChildExit
{
    enum class Kind
    {
        exited,    ///< `value` is the exit status
        signalled, ///< `value` is the signal's number
        unknown    ///< only its parent was told
    };

    Kind kind = Kind::exited;
    int value = 0;

    bool operator==(const ChildExit &) const = default;
};

/// A running program of our own, or one that an earlier run has left behind. What we launch has a session of
/// its own and no descriptor of ours but those named. What it writes to a captured output is read all the
/// time. Destroying this object neither ends the child nor leaves a zombie: the application goes on reading
/// and reaping until it quits, and then the child lives on. Main thread only; a QCoreApplication must exist.
class ChildProcess : public QObject
{
    Q_OBJECT

public:
    enum class StandardInput
    {
        null,
        inherited
    };
    enum class StandardOutput
    {
        inherited,
        discarded
    };

    struct LaunchOptions
    {
        QString program; ///< absolute path
        QStringList arguments;
        QString workingDirectory; ///< empty: this process's own
        StandardInput standardInput = StandardInput::null;
        StandardOutput standardOutput = StandardOutput::discarded;
        QList<int> inheritedDescriptors; ///< the child has them as 3, 4, …; the caller keeps its own
    };

    static constexpr std::chrono::milliseconds forever = std::chrono::milliseconds::max();

    /// Launches. Throws PlatformError when there is no such program, it cannot be executed, or the working
    /// directory cannot be entered. From the first launch on SIGPIPE is ignored, here and in every child.
    explicit ChildProcess(const LaunchOptions &options, QObject *parent = nullptr);
    /// Follows a process that runs already (pidfd_open(2)). Nothing of its output is read.
    ChildProcess(UniqueDescriptor process, pid_t identifier);
    ~ChildProcess() override;

    [[nodiscard]] pid_t processIdentifier() const { return m_processIdentifier; }
    [[nodiscard]] bool isRunning() const { return !m_exit->has_value(); }
    /// No value while it runs.
    [[nodiscard]] std::optional<ChildExit> exit() const { return *m_exit; }

    /// The pipe that its standard error goes to, for somebody else to read; invalid where none is read here.
    [[nodiscard]] UniqueDescriptor openStandardError() const;

    /// Called at its end before anybody is told, also when this object has gone by then.
    void atEnd(std::function<void()> step);

    /// SIGTERM; nothing once it has ended.
    void terminate();
    /// SIGKILL; nothing once it has ended.
    void kill();
    /// Kills and waits here for a moment: for a program that does nothing but wait itself.
    void endNow();
    /// True when it has ended, false when the time is over. The object may be destroyed meanwhile.
    [[nodiscard]] QCoro::Task<bool> waitForExit(std::chrono::milliseconds timeout = forever);

Q_SIGNALS:
    /// A line of standard error, see BoundedLines for which; the last ones come right before exited().
    void standardErrorLine(const QString &line);
    /// Once, from the event loop; exit() has its value and standard error has been read.
    void exited(const ChildExit &exit);

private:
    void follow(ChildProcessWatch *watch);

    pid_t m_processIdentifier = -1;
    std::shared_ptr<std::optional<ChildExit>> m_exit;
    QPointer<ChildProcessWatch> m_watch;
};
