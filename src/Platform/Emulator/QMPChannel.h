#pragma once

#include "Platform/Emulator/QMPMessages.h"
#include "Platform/UnixSocket.h"

#include <QCoroTask>
#include <QFuture>
#include <QObject>
#include <QPromise>
#include <QSocketNotifier>

#include <chrono>
#include <deque>
#include <memory>

/// A short conversation in the QEMU Machine Protocol. An emulator talks to one at a time: whoever holds a
/// conversation keeps all others waiting, those of other processes, too. Main thread; never blocks.
class QMPChannel : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultTimeout = std::chrono::seconds(30);

    /// Connects to the emulator's control socket. `timeout`: how long that and each answer may take. Throws
    /// QMPError (unreachable, silent).
    [[nodiscard]] static QCoro::Task<std::shared_ptr<QMPChannel>> open(QString path,
                                                                       std::chrono::milliseconds timeout);
    /// A conversation of one command. Throws QMPError.
    [[nodiscard]] static QCoro::Task<QJsonValue> ask(QString path, QString command, QJsonObject arguments,
                                                     std::chrono::milliseconds timeout);

    QMPChannel(UniqueDescriptor connection, std::chrono::milliseconds timeout);
    /// What is still unanswered fails.
    ~QMPChannel() override;

    /// What the emulator returns; the future fails with QMPError. `descriptor` goes along (SCM_RIGHTS,
    /// unix(7)); the caller keeps its own.
    QFuture<QJsonValue> execute(const QString &command, const QJsonObject &arguments = {},
                                int descriptor = -1);
    /// The emulator's process.
    [[nodiscard]] UnixSocket::Peer peer() const { return UnixSocket::peerOf(m_socket); }

private:
    using Promise = std::shared_ptr<QPromise<QJsonValue>>;

    [[nodiscard]] bool send(const QByteArray &message, int descriptor) const;
    void readWhatIsThere();
    void handle(const QJsonObject &message);
    void close();
    void failUnanswered();

    UniqueDescriptor m_socket;
    std::chrono::milliseconds m_timeout;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QMPMessages::Reader m_reader;
    std::deque<Promise> m_unanswered; ///< answers come in the order of the commands
};
