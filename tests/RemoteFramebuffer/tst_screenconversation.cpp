#include "RemoteFramebuffer/ClientMessages.h"
#include "RemoteFramebuffer/ScreenConversation.h"
#include "RemoteFramebuffer/ServerStream.h"
#include "support/TestMain.h"

#include <QRect>

#include <algorithm>
#include <array>
#include <cstring>

using namespace serverstream;
using Failure = rfb::ScreenConversation::Failure;
using rfb::Encoding;

namespace {

const QByteArray opening = QByteArray("RFB 003.008\n\x01\x01\x02\x00\x00\x06", 18) + uint32(0) +
                           uint32(-223) + uint32(-257) + uint32(-258) + uint32(-314) + uint32(-239);

QByteArray request(int width, int height, bool isIncremental)
{
    return QByteArray(1, '\x03') + QByteArray(1, isIncremental ? '\x01' : '\x00') + uint32(0) +
           uint16(static_cast<std::uint16_t>(width)) + uint16(static_cast<std::uint16_t>(height));
}

QByteArray rectangle(const QRect &area, Encoding encoding, const QByteArray &data = {})
{
    QByteArray bytes;
    for (const int value : {area.x(), area.y(), area.width(), area.height()})
        bytes += uint16(static_cast<std::uint16_t>(value));
    return bytes + uint32(static_cast<std::uint32_t>(encoding)) + data;
}

/// Pixels of one byte's value.
QByteArray raw(const QRect &area, char value)
{
    return rectangle(area, Encoding::Raw, QByteArray(area.width() * area.height() * 4, value));
}

QByteArray update(const QByteArrayList &rectangles)
{
    return updateHeader(static_cast<std::uint16_t>(rectangles.size())) + rectangles.join();
}

/// What a client has after a stream, of which every update was used at once or none was.
struct Outcome
{
    QByteArray sent;
    QList<QList<QRect>> updates;
    QByteArray screen;
    QSize size;
    std::optional<rfb::CursorShape> cursor;
    std::optional<Failure> failure;
};

class Client
{
public:
    explicit Client(bool usesUpdates = true)
        : m_usesUpdates(usesUpdates)
    {}

    void play(QByteArrayView stream)
    {
        while (!stream.isEmpty() && !conversation.failure()) {
            std::array<std::span<std::byte>, 9> places;
            const std::size_t count = conversation.spaces(places);
            qsizetype received = 0;
            for (const auto place : std::span(places).first(count)) {
                const auto part = std::min(stream.size() - received, static_cast<qsizetype>(place.size()));
                std::memcpy(place.data(), stream.data() + received, static_cast<std::size_t>(part));
                received += part;
            }
            stream = stream.sliced(received);
            conversation.received(static_cast<std::size_t>(received));
            if (m_usesUpdates)
                use();
        }
    }
    void use()
    {
        if (const auto taken = conversation.takeUpdate()) {
            QList<QRect> &areas = m_outcome.updates.emplaceBack();
            for (const auto &[x, y, width, height] : taken->changed)
                areas += QRect(x, y, width, height);
            conversation.requestUpdate();
        }
        if (auto cursor = conversation.takeCursor())
            m_outcome.cursor = std::move(cursor);
    }
    Outcome outcome()
    {
        for (const std::byte byte : conversation.takeOutput())
            m_outcome.sent += static_cast<char>(byte);
        if (const auto &screen = conversation.framebuffer()) {
            m_outcome.size = {screen->width, screen->height};
            m_outcome.screen = QByteArray(reinterpret_cast<const char *>(screen->pixels.data()),
                                          static_cast<qsizetype>(screen->bytesPerRow() * screen->height));
        }
        m_outcome.failure = conversation.failure();
        return m_outcome;
    }

    rfb::ScreenConversation conversation;

private:
    bool m_usesUpdates;
    Outcome m_outcome;
};

Outcome play(const QByteArray &stream)
{
    Client client;
    client.play(stream);
    return client.outcome();
}

} // namespace

class TestScreenConversation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusesWhatMakesNoSense_data();
    void refusesWhatMakesNoSense();
    void putsEveryPixelInItsPlace();
    void asksWhenAnUpdateWasUsed();
    void keepsWhatWasNotTaken();
    void startsAnewAtAnotherSize();
    void learnsThePointersPicture_data();
    void learnsThePointersPicture();
};

