#pragma once

#include <QByteArray>
#include <QStringList>

/// Cuts what a child writes into lines and lets few of them through: the first ones at once, the newest at
/// the end. However much is written, little is kept. Blank lines are left out. Any one thread.
class BoundedLines
{
public:
    static constexpr qint64 firstLineCount = 20;
    static constexpr qsizetype maximumLineBytes = 1000; ///< the rest of a longer line is dropped

    /// Takes bytes as they come and gives back the lines to report now.
    [[nodiscard]] QStringList append(QByteArrayView bytes);
    /// After the last byte: the newest line where it was held back, after a note on how many others were.
    [[nodiscard]] QStringList finish();

private:
    void takeLine(QByteArrayView line, QStringList &reported);

    QByteArray m_unfinished;
    QByteArray m_newestHeldBack;
    qint64 m_lineCount = 0;
};
