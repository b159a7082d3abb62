#pragma once

#include "Platform/BoundedLines.h"
#include "Platform/ChildProcess.h"
#include "Platform/UniqueDescriptor.h"

#include <QFuture>
#include <QPromise>
#include <QSocketNotifier>

#include <vector>

/// Reads a child's pipes and reaps it. Belongs to the application object, so that this goes on when nobody is
/// interested in the child any more; deletes itself after the child's end.
class ChildProcessWatch : public QObject
{
    Q_OBJECT

public:
    /// An invalid pipe is left out.
    ChildProcessWatch(UniqueDescriptor process, UniqueDescriptor standardOutput,
                      UniqueDescriptor standardError);

    /// Shared with everyone who may ask after this object is gone.
    [[nodiscard]] const std::shared_ptr<std::optional<ChildExit>> &exit() const { return m_exit; }
    /// pidfd_send_signal(2): never reaches another process that was given the same number.
    void sendSignal(int signal);
    /// See ChildProcess for these.
    [[nodiscard]] UniqueDescriptor openStandardError() const;
    void atEnd(std::function<void()> step) { m_stepsAtEnd.push_back(std::move(step)); }
    void endNow();
    /// Finishes at the child's end or when the time is over.
    [[nodiscard]] QFuture<void> exitOrTimeout(std::chrono::milliseconds timeout);

Q_SIGNALS:
    void standardErrorLine(const QString &line);
    void exited(const ChildExit &exit);

private:
    struct Pipe
    {
        UniqueDescriptor descriptor;
        std::unique_ptr<QSocketNotifier> notifier;
    };

    void watch(Pipe &pipe, void (ChildProcessWatch::*read)());
    void readStandardOutput();
    void readStandardError();
    /// Empty when there is nothing (more) to read; closes the pipe at its end.
    [[nodiscard]] QByteArrayView readSome(Pipe &pipe);
    void reportLines(const QStringList &lines);
    void reap();

    UniqueDescriptor m_process;
    QSocketNotifier m_processNotifier;
    Pipe m_standardOutput;
    Pipe m_standardError;
    BoundedLines m_lines;
    std::vector<std::function<void()>> m_stepsAtEnd;
    std::shared_ptr<std::optional<ChildExit>> m_exit = std::make_shared<std::optional<ChildExit>>();
    std::vector<std::shared_ptr<QPromise<void>>> m_waiting;
};
