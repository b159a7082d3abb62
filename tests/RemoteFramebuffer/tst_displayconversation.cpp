#include "RemoteFramebuffer/DisplayConversation.h"
#include "RemoteFramebuffer/ServerStream.h"
#include "support/TestMain.h"

#include <QRandomGenerator>

#include <algorithm>
#include <cstring>

using namespace serverstream;
using Failure = rfb::DisplayConversation::Failure;

namespace {

const QByteArray version = "RFB 003.008\n";
const QByteArray choice = "\x01";
const QByteArray clientInit = "\x01";
const QByteArray setEncodings("\x02\x00\x00\x01\x00\x00\x00\x00", 8);
const QByteArray opening = version + choice + clientInit + setEncodings;

QByteArray request(std::uint16_t width, std::uint16_t height)
{
    return QByteArray("\x03\x00\x00\x00\x00\x00", 6) + uint16(width) + uint16(height);
}

struct Picture
{
    int width = 0;
    int height = 0;
    rfb::PixelLayout layout = rfb::PixelLayout::XRGB;
    QByteArray pixels;

    bool operator==(const Picture &) const = default;
};

Picture picture(const rfb::Frame &frame)
{
    const qsizetype size = qsizetype{frame.width} * frame.height * 4;
    return {frame.width, frame.height, frame.layout,
            QByteArray(reinterpret_cast<const char *>(frame.pixels()), size)};
}

/// Everything that a conversation came to.
struct Outcome
{
    QByteArray sent;
    QList<Picture> pictures;
    std::optional<Failure> failure;
    qsizetype unread = 0;

    bool operator==(const Outcome &) const = default;
};

/// Plays `stream` to a conversation in pieces of at most as many bytes as `pieceSize` says each time.
template<typename PieceSize>
Outcome play(const QByteArray &stream, PieceSize pieceSize)
{
    Outcome outcome;
    rfb::DisplayConversation conversation([](std::size_t bytes) { return rfb::PixelBuffer(bytes); });
    qsizetype position = 0;
    while (position < stream.size() && !conversation.failure()) {
        const auto space = conversation.space();
        const auto count = std::min<qsizetype>(
            {static_cast<qsizetype>(space.size()), stream.size() - position, pieceSize()});
        std::memcpy(space.data(), stream.constData() + position, static_cast<std::size_t>(count));
        position += count;
        conversation.received(static_cast<std::size_t>(count));
        for (const std::byte byte : conversation.takeOutput())
            outcome.sent += static_cast<char>(byte);
        if (const auto frame = conversation.takeFrame())
            outcome.pictures += picture(*frame);
    }
    outcome.failure = conversation.failure();
    outcome.unread = stream.size() - position;
    return outcome;
}

Outcome play(const QByteArray &stream)
{
    return play(stream, [] { return std::numeric_limits<qsizetype>::max(); });
}

} // namespace

class TestDisplayConversation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersTheHandshake_data();
    void answersTheHandshake();
    void asksForTheNextUpdateAfterTheLastRectangle();
    void publishesEveryRectangleAtItsOwnSize();
    void takesRowsFromTheStartOfWidePixels_data();
    void takesRowsFromTheStartOfWidePixels();
    void skipsTheBodiesOfOtherMessages_data();
    void skipsTheBodiesOfOtherMessages();
    void readsTheSameHoweverTheStreamIsCut();
    void dropsRectanglesWithoutMemory();
    void dropsAbsurdRectanglesAndGoesOn();
};