void TestScreenConversation::refusesWhatMakesNoSense_data()
{
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<std::optional<Failure>>("failure");

    const std::optional<Failure> none;
    const std::optional violation(Failure::ProtocolViolation);
    const std::optional format(Failure::UnsupportedPixelFormat);
    const std::optional size(Failure::ScreenTooLarge);
    const auto pseudo = [](const QRect &area, Encoding encoding) {
        return handshake(8, 4) + update({rectangle(area, encoding)});
    };
    QTest::newRow("as large as the screen") << handshake(8, 4) + update({raw({0, 0, 8, 4}, 'a')}) << none;
    QTest::newRow("one column too many") << pseudo({1, 0, 8, 1}, Encoding::Raw) << violation;
    QTest::newRow("one row too many") << pseudo({0, 4, 1, 1}, Encoding::Raw) << violation;
    QTest::newRow("wraps around in 16 bits") << pseudo({65535, 65535, 2, 2}, Encoding::Raw) << violation;
    QTest::newRow("empty at the far corner") << pseudo({8, 4, 0, 0}, Encoding::Raw) << none;
    QTest::newRow("empty beyond it") << pseudo({9, 0, 0, 0}, Encoding::Raw) << violation;
    QTest::newRow("encoding not asked for") << pseudo({0, 0, 1, 1}, Encoding(5)) << violation;
    QTest::newRow("message of an unknown type") << handshake(8, 4) + '\x96' << violation;
    QTest::newRow("largest pointer") << handshake(1, 1) +
                                            update({rectangle({0, 0, 512, 512}, Encoding::AlphaCursor,
                                                              uint32(0) + QByteArray(512 * 512 * 4, 'p'))})
                                     << none;
    QTest::newRow("pointer too wide") << pseudo({0, 0, 513, 1}, Encoding::Cursor) << violation;
    QTest::newRow("pointer too high") << pseudo({0, 0, 1, 513}, Encoding::AlphaCursor) << violation;
    QTest::newRow("pointer that is compressed")
        << handshake(1, 1) + update({rectangle({0, 0, 1, 1}, Encoding::AlphaCursor, uint32(7))}) << violation;
    QTest::newRow("screen too large") << handshake(8192, 4097) << size;
    QTest::newRow("largest screen") << handshake(8192, 4096) << none;
    QTest::newRow("grows too large") << pseudo({0, 0, 65535, 65535}, Encoding::DesktopSize) << size;
    QTest::newRow("no screen") << handshake(0, 0) + update({raw({0, 0, 0, 0}, 'a')}) << none;
    QTest::newRow("16 bits a pixel") << handshake(8, 4, withBits(littleEndianFormat, 16)) << format;
    QTest::newRow("red first") << handshake(8, 4, bigEndianFormat()) << format;
}

void TestScreenConversation::refusesWhatMakesNoSense()
{
    QFETCH(const QByteArray, stream);
    QTEST(play(stream).failure, "failure");
}

void TestScreenConversation::putsEveryPixelInItsPlace()
{
    const Outcome outcome = play(handshake(4, 4) + update({raw({0, 0, 4, 2}, 'a'), raw({1, 1, 2, 2}, 'b')}) +
                                 update({raw({3, 3, 1, 1}, 'c')}));
    QByteArray expected(64, '\0');
    const auto fill = [&expected](const QRect &area, char value) {
        for (int y = area.top(); y <= area.bottom(); ++y)
            expected.replace((y * 4 + area.x()) * 4, area.width() * 4, QByteArray(area.width() * 4, value));
    };
    fill({0, 0, 4, 2}, 'a');
    fill({1, 1, 2, 2}, 'b');
    fill({3, 3, 1, 1}, 'c');
    QCOMPARE(outcome.screen, expected);
    QCOMPARE(outcome.updates.value(1), (QList<QRect>{{3, 3, 1, 1}}));
}

void TestScreenConversation::asksWhenAnUpdateWasUsed()
{
    Client client(false);
    client.play(handshake(8, 4) + update({raw({0, 0, 8, 4}, 'a')}));
    QByteArray sent = opening + request(8, 4, false);
    QCOMPARE(client.outcome().sent, sent);
    client.use();
    sent += request(8, 4, true);
    QCOMPARE(client.outcome().sent, sent);
    client.play(update({}) + update({rectangle({0, 0, 8, 4}, Encoding::PointerType)}) +
                update({rectangle({0, 0, 8, 4}, Encoding::ExtendedKey)}));
    QCOMPARE(client.outcome().sent, sent + request(8, 4, true).repeated(3));
    QVERIFY(client.conversation.takesExtendedKeys() && !client.conversation.isPointerAbsolute());
}

