#include "Platform/Emulator/QMPMessages.h"

#include <QJsonDocument>

using namespace Qt::StringLiterals;

QByteArray QMPMessages::command(const QString &name, const QJsonObject &arguments)
{
    QByteArray line = "{\"execute\":\"" + name.toUtf8() + '"';
    if (!arguments.isEmpty())
        line += ",\"arguments\":" + QJsonDocument(arguments).toJson(QJsonDocument::Compact);
    return line + "}\n";
}

std::optional<QJsonObject> QMPMessages::Reader::next()
{
    while (!m_isMalformed) {
        const qsizetype end = m_buffer.indexOf('\n');
        if (end < 0 || end > maximumLineBytes) {
            m_isMalformed = m_buffer.size() > maximumLineBytes;
            return std::nullopt;
        }
        const QByteArray line = m_buffer.first(end).trimmed();
        m_buffer.remove(0, end + 1);
        if (line.isEmpty())
            continue;
        const QJsonDocument document = QJsonDocument::fromJson(line);
        if (document.isObject())
            return document.object();
        m_isMalformed = true;
    }
    return std::nullopt;
}
