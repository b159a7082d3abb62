#pragma once

#include <QByteArrayView>
#include <QStringConverter>
#include <QStringList>

#include <memory>

struct VTerm;
struct VTermScreen;

/// A terminal of 80 columns and 25 rows (ECMA-48, as xterm has it) that is only read: plain text, without the
/// lines' colors. One thread.
class TerminalText
{
public:
    TerminalText();
    TerminalText(const TerminalText &) = delete;
    TerminalText &operator=(const TerminalText &) = delete;
    ~TerminalText();

    /// How many of the lines are kept that have left the screen at its top.
    static constexpr qsizetype maximumHistory = 1000;

    /// What the other side has sent: UTF-8 with control sequences, in pieces of any length.
    void feed(QByteArrayView bytes);
    /// As if nothing had come.
    void reset();

    /// The history and the screen, up to the last line that has something in it.
    [[nodiscard]] QString text() const;

private:
    struct Free
    {
        void operator()(VTerm *terminal) const;
    };

    QStringDecoder m_decoder{QStringDecoder::Utf8};
    QStringList m_history;
    std::unique_ptr<VTerm, Free> m_terminal;
    VTermScreen *m_screen = nullptr; ///< the terminal's own
};
