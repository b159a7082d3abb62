#include "Platform/BoundedLines.h"

#include <algorithm>

using namespace Qt::StringLiterals;

QStringList BoundedLines::append(QByteArrayView bytes)
{
    QStringList reported;
    while (!bytes.isEmpty()) {
        const qsizetype end = bytes.indexOf('\n');
        const QByteArrayView piece = end < 0 ? bytes : bytes.first(end);
        if (end >= 0 && m_unfinished.isEmpty()) {
            takeLine(piece, reported);
        } else {
            m_unfinished += piece.first(std::min(piece.size(), maximumLineBytes - m_unfinished.size()));
            if (end >= 0) {
                takeLine(m_unfinished, reported);
                m_unfinished.clear();
            }
        }
        bytes = end < 0 ? QByteArrayView() : bytes.sliced(end + 1);
    }
    return reported;
}

QStringList BoundedLines::finish()
{
    QStringList reported;
    takeLine(m_unfinished, reported);
    m_unfinished.clear();
    const qint64 omitted = m_lineCount - firstLineCount - 1;
    if (omitted > 0)
        reported.append(u"(%1 lines left out)"_s.arg(omitted));
    if (m_lineCount > firstLineCount)
        reported.append(QString::fromUtf8(m_newestHeldBack));
    return reported;
}

void BoundedLines::takeLine(QByteArrayView line, QStringList &reported)
{
    line = line.first(std::min(line.size(), maximumLineBytes)).trimmed();
    if (line.isEmpty())
        return;
    ++m_lineCount;
    if (m_lineCount <= firstLineCount) {
        reported.append(QString::fromUtf8(line));
    } else {
        m_newestHeldBack.clear(); // keeps its capacity
        m_newestHeldBack.append(line);
    }
}
