#pragma once

#include "Platform/QMPMessages.h"

#include <QByteArray>
#include <QString>

/// One command's conversation in the QEMU Machine Protocol (QEMU's qmp-spec.txt), without the socket: bytes
/// of the peer go in, bytes for the peer come out. Messages are JSON objects, one a line. Any one thread.
class QMPExchange
{
public:
    /// `command` is put into the message as it is.
    explicit QMPExchange(const QString &command);

    /// The command itself, for a peer that sends no greeting. A greeting may still come later.
    [[nodiscard]] QByteArray beginWithoutGreeting();
    /// What to send now, possibly nothing. Throws KelvoError::internalError: with the peer's own description
    /// when it refuses, or that reading failed when it does not speak the protocol.
    [[nodiscard]] QByteArray receive(QByteArrayView bytes);
    /// A peer that leaves without a greeting took the command or never wanted one; any other that leaves
    /// before its answer is a failure (KelvoError::internalError).
    void endOfStream();
    /// The command was answered.
    [[nodiscard]] bool isFinished() const { return m_phase == Phase::finished; }

private:
    enum class Phase
    {
        awaitingGreeting,
        negotiating,
        awaitingAnswer,
        finished
    };

    [[nodiscard]] QByteArray handleMessages();
    [[nodiscard]] QByteArray handle(const QJsonObject &message);
    [[nodiscard]] QByteArray handleGreeting();
    [[nodiscard]] QByteArray handleAnswer(const QJsonObject &answer);

    QByteArray m_command;
    QMPMessages::Reader m_reader;
    Phase m_phase = Phase::awaitingGreeting;
    bool m_isGreeted = false;
    int m_answersToSkip = 0;
};
