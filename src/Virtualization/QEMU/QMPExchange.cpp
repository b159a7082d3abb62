#include "Virtualization/QEMU/QMPExchange.h"

#include "Virtualization/Backend/KelvoError.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

QByteArray message(const QString &command)
{
    return "{\"execute\":\"" + command.toUtf8() + "\"}\n";
}

KelvoError readFailure()
{
    return KelvoError::internalError(u"Failed to read from QMP socket."_s);
}

} // namespace

QMPExchange::QMPExchange(const QString &command)
    : m_command(message(command))
{}

QByteArray QMPExchange::beginWithoutGreeting()
{
    m_phase = Phase::awaitingAnswer;
    return m_command;
}

QByteArray QMPExchange::receive(QByteArrayView bytes)
{
    QByteArray reply;
    m_buffer.append(bytes);
    qsizetype end = m_buffer.indexOf('\n');
    while (end >= 0 && !isFinished()) {
        const QByteArray line = m_buffer.first(end);
        m_buffer.remove(0, end + 1);
        reply += handleLine(line);
        end = m_buffer.indexOf('\n');
    }
    if (m_buffer.size() > maximumLineBytes)
        throw readFailure();
    return reply;
}

void QMPExchange::endOfStream()
{
    if (!isFinished() && !m_buffer.isEmpty())
        (void)handleLine(m_buffer);
    if (!isFinished() && m_isGreeted)
        throw readFailure();
    m_phase = Phase::finished;
}

QByteArray QMPExchange::handleLine(QByteArrayView line)
{
    if (line.trimmed().isEmpty())
        return {};
    const QJsonDocument document = QJsonDocument::fromJson(line.toByteArray());
    if (!document.isObject())
        throw readFailure();
    const QJsonObject object = document.object();
    if (object.contains("QMP"_L1))
        return handleGreeting();
    if (object.contains("return"_L1) || object.contains("error"_L1))
        return handleAnswer(object);
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
    return message(u"qmp_capabilities"_s);
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
