#include "RemoteFramebuffer/ServerStream.h"
#include "UI/Components/ScriptedServer.h"
#include "UI/Components/VNCScreenItem.h"
#include "support/TestMain.h"

#include <QPainter>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItemGrabResult>
#include <QQuickWindow>
#include <QSignalSpy>

#include <memory>

using namespace serverstream;
using namespace Qt::StringLiterals;

namespace {

constexpr QSize windowSize(200, 100);

/// A client that shows what the test tells, in a window of windowSize.
class Screen
{
public:
    Screen();

    /// A rectangle of plain columns, one per pixel; shown when this returns.
    void showColumns(const QByteArray &pixels, const rfb::PixelFormat &format = littleEndianFormat,
                     int height = 1);
    /// What the item draws, on a transparent surface.
    [[nodiscard]] QImage grab();

    ScriptedServer server;
    QQuickWindow window;
    VNCScreenItem *item;
    VNCClient *client;
};

Screen::Screen()
    : item(new VNCScreenItem(window.contentItem()))
    , client(new VNCClient(item))
{
    window.resize(windowSize);
    window.setColor(Qt::magenta);
    window.show();
    item->setSize(windowSize);
    item->setClient(client);
}

void Screen::showColumns(const QByteArray &pixels, const rfb::PixelFormat &format, int height)
{
    client->connect(u"127.0.0.1"_s, server.port());
    const auto width = static_cast<std::uint16_t>(pixels.size() / 4);
    const auto rows = static_cast<std::uint16_t>(height);
    server.send(handshake(width, rows, format) + updateHeader(1) + rectangleHeader(width, rows) +
                pixels.repeated(height));
    QSignalSpy imageSpy(client, &VNCClient::imageChanged);
    while (client->image().isNull()) {
        if (!imageSpy.wait(patience))
            qFatal("No image came.");
    }
}

QImage Screen::grab()
{
    const auto result = item->grabToImage();
    QSignalSpy readySpy(result.get(), &QQuickItemGrabResult::ready);
    if (!readySpy.wait(patience))
        qFatal("The item was not drawn.");
    return result->image().convertToFormat(QImage::Format_ARGB32);
}

/// The first difference of `image` from plain columns side by side in `target`, on black; empty when there is
/// none.
QString difference(const QImage &image, const QRect &target, const QList<QColor> &columns)
{
    QImage expected(image.size(), image.format());
    expected.fill(Qt::black);
    QPainter painter(&expected);
    for (int i = 0; i < columns.size(); ++i) {
        const int left = target.left() + i * target.width() / static_cast<int>(columns.size());
        painter.fillRect(QRect(QPoint(left, target.top()), target.bottomRight()), columns.at(i));
    }
    painter.end();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != expected.pixel(x, y)) {
                return u"%1 instead of %2 at %3, %4"_s
                    .arg(image.pixelColor(x, y).name(QColor::HexArgb),
                         expected.pixelColor(x, y).name(QColor::HexArgb))
                    .arg(x)
                    .arg(y);
            }
        }
    }
    return {};
}

} // namespace

class TestVNCScreenItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fitsThePictureSharpAndCentred_data();
    void fitsThePictureSharpAndCentred();
    void isOpaqueWhateverTheUnusedByteHolds_data();
    void isOpaqueWhateverTheUnusedByteHolds();
    void followsEveryImage();
    void goesBlackWithoutAnImage();
    void survivesItsClientAndItsWindow();
    void isMadeInQml();
};

void TestVNCScreenItem::fitsThePictureSharpAndCentred_data()
{
    QTest::addColumn<QSize>("itemSize");
    QTest::addColumn<int>("height");
    QTest::addColumn<QRect>("target");

    QTest::newRow("bars left and right") << windowSize << 2 << QRect(50, 0, 100, 100);
    QTest::newRow("bars above and below") << QSize(100, 100) << 1 << QRect(0, 25, 100, 50);
    QTest::newRow("fits exactly") << windowSize << 1 << QRect(0, 0, 200, 100);
    QTest::newRow("unscaled between odd bars") << QSize(5, 1) << 1 << QRect(1, 0, 2, 1);
}

void TestVNCScreenItem::fitsThePictureSharpAndCentred()
{
    QFETCH(const QSize, itemSize);
    QFETCH(const int, height);
    QFETCH(const QRect, target);
    Screen screen;
    screen.item->setSize(itemSize);
    screen.showColumns(QByteArray::fromHex("0000ff00"
                                           "00ff0000"),
                       littleEndianFormat, height);
    const QImage image = screen.grab();
    QCOMPARE(image.size(), itemSize);
    QCOMPARE(difference(image, target, {Qt::red, Qt::green}), QString());
    QCOMPARE(QSizeF(screen.item->implicitWidth(), screen.item->implicitHeight()), QSizeF(2, height));
}

