#include "Require.h"
#include "UI/Console/TerminalText.h"

#include <QString>

#include <algorithm>
#include <cstddef>
#include <cstdint>

/// The first byte says in which pieces the rest arrives.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const qsizetype pieceBytes = 1 + data[0];
    const QByteArrayView bytes(reinterpret_cast<const char *>(data + 1), static_cast<qsizetype>(size - 1));
    TerminalText terminal;
    for (qsizetype begin = 0; begin < bytes.size(); begin += pieceBytes)
        terminal.feed(bytes.sliced(begin, std::min(pieceBytes, bytes.size() - begin)));
    const QString text = terminal.text();
    require(text.count(u'\n') < TerminalText::maximumHistory + 25);
    require(
        std::ranges::none_of(text, [](QChar character) { return character < u' ' && character != u'\n'; }));
    return 0;
}
