#include "RemoteFramebuffer/DisplayConversation.h"
#include "RemoteFramebuffer/ServerStream.h"
#include "support/TestMain.h"

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
};

/// Writes as much of `stream` as there is space for and removes it.
void receive(rfb::DisplayConversation &conversation, QByteArrayView &stream)
{
    const auto space = conversation.space();
    const auto count = std::min(static_cast<qsizetype>(space.size()), stream.size());
    std::memcpy(space.data(), stream.data(), static_cast<std::size_t>(count));
    stream = stream.sliced(count);
    conversation.received(static_cast<std::size_t>(count));
}

Outcome play(
    QByteArrayView stream, const rfb::DisplayConversation::BufferSource &bufferSource =
                               [](std::size_t bytes) { return rfb::PixelBuffer(bytes); })
{
    Outcome outcome;
    rfb::DisplayConversation conversation(bufferSource);
    while (!stream.isEmpty() && !conversation.failure()) {
        receive(conversation, stream);
        for (const std::byte byte : conversation.takeOutput())
            outcome.sent += static_cast<char>(byte);
        if (const auto frame = conversation.takeFrame())
            outcome.pictures += picture(*frame);
    }
    outcome.failure = conversation.failure();
    return outcome;
}

} // namespace

class TestDisplayConversation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answersTheHandshake_data();
    void answersTheHandshake();
    void publishesEveryRectangleAndAsksAfterTheLast();
    void takesPixelsAsTheFormatSays_data();
    void takesPixelsAsTheFormatSays();
    void skipsTheBodiesOfOtherMessages_data();
    void skipsTheBodiesOfOtherMessages();
    void dropsAbsurdRectanglesAndGoesOn();
};

void TestDisplayConversation::answersTheHandshake_data()
{
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<QByteArray>("sent");
    QTest::addColumn<std::optional<Failure>>("failure");

    const std::optional<Failure> none;
    const QByteArray init = serverInit(1024, 768, littleEndianFormat);
    QTest::newRow("eleven bytes of version") << QByteArray("RFB 003.008") << QByteArray() << none;
    QTest::newRow("no version at all")
        << QByteArray(12, '\xff') + greeting().mid(12) + init << opening + request(1024, 768) << none;
    QTest::newRow("only a password") << version + "\x01\x02" << version
                                     << std::optional(Failure::NoSupportedSecurityType);
    QTest::newRow("no security types")
        << version + QByteArray(1, '\0') << version << std::optional(Failure::NoSupportedSecurityType);
    QTest::newRow("None is the last of 255")
        << version + '\xff' + QByteArray(254, '\x02') + "\x01" + uint32(0) + init
        << opening + request(1024, 768) << none;
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
}

void TestDisplayConversation::answersTheHandshake()
{
    QFETCH(const QByteArray, stream);
    const Outcome outcome = play(stream);
    QTEST(outcome.sent, "sent");
    QTEST(outcome.failure, "failure");
}

void TestDisplayConversation::publishesEveryRectangleAndAsksAfterTheLast()
{
    const QByteArray stream = handshake(5, 6) + updateHeader(4) + rectangleHeader(2, 1) + "abcdefgh" +
                              rectangleHeader(0, 65535) + rectangleHeader(65535, 0) + rectangleHeader(1, 1) +
                              "ijkl";
    const QList<Picture> expected{{2, 1, rfb::PixelLayout::BGRX, "abcdefgh"},
                                  {1, 1, rfb::PixelLayout::BGRX, "ijkl"}};
    const Outcome whole = play(stream + updateHeader(0));
    QCOMPARE(whole.pictures, expected);
    QCOMPARE(whole.sent, opening + request(5, 6).repeated(3));
    const Outcome partial = play(stream.chopped(1));
    QCOMPARE(partial.pictures, expected.first(1));
    QCOMPARE(partial.sent, opening + request(5, 6));
}

