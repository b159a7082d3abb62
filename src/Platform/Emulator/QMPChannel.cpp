#include "Platform/Emulator/QMPChannel.h"

#include "Platform/Emulator/QMPError.h"
#include "Platform/PlatformError.h"

#include <QCoroFuture>
#include <QCoroTimer>
#include <QDeadlineTimer>
#include <QTimer>

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

void fail(QPromise<QJsonValue> &promise, const QMPError &error)
{
    if (promise.future().isFinished())
        return; // it was given up
    promise.setException(std::make_exception_ptr(error));
    promise.finish();
}

UniqueDescriptor tryToConnect(const QString &path)
{
    try {
        return UnixSocket::connect(path);
    } catch (const PlatformError &) {
        throw QMPError(QMPError::Case::unreachable);
    }
}

} // namespace

QCoro::Task<std::shared_ptr<QMPChannel>> QMPChannel::open(QString path, std::chrono::milliseconds timeout)
{
    const QDeadlineTimer deadline(timeout);
    UniqueDescriptor connection = tryToConnect(path);
    while (!connection.isValid()) {
        if (deadline.hasExpired())
            throw QMPError(QMPError::Case::silent);
        co_await QCoro::sleepFor(20ms);
        connection = tryToConnect(path);
    }
    co_return std::make_shared<QMPChannel>(std::move(connection), timeout);
}

QCoro::Task<QJsonValue> QMPChannel::ask(QString path, QString command, QJsonObject arguments,
                                        std::chrono::milliseconds timeout)
{
    const QCoro::Task<std::shared_ptr<QMPChannel>> opened = open(path, timeout);
    const std::shared_ptr<QMPChannel> channel = co_await opened;
    const QFuture<QJsonValue> asked = channel->execute(command, arguments);
    const QJsonValue answer = co_await asked;
    co_return answer;
}

QMPChannel::QMPChannel(UniqueDescriptor connection, std::chrono::milliseconds timeout)
    : m_socket(std::move(connection))
    , m_timeout(timeout)
    , m_notifier(std::make_unique<QSocketNotifier>(m_socket.get(), QSocketNotifier::Read))
{
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &QMPChannel::readWhatIsThere);
    execute(u"qmp_capabilities"_s); // until then it refuses all others
}

QMPChannel::~QMPChannel()
{
    failUnanswered();
}

QFuture<QJsonValue> QMPChannel::execute(const QString &command, const QJsonObject &arguments, int descriptor)
{
    const auto promise = std::make_shared<QPromise<QJsonValue>>();
    promise->start();
    const QFuture<QJsonValue> answer = promise->future();
    if (!m_socket.isValid() || !send(QMPMessages::command(command, arguments), descriptor)) {
        fail(*promise, QMPError(QMPError::Case::ended));
        return answer;
    }
    m_unanswered.push_back(promise);
    QTimer::singleShot(m_timeout, this, [promise] { fail(*promise, QMPError(QMPError::Case::silent)); });
    return answer;
}

bool QMPChannel::send(const QByteArray &message, int descriptor) const
{
    iovec bytes = {const_cast<char *>(message.constData()), static_cast<std::size_t>(message.size())};
    msghdr header = {};
    header.msg_iov = &bytes;
    header.msg_iovlen = 1;
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    if (descriptor >= 0) {
        header.msg_control = control.data();
        header.msg_controllen = control.size();
        cmsghdr *rights = CMSG_FIRSTHDR(&header);
        rights->cmsg_level = SOL_SOCKET;
        rights->cmsg_type = SCM_RIGHTS;
        rights->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(rights), &descriptor, sizeof descriptor);
    }
    // The few commands of a conversation always fit the socket's buffer.
    return ::sendmsg(m_socket.get(), &header, MSG_NOSIGNAL) == message.size();
}

void QMPChannel::readWhatIsThere()
{
    std::array<char, 16384> buffer;
    const ssize_t count = ::recv(m_socket.get(), buffer.data(), buffer.size(), 0);
    if (count < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    // ECONNRESET is how the stream of an emulator ends that did not read everything.
    if (count <= 0)
        return close();
    m_reader.append(QByteArrayView(buffer.data(), count));
    while (const std::optional<QJsonObject> message = m_reader.next())
        handle(*message);
    if (m_reader.isMalformed())
        close();
}

void QMPChannel::handle(const QJsonObject &message)
{
    const bool isRefusal = message.contains("error"_L1);
    if ((!isRefusal && !message.contains("return"_L1)) || m_unanswered.empty())
        return; // the greeting or an event
    const Promise promise = m_unanswered.front();
    m_unanswered.pop_front();
    if (isRefusal)
        return fail(*promise,
                    QMPError(QMPError::Case::refused, message.value("error"_L1)["desc"_L1].toString()));
    if (promise->future().isFinished())
        return; // it was given up
    promise->addResult(message.value("return"_L1));
    promise->finish();
}

void QMPChannel::close()
{
    if (!m_socket.isValid())
        return;
    m_notifier->setEnabled(false);
    m_notifier.release()->deleteLater(); // it may be what called us
    m_socket.reset();
    failUnanswered();
}

void QMPChannel::failUnanswered()
{
    for (const Promise &promise : std::exchange(m_unanswered, {}))
        fail(*promise, QMPError(QMPError::Case::ended));
}
