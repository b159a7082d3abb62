#pragma once

#include "Platform/QMPMessages.h"
#include "Platform/UniqueDescriptor.h"

#include <QFuture>
#include <QHash>
#include <QObject>
#include <QPromise>
#include <QSocketNotifier>

#include <chrono>
#include <memory>

/// One lasting conversation in the QEMU Machine Protocol over a connected stream socket, which answers match
/// by their id. Main thread; never blocks.
class QMPChannel : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultPatience = std::chrono::seconds(30);

    /// `patience`: how long an answer may take.
    explicit QMPChannel(UniqueDescriptor socket, std::chrono::milliseconds patience = defaultPatience,
                        QObject *parent = nullptr);
    /// What is still unanswered fails.
    ~QMPChannel() override;

    /// What the emulator returns. The future fails with VZError (internalError): with the emulator's
    /// description when it refuses, else because the answer did not come in time or the conversation has
    /// ended. `descriptor` goes along (SCM_RIGHTS, unix(7)); the caller keeps its own.
    QFuture<QJsonValue> execute(const QString &command, const QJsonObject &arguments = {},
                                int descriptor = -1);
    [[nodiscard]] bool isOpen() const { return m_socket.isValid(); }

Q_SIGNALS:
    void eventReceived(const QString &name, const QJsonObject &data);
    /// Once: the emulator closed its end or broke the protocol.
    void closed();

private:
    using Promise = std::shared_ptr<QPromise<QJsonValue>>;

    [[nodiscard]] bool send(const QByteArray &message, int descriptor) const;
    void readWhatIsThere();
    void handle(const QJsonObject &message);
    void close();
    void failUnanswered();

    UniqueDescriptor m_socket;
    std::chrono::milliseconds m_patience;
    std::unique_ptr<QSocketNotifier> m_notifier;
    QMPMessages::Reader m_reader;
    QHash<qint64, Promise> m_unanswered;
    qint64 m_lastId = 0;
};