void TestScreenConversation::keepsWhatWasNotTaken()
{
    Client client(false);
    client.play(handshake(100, 100) + update({raw({0, 0, 100, 100}, 'a')}));
    client.use();
    client.play(update({raw({1, 1, 2, 2}, 'b'), raw({1, 3, 2, 4}, 'c')}) + update({raw({9, 9, 1, 1}, 'd')}) +
                update({raw({50, 50, 1, 1}, 'e')}).chopped(1));
    client.use();
    QCOMPARE(client.outcome().updates.last(), (QList<QRect>{{1, 1, 2, 6}, {9, 9, 1, 1}}));
    client.play("e");
    client.use();
    QCOMPARE(client.outcome().updates.last(), (QList<QRect>{{50, 50, 1, 1}}));

    QByteArrayList many;
    for (int i = 0; i < 70; ++i)
        many += raw({20 + i % 2, 10 + i, 1, 1}, 'f');
    client.play(update(many));
    client.use();
    QRegion changed;
    const QList<QRect> merged = client.outcome().updates.last();
    for (const QRect &area : merged)
        changed += area;
    QVERIFY(merged.size() <= 64);
    QCOMPARE(changed.boundingRect(), QRect(20, 10, 2, 70));
}

void TestScreenConversation::startsAnewAtAnotherSize()
{
    const QByteArray before = handshake(2, 2) + update({raw({0, 0, 2, 2}, 'a')});
    const QByteArray resized =
        update({rectangle({0, 0, 3, 1}, Encoding::DesktopSize)}) + update({raw({0, 0, 1, 1}, 'b')});
    const Outcome outcome = play(before + resized);
    QCOMPARE(outcome.size, QSize(3, 1));
    QCOMPARE(outcome.screen, "bbbb" + QByteArray(8, '\0'));
    QCOMPARE(outcome.updates.last(), (QList<QRect>{{0, 0, 3, 1}, {0, 0, 1, 1}}));
    QCOMPARE(outcome.sent, opening + request(2, 2, false) + request(2, 2, true) + request(3, 1, false) +
                               request(3, 1, true));

    Client late(false);
    late.play(before);
    const auto kept = late.conversation.framebuffer();
    late.play(resized);
    const auto taken = late.conversation.takeUpdate();
    QVERIFY(taken && taken->framebuffer == late.conversation.framebuffer());
    QCOMPARE(*kept->pixels.data(), std::byte{'a'});
}

void TestScreenConversation::learnsThePointersPicture_data()
{
    QTest::addColumn<QByteArray>("rectangle");
    QTest::addColumn<QByteArray>("pixels");

    const QRect area(1, 0, 9, 1);
    QByteArray colours;
    for (int i = 0; i < 9; ++i)
        colours += QByteArray(3, static_cast<char>('1' + i)) + 'x';
    QTest::newRow("alpha") << rectangle(area, Encoding::AlphaCursor, uint32(0) + colours) << colours;
    // Only the first and the last pixel are visible.
    const QByteArray masked = QByteArray("111\xff", 4) + QByteArray(28, '\0') + QByteArray("999\xff", 4);
    QTest::newRow("mask") << rectangle(area, Encoding::Cursor, colours + QByteArray("\x80\x80", 2)) << masked;
    QTest::newRow("invisible") << rectangle({0, 0, 0, 0}, Encoding::Cursor) << QByteArray();
}

void TestScreenConversation::learnsThePointersPicture()
{
    QFETCH(const QByteArray, rectangle);
    const auto cursor = play(handshake(1, 1) + update({rectangle})).cursor;
    QVERIFY(cursor);
    QTEST(QByteArray(reinterpret_cast<const char *>(cursor->pixels.data()),
                     static_cast<qsizetype>(cursor->pixels.size())),
          "pixels");
    if (cursor->width > 0)
        QCOMPARE((std::array{cursor->width, cursor->height, cursor->hotX, cursor->hotY}),
                 (std::array<std::uint16_t, 4>{9, 1, 1, 0}));
}

KELVO_TEST_MAIN(TestScreenConversation)
#include "tst_screenconversation.moc"
