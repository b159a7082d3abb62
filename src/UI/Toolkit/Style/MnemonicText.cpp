#include "UI/Toolkit/Style/MnemonicText.h"

using namespace Qt::StringLiterals;

namespace {

QString rewritten(const QString &text, const QString &before, const QString &after, bool escapes)
{
    QString result;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const bool marks = text.at(at) == u'&' && at + 1 < text.size();
        if (marks)
            ++at;
        const QString character = escapes ? QString(text.at(at)).toHtmlEscaped() : QString(text.at(at));
        result += marks && text.at(at) != u'&' ? before + character + after : character;
    }
    return result;
}

} // namespace

QString MnemonicText::plain(const QString &text)
{
    return rewritten(text, {}, {}, false);
}

QString MnemonicText::underlined(const QString &text)
{
    return rewritten(text, u"<u>"_s, u"</u>"_s, true);
}
