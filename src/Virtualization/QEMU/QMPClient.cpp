#include "Virtualization/QEMU/QMPClient.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/OwnThread.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/QEMU/QMPExchange.h"
#include "Virtualization/QEMU/UnixSocketConnection.h"

#include <QCoroCore>
#include <QDeadlineTimer>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr qsizetype readBytes = 4096;

std::chrono::milliseconds remaining(const QDeadlineTimer &deadline)
{
    return std::chrono::milliseconds(deadline.remainingTime());
}

void runExchange(const QString &path, const QString &command, const QMPTimeouts &timeouts)
{
    const QDeadlineTimer deadline(timeouts.exchange);
    UnixSocketConnection connection(path, timeouts.exchange);
    QMPExchange exchange(command);
    if (!connection.waitUntilReadable(std::min(timeouts.greeting, remaining(deadline))))
        connection.write(exchange.beginWithoutGreeting());
    while (!exchange.isFinished()) {
        if (deadline.hasExpired() || !connection.waitUntilReadable(remaining(deadline)))
            throw KelvoError::internalError(u"Failed to read from QMP socket."_s);
        const QByteArray bytes = connection.read(readBytes);
        if (bytes.isEmpty()) {
            exchange.endOfStream();
        } else if (const QByteArray reply = exchange.receive(bytes); !reply.isEmpty()) {
            connection.write(reply);
        }
    }
}

} // namespace

QMPClient::QMPClient(const QUrl &socketPath, const QMPTimeouts &timeouts)
    : m_socketPath(socketPath)
    , m_timeouts(timeouts)
{}

QCoro::Task<> QMPClient::send(const QString &command) const
{
    return exchange(FileUrl::path(m_socketPath), command, m_timeouts);
}

QCoro::Task<> QMPClient::quit() const
{
    return send(u"quit"_s);
}
QCoro::Task<> QMPClient::pause() const
{
    return send(u"stop"_s);
}
QCoro::Task<> QMPClient::resume() const
{
    return send(u"cont"_s);
}

QCoro::Task<> QMPClient::exchange(QString path, QString command, QMPTimeouts timeouts)
{
    const QCoro::Task<> socketFile = waitForSocket(path, timeouts.socketFile);
    co_await socketFile;
    const auto work = [path, command, timeouts] {
        runExchange(path, command, timeouts);
    };
    const QFuture<void> answer = runOnOwnThread(work);
    co_await answer;
}

QCoro::Task<> QMPClient::waitForSocket(QString path, std::chrono::milliseconds timeout)
{
    const QDeadlineTimer deadline(timeout);
    while (!deadline.hasExpired()) {
        if (FileManager::defaultManager().fileExists(path))
            co_return;
        co_await QCoro::sleepFor(50ms);
    }
    throw KelvoError::internalError(u"Timed out waiting for QMP socket."_s);
}
