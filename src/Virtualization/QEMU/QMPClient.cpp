#include "Virtualization/QEMU/QMPClient.h"

#include "Platform/Emulator/QMPError.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/UnixSocket.h"
#include "Virtualization/Backend/KelvoError.h"

#include <QCoroTimer>
#include <QDeadlineTimer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QString textOf(const QMPError &error)
{
    switch (error.errorCase()) {
    case QMPError::Case::unreachable:
        return u"Could not connect to QMP socket."_s;
    case QMPError::Case::silent:
    case QMPError::Case::ended:
        return u"Failed to read from QMP socket."_s;
    case QMPError::Case::refused:
        return error.localizedDescription();
    }
    Q_UNREACHABLE();
}

} // namespace

QMPClient::QMPClient(const QUrl &socketPath, const QMPTimeouts &timeouts)
    : m_socketPath(socketPath)
    , m_timeouts(timeouts)
{}

QCoro::Task<> QMPClient::send(const QString &command, const QJsonObject &arguments) const
{
    return exchange(FileUrl::path(m_socketPath), command, arguments, m_timeouts);
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
QCoro::Task<> QMPClient::powerDown() const
{
    return send(u"system_powerdown"_s);
}

QCoro::Task<> QMPClient::disconnectNetwork(const QString &networkDevice) const
{
    return send(u"set_link"_s, {{"name"_L1, networkDevice}, {"up"_L1, false}});
}

QCoro::Task<> QMPClient::exchange(QString path, QString command, QJsonObject arguments, QMPTimeouts timeouts)
{
    if (!UnixSocket::fitsAddress(path))
        throw KelvoError::internalError(u"Unix socket path is too long."_s);
    const QCoro::Task<> socketFile = waitForSocket(path, timeouts.socketFile);
    co_await socketFile;
    try {
        const QCoro::Task<QJsonValue> asked = QMPChannel::ask(path, command, arguments, timeouts.exchange);
        co_await asked;
    } catch (const QMPError &error) {
        throw KelvoError::internalError(textOf(error));
    }
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