void TestVNCScreenItem::isOpaqueWhateverTheUnusedByteHolds_data()
{
    QTest::addColumn<QByteArray>("pixels");
    QTest::addColumn<rfb::PixelFormat>("format");

    QTest::newRow("B, G, R, X: 0, 80, ff") << QByteArray::fromHex("56341200"
                                                                  "56341280"
                                                                  "563412ff")
                                           << littleEndianFormat;
    QTest::newRow("X, R, G, B: 0, 80, ff") << QByteArray::fromHex("00123456"
                                                                  "80123456"
                                                                  "ff123456")
                                           << bigEndianFormat();
    QTest::newRow("white") << QByteArray::fromHex("ffffff00"
                                                  "ffffff80"
                                                  "ffffffff")
                           << littleEndianFormat;
}

void TestVNCScreenItem::isOpaqueWhateverTheUnusedByteHolds()
{
    QFETCH(const QByteArray, pixels);
    QFETCH(const rfb::PixelFormat, format);
    Screen screen;
    screen.item->setSize({150, 50});
    screen.showColumns(pixels, format);
    const QColor colour = pixels.startsWith('\xff') ? QColor(Qt::white) : QColor(0x12, 0x34, 0x56);
    QCOMPARE(difference(screen.grab(), QRect(0, 0, 150, 50), {colour, colour, colour}), QString());
    const QImage window = screen.window.grabWindow().convertToFormat(QImage::Format_ARGB32);
    QCOMPARE(difference(window.copy(0, 0, 150, 50), QRect(0, 0, 150, 50), {colour, colour, colour}),
             QString());
    QCOMPARE(window.pixelColor(199, 99), QColor(Qt::magenta));
}

void TestVNCScreenItem::followsEveryImage()
{
    Screen screen;
    screen.showColumns(QByteArray::fromHex("0000ff00"));
    QSignalSpy imageSpy(screen.client, &VNCClient::imageChanged);
    for (const auto &[pixel, colour] : {std::pair{"00ff0000", Qt::green},
                                        {"ff000000", Qt::blue},
                                        {"0000ff00", Qt::red},
                                        {"ffffff00", Qt::white}}) {
        screen.server.send(update(2, 1, QByteArray::fromHex(pixel)));
        QVERIFY(imageSpy.wait(patience));
        QCOMPARE(difference(screen.grab(), QRect(QPoint(), windowSize), {colour}), QString());
    }
}

void TestVNCScreenItem::goesBlackWithoutAnImage()
{
    Screen screen;
    QCOMPARE(difference(screen.grab(), {}, {}), QString());
    screen.showColumns(QByteArray::fromHex("0000ff00"));
    QCOMPARE(difference(screen.grab(), QRect(50, 0, 100, 100), {Qt::red}), QString());
    screen.client->disconnect();
    QCOMPARE(difference(screen.grab(), {}, {}), QString());
    QCOMPARE(screen.item->implicitWidth(), 0.0);
}

void TestVNCScreenItem::survivesItsClientAndItsWindow()
{
    Screen screen;
    screen.showColumns(QByteArray::fromHex("0000ff00"));
    QVERIFY(!screen.grab().isNull());
    QSignalSpy clientSpy(screen.item, &VNCScreenItem::clientChanged);
    delete screen.client;
    QCOMPARE(clientSpy.count(), 1);
    QVERIFY(!screen.item->client());
    QCOMPARE(difference(screen.grab(), {}, {}), QString());

    screen.client = new VNCClient(&screen.window);
    screen.item->setClient(screen.client);
    screen.showColumns(QByteArray::fromHex("00ff0000"));
    screen.item->setParentItem(nullptr);
    screen.server.send(update(2, 1, QByteArray::fromHex("0000ff00")));
    QTRY_COMPARE(screen.item->implicitWidth(), 2.0);
    screen.item->setParentItem(screen.window.contentItem());
    QCOMPARE(difference(screen.grab(), QRect(QPoint(), windowSize), {Qt::red}), QString());
    delete screen.item;
    screen.server.send(update(1, 1, QByteArray::fromHex("0000ff00")));
    QTRY_COMPARE(screen.client->image().width(), 1);
}

void TestVNCScreenItem::isMadeInQml()
{
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import QtQuick\n"
                      "import Kelvo.Components\n"
                      "VNCScreenItem {\n"
                      "    id: root\n"
                      "    property string message: client.errorMessage\n"
                      "    property bool hasImage: client.image.width > 0\n"
                      "    client: VNCClient {}\n"
                      "    Component.onCompleted: client.connect('127.0.0.1', -1)\n"
                      "}\n",
                      {});
    const std::unique_ptr<QObject> item(component.create());
    QVERIFY2(item, qPrintable(component.errorString()));
    QTRY_VERIFY(item->property("message").toString().startsWith(u"Could not connect"));
}

KELVO_GUI_TEST_MAIN(TestVNCScreenItem)
#include "tst_vncscreenitem.moc"