void TestDisplayConversation::answersTheHandshake_data()
{
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<std::optional<Failure>>("failure");

    const std::optional<Failure> none;
    const QByteArray init = serverInit(1024, 768, littleEndianFormat);
    QTest::newRow("nothing") << QByteArray() << QByteArray() << none;
    QTest::newRow("eleven bytes of version") << QByteArray("RFB 003.008") << QByteArray() << none;
    QTest::newRow("whole") << greeting() + init << opening + request(1024, 768) << none;
    QTest::newRow("older version") << QByteArray("RFB 003.003\n") + greeting().mid(12) + init
                                   << opening + request(1024, 768) << none;
    QTest::newRow("no version at all")
        << QByteArray(12, '\xff') + greeting().mid(12) + init << opening + request(1024, 768) << none;
    QTest::newRow("only a password") << version + "\x01\x02" << version
                                     << std::optional(Failure::NoSupportedSecurityType);
    QTest::newRow("no security types")
        << version + QByteArray(1, '\0') << version << std::optional(Failure::NoSupportedSecurityType);
    QTest::newRow("None is the last of 255")
        << version + '\xff' + QByteArray(254, '\x02') + "\x01" + uint32(0) + init
        << opening + request(1024, 768) << none;
    QTest::newRow("refused") << version + "\x01\x01" + uint32(1) << version + choice
                             << std::optional(Failure::AuthenticationFailed);
    QTest::newRow("refused by the highest byte")
        << version + "\x01\x01" + uint32(0x80000000) << version + choice
        << std::optional(Failure::AuthenticationFailed);
    QTest::newRow("without a name") << greeting() + serverInit(65535, 1, littleEndianFormat, {})
                                    << opening + request(65535, 1) << none;
    QTest::newRow("with a long name")
        << greeting() + serverInit(1, 1, littleEndianFormat, QByteArray(300'000, 'n'))
        << opening + request(1, 1) << none;
    QTest::newRow("with a name that does not end")
        << greeting() + serverInit(1, 1, littleEndianFormat, {}).chopped(4) + uint32(0xffffffff) +
               QByteArray(1000, 'n')
        << version + choice + clientInit << none;
    QTest::newRow("without a screen")
        << greeting() + serverInit(0, 0, littleEndianFormat) << opening + request(0, 0) << none;
}

void TestDisplayConversation::answersTheHandshake()
{
    QFETCH(const QByteArray, stream);
    const Outcome outcome = play(stream);
    QTEST(outcome.sent, "sent");
    QTEST(outcome.failure, "failure");
    QCOMPARE(outcome.unread, 0);
}

void TestDisplayConversation::asksForTheNextUpdateAfterTheLastRectangle()
{
    const QByteArray twoRectangles = updateHeader(2) + rectangleHeader(1, 1) + "abcd" + rectangleHeader(1, 1);
    QCOMPARE(play(handshake(5, 6) + twoRectangles + "efg").sent, opening + request(5, 6));
    QCOMPARE(play(handshake(5, 6) + twoRectangles + "efgh").sent, opening + request(5, 6).repeated(2));
    QCOMPARE(play(handshake(5, 6) + updateHeader(0).repeated(3)).sent, opening + request(5, 6).repeated(4));
}

void TestDisplayConversation::publishesEveryRectangleAtItsOwnSize()
{
    const QByteArray stream = handshake(5, 6) + updateHeader(4) + rectangleHeader(2, 1) + "abcdefgh" +
                              rectangleHeader(0, 65535) + rectangleHeader(65535, 0) + rectangleHeader(1, 1) +
                              "ijkl";
    const QList<Picture> expected{{2, 1, rfb::PixelLayout::BGRX, "abcdefgh"},
                                  {1, 1, rfb::PixelLayout::BGRX, "ijkl"}};
    QCOMPARE(play(stream).pictures, expected);
    QCOMPARE(play(stream.chopped(1)).pictures, expected.first(1));
}

void TestDisplayConversation::takesRowsFromTheStartOfWidePixels_data()
{
    QTest::addColumn<int>("bitsPerPixel");
    QTest::addColumn<int>("bytesSent");

    QTest::newRow("0") << 0 << 4;
    QTest::newRow("16") << 16 << 4;
    QTest::newRow("39") << 39 << 4;
    QTest::newRow("40") << 40 << 5;
    QTest::newRow("48") << 48 << 6;
    QTest::newRow("255") << 255 << 31;
}

void TestDisplayConversation::takesRowsFromTheStartOfWidePixels()
{
    QFETCH(const int, bitsPerPixel);
    QFETCH(const int, bytesSent);
    QByteArray data;
    for (int i = 0; i < bytesSent * 6; ++i)
        data += static_cast<char>(i);
    const rfb::PixelFormat format = withBits(littleEndianFormat, static_cast<std::uint8_t>(bitsPerPixel));
    const QByteArray stream = handshake(3, 2, format) + updateHeader(1) + rectangleHeader(3, 2) + data;
    const Outcome outcome = play(stream);
    QCOMPARE(outcome.pictures, (QList<Picture>{{3, 2, rfb::PixelLayout::XRGB, data.first(24)}}));
    QCOMPARE(outcome.sent, opening + request(3, 2).repeated(2));
    QVERIFY(play(stream.chopped(1)).pictures.isEmpty());
}

void TestDisplayConversation::skipsTheBodiesOfOtherMessages_data()
{
    QTest::addColumn<QByteArray>("message");

    const QByteArray colourMap("\x01\x00\x00\x07", 4);
    const QByteArray cutText("\x03\x00\x00\x00", 4);
    QTest::newRow("bell") << QByteArray("\x02\x02");
    QTest::newRow("colour map of two") << colourMap + uint16(2) + QByteArray(12, '\0');
    QTest::newRow("empty colour map") << colourMap + uint16(0);
    QTest::newRow("largest colour map") << colourMap + uint16(65535) + QByteArray(393'210, '\0');
    QTest::newRow("text that looks like an update")
        << cutText + uint32(16) + updateHeader(1) + rectangleHeader(9, 9);
    QTest::newRow("empty text") << cutText + uint32(0);
    QTest::newRow("long text") << cutText + uint32(200'000) + QByteArray(200'000, '\0');
    QTest::newRow("unknown types") << QByteArray("\x04\xff\x96");
}

void TestDisplayConversation::skipsTheBodiesOfOtherMessages()
{
    QFETCH(const QByteArray, message);
    const Outcome outcome = play(handshake(1, 1) + message + message + update(1, 1, "abcd"));
    QCOMPARE(outcome.pictures, (QList<Picture>{{1, 1, rfb::PixelLayout::BGRX, "abcd"}}));
    QCOMPARE(outcome.sent, opening + request(1, 1).repeated(2));
}

void TestDisplayConversation::readsTheSameHoweverTheStreamIsCut()
{
    QRandomGenerator random(7);
    for (const rfb::PixelFormat &format :
         {littleEndianFormat, bigEndianFormat(), withBits(littleEndianFormat, 48)}) {
        QByteArray stream =
            handshake(40, 30, format) + "\x02" + QByteArray("\x03\x00\x00\x00\x00\x00\x00\x02hi", 10);
        for (int i = 0; i < 20; ++i) {
            const auto width = static_cast<std::uint16_t>(random.bounded(40));
            const auto height = static_cast<std::uint16_t>(random.bounded(30));
            const QByteArray pixel =
                uint32(random.generate()) + uint16(0).first(format.bitsPerPixel == 48 ? 2 : 0);
            stream += update(width, height, pixel);
        }
        const Outcome whole = play(stream);
        QVERIFY(whole.pictures.size() > 10);
        QVERIFY(play(stream, [] { return 1; }) == whole);
        for (int round = 0; round < 20; ++round)
            QVERIFY(play(stream, [&random] { return random.bounded(1, 1000); }) == whole);
    }
}

void TestDisplayConversation::dropsRectanglesWithoutMemory()
{
    rfb::DisplayConversation conversation([](std::size_t) { return rfb::PixelBuffer(); });
    const QByteArray stream = handshake(2, 2) + update(2, 2, "abcd");
    std::vector<std::byte> sent;
    for (const char c : stream) {
        conversation.space()[0] = static_cast<std::byte>(c);
        conversation.received(1);
        QVERIFY(!conversation.takeFrame());
        const auto output = conversation.takeOutput();
        sent.insert(sent.end(), output.begin(), output.end());
    }
    QCOMPARE(sent.size(), static_cast<std::size_t>((opening + request(2, 2).repeated(2)).size()));
}

void TestDisplayConversation::dropsAbsurdRectanglesAndGoesOn()
{
    // 65535 × 65535 pixels of 31 bytes: more than 2^36 bytes, and no memory asked for.
    std::size_t largestRequest = 0;
    rfb::DisplayConversation conversation([&largestRequest](std::size_t bytes) {
        largestRequest = std::max(largestRequest, bytes);
        return rfb::PixelBuffer(bytes);
    });
    const auto feed = [&conversation](const QByteArray &bytes) {
        for (const char c : bytes) {
            conversation.space()[0] = static_cast<std::byte>(c);
            conversation.received(1);
        }
    };
    feed(handshake(1, 1, withBits(littleEndianFormat, 255)) + updateHeader(2) +
         rectangleHeader(65535, 65535));
    QCOMPARE(conversation.takeOutput().size(), static_cast<std::size_t>((opening + request(1, 1)).size()));
    const std::uint64_t claimed = std::uint64_t{65535} * 65535 * 31;
    std::uint64_t taken = 0;
    while (taken < claimed) {
        const std::size_t count = std::min<std::uint64_t>(conversation.space().size(), claimed - taken);
        QVERIFY(count > 0 && count <= 1'000'000);
        conversation.received(count);
        taken += count;
    }
    QVERIFY(!conversation.takeFrame());
    QCOMPARE(largestRequest, std::size_t{0});
    feed(rectangleHeader(1, 1) + QByteArray(31, 'p'));
    QVERIFY(conversation.takeFrame());
    QCOMPARE(conversation.takeOutput().size(), std::size_t{10});
}

KELVO_TEST_MAIN(TestDisplayConversation)
#include "tst_displayconversation.moc"