void TestDisplayConversation::takesPixelsAsTheFormatSays_data()
{
    QTest::addColumn<rfb::PixelFormat>("format");
    QTest::addColumn<int>("bytesSent");
    QTest::addColumn<rfb::PixelLayout>("layout");

    using enum rfb::PixelLayout;
    const auto withShifts = [](rfb::PixelFormat format, std::uint8_t red, std::uint8_t green,
                               std::uint8_t blue) {
        format.redShift = red;
        format.greenShift = green;
        format.blueShift = blue;
        return format;
    };
    rfb::PixelFormat colourMap = littleEndianFormat;
    colourMap.isTrueColour = false;
    rfb::PixelFormat sixBitsOfGreen = littleEndianFormat;
    sixBitsOfGreen.greenMaximum = 63;
    QTest::newRow("little endian") << littleEndianFormat << 4 << BGRX;
    QTest::newRow("big endian, blue highest") << withShifts(bigEndianFormat(), 8, 16, 24) << 4 << BGRX;
    QTest::newRow("big endian") << bigEndianFormat() << 4 << XRGB;
    QTest::newRow("little endian, red lowest") << withShifts(littleEndianFormat, 0, 8, 16) << 4 << XRGB;
    QTest::newRow("16 bits") << withBits(littleEndianFormat, 16) << 4 << XRGB;
    QTest::newRow("48 bits") << withBits(littleEndianFormat, 48) << 6 << XRGB;
    QTest::newRow("255 bits") << withBits(littleEndianFormat, 255) << 31 << XRGB;
    QTest::newRow("colour map") << colourMap << 4 << XRGB;
    QTest::newRow("six bits of green") << sixBitsOfGreen << 4 << XRGB;
}

/// Of wider pixels the rows are taken from the start of the data.
void TestDisplayConversation::takesPixelsAsTheFormatSays()
{
    QFETCH(const rfb::PixelFormat, format);
    QFETCH(const int, bytesSent);
    QFETCH(const rfb::PixelLayout, layout);
    QByteArray data;
    for (int i = 0; i < bytesSent * 6; ++i)
        data += static_cast<char>(i);
    const QByteArray stream = handshake(3, 2, format) + updateHeader(1) + rectangleHeader(3, 2) + data;
    const Outcome outcome = play(stream);
    QCOMPARE(outcome.pictures, (QList<Picture>{{3, 2, layout, data.first(24)}}));
    QCOMPARE(outcome.sent, opening + request(3, 2).repeated(2));
    QVERIFY(play(stream.chopped(1)).pictures.isEmpty());
}

void TestDisplayConversation::skipsTheBodiesOfOtherMessages_data()
{
    QTest::addColumn<QByteArray>("message");

    const QByteArray colourMap("\x01\x00\x00\x07", 4);
    const QByteArray cutText("\x03\x00\x00\x00", 4);
    QTest::newRow("bell and unknown types") << QByteArray("\x02\x04\xff\x96");
    QTest::newRow("largest colour map") << colourMap + uint16(65535) + QByteArray(393'210, '\0');
    QTest::newRow("text that looks like an update")
        << cutText + uint32(16) + updateHeader(1) + rectangleHeader(9, 9);
    QTest::newRow("empty colour map and text") << colourMap + uint16(0) + cutText + uint32(0);
    QTest::newRow("long text") << cutText + uint32(200'000) + QByteArray(200'000, '\0');
}

void TestDisplayConversation::skipsTheBodiesOfOtherMessages()
{
    QFETCH(const QByteArray, message);
    const Outcome outcome = play(handshake(1, 1) + message + message + update(1, 1, "abcd"));
    QCOMPARE(outcome.pictures, (QList<Picture>{{1, 1, rfb::PixelLayout::BGRX, "abcd"}}));
    QCOMPARE(outcome.sent, opening + request(1, 1).repeated(2));
}

void TestDisplayConversation::dropsAbsurdRectanglesAndGoesOn()
{
    // 65535 × 65535 pixels of 31 bytes: more than 2^36 bytes.
    rfb::DisplayConversation conversation([](std::size_t bytes) { return rfb::PixelBuffer(bytes); });
    const auto feed = [&](const QByteArray &bytes) {
        for (QByteArrayView rest = bytes; !rest.isEmpty();)
            receive(conversation, rest);
    };
    feed(handshake(1, 1, withBits(littleEndianFormat, 255)) + updateHeader(2) +
         rectangleHeader(65535, 65535));
    std::uint64_t left = std::uint64_t{65535} * 65535 * 31;
    while (left > 0) {
        const std::size_t count = std::min<std::uint64_t>(conversation.space().size(), left);
        QVERIFY(count > 0 && count <= 1'000'000);
        conversation.received(count);
        left -= count;
    }
    QVERIFY(!conversation.takeFrame());
    feed(rectangleHeader(1, 1) + QByteArray(31, 'p'));
    QVERIFY(conversation.takeFrame());
    QCOMPARE(conversation.takeOutput().size(),
             static_cast<std::size_t>((opening + request(1, 1).repeated(2)).size()));
}

KELVO_TEST_MAIN(TestDisplayConversation)
#include "tst_displayconversation.moc"
