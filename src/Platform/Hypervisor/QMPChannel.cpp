#include "Platform/Hypervisor/QMPChannel.h"

#include "Platform/Hypervisor/VZError.h"

#include <QTimer>

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

void fail(QPromise<QJsonValue> &promise, const QString &description)
{
    promise.setException(std::make_exception_ptr(VZError(VZError::Case::internalError, description)));
    promise.finish();
}

} // namespace

QMPChannel::QMPChannel(UniqueDescriptor socket, std::chrono::milliseconds patience, QObject *parent)
    : QObject(parent)
    , m_socket(std::move(socket))
    , m_patience(patience)
    , m_notifier(std::make_unique<QSocketNotifier>(m_socket.get(), QSocketNotifier::Read))
{
    ::fcntl(m_socket.get(), F_SETFL, O_NONBLOCK);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &QMPChannel::readWhatIsThere);
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
    const qint64 id = ++m_lastId;
    if (!isOpen() || !send(QMPMessages::command(command, arguments, id), descriptor)) {
        fail(*promise, u"The emulator cannot be reached."_s);
        return answer;
    }
    m_unanswered.insert(id, promise);
    QTimer::singleShot(m_patience, this, [this, id] {
        if (const Promise late = m_unanswered.take(id))
            fail(*late, u"The emulator does not answer."_s);
    });
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
    // The few commands that may be under way always fit the socket's buffer.
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
    if (message.contains("event"_L1)) {
        Q_EMIT eventReceived(message.value("event"_L1).toString(), message.value("data"_L1).toObject());
        return;
    }
    const Promise promise = m_unanswered.take(message.value("id"_L1).toInteger());
    if (!promise)
        return; // the greeting
    if (message.contains("error"_L1)) {
        const QString description = message.value("error"_L1)["desc"_L1].toString();
        return fail(*promise, description.isEmpty() ? u"The emulator refused the command."_s : description);
    }
    promise->addResult(message.value("return"_L1));
    promise->finish();
}

void QMPChannel::close()
{
    if (!isOpen())
        return;
    m_notifier->setEnabled(false);
    m_notifier.release()->deleteLater(); // it may be what called us
    m_socket.reset();
    failUnanswered();
    Q_EMIT closed();
}

void QMPChannel::failUnanswered()
{
    const QHash<qint64, Promise> unanswered = std::exchange(m_unanswered, {});
    for (const Promise &promise : unanswered)
        fail(*promise, u"The emulator ended."_s);
}
