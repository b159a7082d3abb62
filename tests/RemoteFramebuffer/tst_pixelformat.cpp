#include "RemoteFramebuffer/Frame.h"
#include "RemoteFramebuffer/ServerMessages.h"
#include "RemoteFramebuffer/ServerStream.h"
#include "support/TestMain.h"

using rfb::PixelFormat;
using rfb::PixelLayout;

class TestPixelFormat : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void knowsTheTwoLayouts_data();
    void knowsTheTwoLayouts();
    void placesColoursOnAlignedMemory();
};

void TestPixelFormat::knowsTheTwoLayouts_data()
{
    QTest::addColumn<PixelFormat>("format");
    QTest::addColumn<PixelLayout>("layout");

    const PixelFormat little = serverstream::littleEndianFormat;
    const auto changed = [](PixelFormat format, auto change) {
        change(format);
        return format;
    };
    const auto withShifts = [](PixelFormat format, std::uint8_t red, std::uint8_t green, std::uint8_t blue) {
        format.redShift = red;
        format.greenShift = green;
        format.blueShift = blue;
        return format;
    };
    QTest::newRow("little endian") << little << PixelLayout::BGRX;
    QTest::newRow("little endian, depth 32")
        << changed(little, [](auto &f) { f.depth = 32; }) << PixelLayout::BGRX;
    QTest::newRow("big endian, blue highest")
        << withShifts(serverstream::bigEndianFormat(), 8, 16, 24) << PixelLayout::BGRX;
    QTest::newRow("big endian") << serverstream::bigEndianFormat() << PixelLayout::XRGB;
    QTest::newRow("little endian, red lowest") << withShifts(little, 0, 8, 16) << PixelLayout::XRGB;
    QTest::newRow("16 bits") << changed(little, [](auto &f) { f.bitsPerPixel = 16; }) << PixelLayout::XRGB;
    QTest::newRow("48 bits") << changed(little, [](auto &f) { f.bitsPerPixel = 48; }) << PixelLayout::XRGB;
    QTest::newRow("colour map") << changed(little, [](auto &f) { f.isTrueColour = false; })
                                << PixelLayout::XRGB;
    QTest::newRow("six bits of green")
        << changed(little, [](auto &f) { f.greenMaximum = 63; }) << PixelLayout::XRGB;
    QTest::newRow("shifts beyond the pixel") << withShifts(little, 255, 255, 255) << PixelLayout::XRGB;
}

void TestPixelFormat::knowsTheTwoLayouts()
{
    QFETCH(const PixelFormat, format);
    const QByteArray init = serverstream::serverInit(640, 480, format, "a name");
    const auto bytes = std::as_bytes(std::span(init.constData(), static_cast<std::size_t>(init.size())));
    const auto parsed = rfb::ServerInit::parse(bytes.first<rfb::ServerInit::size>());
    QCOMPARE(parsed.format, format);
    QCOMPARE(parsed.width, 640);
    QCOMPARE(parsed.height, 480);
    QCOMPARE(parsed.nameLength, 6U);
    QTEST(rfb::pixelLayout(parsed.format), "layout");
}

void TestPixelFormat::placesColoursOnAlignedMemory()
{
    for (const auto layout : {PixelLayout::XRGB, PixelLayout::BGRX}) {
        const rfb::Frame frame{.buffer = rfb::PixelBuffer(rfb::Frame::bufferSize(1024, 1)),
                               .width = 1024,
                               .height = 1,
                               .layout = layout};
        QCOMPARE(reinterpret_cast<quintptr>(frame.colours()) % 4, quintptr{0});
        QCOMPARE(frame.colours() - frame.pixels(), layout == PixelLayout::XRGB ? 1 : 0);
        QVERIFY(frame.colours() + 4096 <= frame.buffer.data() + frame.buffer.capacity());
    }
}

KELVO_TEST_MAIN(TestPixelFormat)
#include "tst_pixelformat.moc"
