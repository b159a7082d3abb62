#include "UI/Console/TerminalText.h"

#include <vterm.h>

#include <array>
#include <span>

namespace {

constexpr int columns = 80;
constexpr int rows = 25;
constexpr char32_t behindWideCharacter = 0xffffffff;

/// Without the spaces at its end.
QString lineOf(std::span<const VTermScreenCell> cells)
{
    QString line;
    qsizetype end = 0;
    for (const VTermScreenCell &cell : cells) {
        const char32_t first = cell.chars[0];
        if (first == behindWideCharacter)
            continue;
        if (first == 0 || first == U' ') {
            line += u' ';
            continue;
        }
        for (const char32_t character : cell.chars) {
            if (character == 0)
                break;
            line += QString::fromUcs4(&character, 1);
        }
        end = line.size();
    }
    line.truncate(end);
    return line;
}

int keepLine(int count, const VTermScreenCell *cells, void *history)
{
    auto &lines = *static_cast<QStringList *>(history);
    if (lines.size() >= TerminalText::maximumHistory)
        lines.removeFirst();
    lines.append(lineOf({cells, static_cast<std::size_t>(count)}));
    return 1;
}

const VTermScreenCallbacks *callbacks()
{
    static const VTermScreenCallbacks own = [] {
        VTermScreenCallbacks result{};
        result.sb_pushline = keepLine;
        return result;
    }();
    return &own;
}

} // namespace

void TerminalText::Free::operator()(VTerm *terminal) const
{
    vterm_free(terminal);
}

TerminalText::TerminalText()
{
    reset();
}

TerminalText::~TerminalText() = default;

void TerminalText::feed(QByteArrayView bytes)
{
    // The library itself loses characters that are cut in two.
    const QByteArray whole = QString(m_decoder.decode(bytes)).toUtf8();
    vterm_input_write(m_terminal.get(), whole.constData(), static_cast<std::size_t>(whole.size()));
    vterm_screen_flush_damage(m_screen);
}

void TerminalText::reset()
{
    m_decoder.resetState();
    m_history.clear();
    m_terminal.reset(vterm_new(rows, columns));
    vterm_set_utf8(m_terminal.get(), 1);
    m_screen = vterm_obtain_screen(m_terminal.get());
    vterm_screen_set_callbacks(m_screen, callbacks(), &m_history);
    // What draws on the whole screen leaves what was there before as it was.
    vterm_screen_enable_altscreen(m_screen, 1);
    vterm_screen_reset(m_screen, 1);
}

QString TerminalText::text() const
{
    QStringList lines = m_history;
    qsizetype end = lines.size();
    for (int row = 0; row < rows; ++row) {
        std::array<VTermScreenCell, columns> cells{};
        for (int column = 0; column < columns; ++column)
            vterm_screen_get_cell(m_screen, {.row = row, .col = column},
                                  &cells[static_cast<std::size_t>(column)]);
        lines.append(lineOf(cells));
        if (!lines.last().isEmpty())
            end = lines.size();
    }
    lines.resize(end);
    return lines.join(u'\n');
}
