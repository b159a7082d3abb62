#include "Platform/Emulator/QMPMessages.h"
#include "Require.h"

#include <QJsonObject>
#include <QList>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace {

struct Outcome
{
    QList<QJsonObject> messages;
    bool isMalformed = false;

    bool operator==(const Outcome &) const = default;
};

/// How messages are cut must not depend on how the bytes arrive.
Outcome readInPieces(QByteArrayView bytes, qsizetype pieceBytes)
{
    Outcome outcome;
    QMPMessages::Reader reader;
    for (qsizetype begin = 0; begin < bytes.size(); begin += pieceBytes) {
        reader.append(bytes.sliced(begin, std::min(pieceBytes, bytes.size() - begin)));
        while (const auto message = reader.next())
            outcome.messages.append(*message);
    }
    outcome.isMalformed = reader.isMalformed();
    require(!outcome.isMalformed || !reader.next());
    return outcome;
}

} // namespace

/// The first byte says in which pieces the rest arrives.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const qsizetype pieceBytes = 1 + data[0];
    const QByteArrayView bytes(reinterpret_cast<const char *>(data + 1), static_cast<qsizetype>(size - 1));
    require(readInPieces(bytes, pieceBytes) == readInPieces(bytes, std::max<qsizetype>(1, bytes.size())));
    return 0;
}
