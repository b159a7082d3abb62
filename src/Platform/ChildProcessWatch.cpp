#include "Platform/ChildProcessWatch.h"

#include <QTimer>

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <csignal>

namespace {

constexpr std::size_t readBytes = 65536;
constexpr std::chrono::milliseconds reapInterval(50);
constexpr int killMilliseconds = 100;

/// A pipe's largest capacity for an unprivileged process (pipe(7)): no child leaves more behind when it ends.
constexpr qint64 maximumPipeBytes = 1 << 20;

ChildExit exitOf(const siginfo_t &info)
{
    const auto kind = info.si_code == CLD_EXITED ? ChildExit::Kind::exited : ChildExit::Kind::signalled;
    return {kind, info.si_status};
}

} // namespace

ChildProcessWatch::ChildProcessWatch(UniqueDescriptor process, UniqueDescriptor standardOutput,
                                     UniqueDescriptor standardError)
    : m_process(std::move(process))
    , m_processNotifier(m_process.get(), QSocketNotifier::Read)
    , m_standardOutput{std::move(standardOutput), nullptr}
    , m_standardError{std::move(standardError), nullptr}
{
    connect(&m_processNotifier, &QSocketNotifier::activated, this, &ChildProcessWatch::reap);
    watch(m_standardOutput, &ChildProcessWatch::readStandardOutput);
    watch(m_standardError, &ChildProcessWatch::readStandardError);
}

void ChildProcessWatch::watch(Pipe &pipe, void (ChildProcessWatch::*read)())
{
    if (!pipe.descriptor.isValid())
        return;
    pipe.notifier = std::make_unique<QSocketNotifier>(pipe.descriptor.get(), QSocketNotifier::Read);
    connect(pipe.notifier.get(), &QSocketNotifier::activated, this, read);
}

void ChildProcessWatch::sendSignal(int signal)
{
    // It can only fail when the child has ended, which is what was wanted.
    if (!m_exit->has_value())
        ::syscall(SYS_pidfd_send_signal, m_process.get(), signal, nullptr, 0);
}

UniqueDescriptor ChildProcessWatch::openStandardError() const
{
    // Anew and not as a duplicate, which would return EAGAIN to somebody who expects to wait.
    const QByteArray path = "/proc/self/fd/" + QByteArray::number(m_standardError.descriptor.get());
    return UniqueDescriptor(::open(path.constData(), O_RDONLY | O_CLOEXEC));
}

void ChildProcessWatch::endNow()
{
    if (m_exit->has_value())
        return;
    sendSignal(SIGKILL);
    pollfd end = {.fd = m_process.get(), .events = POLLIN, .revents = 0};
    if (::poll(&end, 1, killMilliseconds) > 0)
        reap();
}

QFuture<void> ChildProcessWatch::exitOrTimeout(std::chrono::milliseconds timeout)
{
    auto promise = std::make_shared<QPromise<void>>();
    promise->start();
    m_waiting.push_back(promise);
    if (timeout != ChildProcess::forever)
        QTimer::singleShot(timeout, this, [promise] { promise->finish(); });
    return promise->future();
}

// One read per event, so that a child that floods its pipe shares the loop with everything else.

void ChildProcessWatch::readStandardOutput()
{
    (void)readSome(m_standardOutput);
}

void ChildProcessWatch::readStandardError()
{
    reportLines(m_lines.append(readSome(m_standardError)));
}

QByteArrayView ChildProcessWatch::readSome(Pipe &pipe)
{
    if (!pipe.descriptor.isValid())
        return {};
    static std::array<char, readBytes> buffer; // main thread only; used up before the next call
    const ssize_t count = ::read(pipe.descriptor.get(), buffer.data(), buffer.size());
    if (count > 0)
        return {buffer.data(), count};
    if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
        pipe.notifier->setEnabled(false);
        pipe.descriptor.reset();
    }
    return {};
}

void ChildProcessWatch::reportLines(const QStringList &lines)
{
    for (const QString &line : lines)
        Q_EMIT standardErrorLine(line);
}

void ChildProcessWatch::reap()
{
    siginfo_t info = {};
    const int result = ::waitid(P_PIDFD, static_cast<id_t>(m_process.get()), &info, WEXITED | WNOHANG);
    m_processNotifier.setEnabled(false);
    if (result == 0 && info.si_pid == 0) {
        // It has ended, but a tracer has still to let go of it; the notifier would not rest meanwhile.
        QTimer::singleShot(reapInterval, &m_processNotifier, [this] { m_processNotifier.setEnabled(true); });
        return;
    }

    // A grandchild may hold the pipe and go on writing; the bound keeps it from holding us here.
    qint64 total = 0;
    while (total < maximumPipeBytes) {
        const QByteArrayView bytes = readSome(m_standardError);
        if (bytes.isEmpty())
            break;
        total += bytes.size();
        reportLines(m_lines.append(bytes));
    }
    reportLines(m_lines.finish());

    const ChildExit exit = result == 0 ? exitOf(info) : ChildExit{ChildExit::Kind::unknown, 0};
    *m_exit = exit;
    for (const auto &step : m_stepsAtEnd)
        step();
    for (const auto &promise : m_waiting)
        promise->finish();
    deleteLater();
    Q_EMIT exited(exit);
}
