#include "Virtualization/QEMU/QMPExchange.h"

#include "Virtualization/Backend/KelvoError.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

KelvoError readFailure()
{
    return KelvoError::internalError(u"Failed to read from QMP socket."_s);
}

} // namespace

QMPExchange::QMPExchange(const QString &command)
    : m_command(QMPMessages::command(command))
{}

QByteArray QMPExchange::beginWithoutGreeting()
{
    m_phase = Phase::awaitingAnswer;
    return m_command;
}

QByteArray QMPExchange::receive(QByteArrayView bytes)
{
    m_reader.append(bytes);
    return handleMessages();
}

void QMPExchange::endOfStream()
{
    m_reader.appendEnd();
    (void)handleMessages();
    if (!isFinished() && m_isGreeted)
        throw readFailure();
    m_phase = Phase::finished;
}

QByteArray QMPExchange::handleMessages()
{
    QByteArray reply;
    while (!isFinished()) {
        const std::optional<QJsonObject> message = m_reader.next();
        if (m_reader.isMalformed())
            throw readFailure();
        if (!message)
            break;
        reply += handle(*message);
    }
    return reply;
}

QByteArray QMPExchange::handle(const QJsonObject &message)
{
    if (message.contains("QMP"_L1))
        return handleGreeting();
    if (message.contains("return"_L1) || message.contains("error"_L1))
        return handleAnswer(message);
    return {}; // an event
}

QByteArray QMPExchange::handleGreeting()
{
    if (m_isGreeted)
        return {};
    // A peer that was slow to greet refuses, or already refused, the command that was sent without
    // negotiation.
    if (m_phase == Phase::awaitingAnswer)
        m_answersToSkip = 1;
    m_isGreeted = true;
    m_phase = Phase::negotiating;
    return QMPMessages::command(u"qmp_capabilities"_s);
}

QByteArray QMPExchange::handleAnswer(const QJsonObject &answer)
{
    if (m_phase == Phase::awaitingGreeting)
        return {};
    if (m_answersToSkip > 0) {
        --m_answersToSkip;
        return {};
    }
    if (answer.contains("error"_L1)) {
        const QString description = answer.value("error"_L1).toObject().value("desc"_L1).toString();
        throw KelvoError::internalError(description.isEmpty() ? u"QEMU refused the command."_s : description);
    }
    if (m_phase == Phase::negotiating) {
        m_phase = Phase::awaitingAnswer;
        return m_command;
    }
    m_phase = Phase::finished;
    return {};
}
