#include "Platform/LocalizedError.h"
#include "Platform/QMPMessages.h"
#include "Require.h"
#include "Virtualization/QEMU/QMPExchange.h"

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

void converse(QByteArrayView bytes, qsizetype pieceBytes, bool hasGreeting)
{
    QMPExchange exchange(QStringLiteral("query-status"));
    try {
        if (!hasGreeting)
            require(!exchange.beginWithoutGreeting().isEmpty());
        for (qsizetype begin = 0; begin < bytes.size() && !exchange.isFinished(); begin += pieceBytes)
            (void)exchange.receive(bytes.sliced(begin, std::min(pieceBytes, bytes.size() - begin)));
        if (!exchange.isFinished())
            exchange.endOfStream();
    } catch (const LocalizedError &error) {
        require(!error.localizedDescription().isEmpty());
    }
}

} // namespace

/// The first byte says in which pieces the rest arrives, and whether the client waited for a greeting.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const qsizetype pieceBytes = 1 + (data[0] >> 1);
    const QByteArrayView bytes(reinterpret_cast<const char *>(data + 1), static_cast<qsizetype>(size - 1));
    require(readInPieces(bytes, pieceBytes) == readInPieces(bytes, std::max<qsizetype>(1, bytes.size())));
    converse(bytes, pieceBytes, (data[0] & 1) != 0);
    return 0;
}
