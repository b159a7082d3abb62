#include "RemoteFramebuffer/ServerStream.h"
#include "UI/Components/Display/ScriptedServer.h"
#include "UI/Components/Display/VNCScreenItem.h"
#include "UI/Components/Display/WindowPicture.h"
#include "support/TestMain.h"

#include <QSignalSpy>

using namespace serverstream;
using namespace Qt::StringLiterals;

namespace {

constexpr QSize windowSize(200, 100);
constexpr QRect wholeWindow({}, windowSize);

const QByteArray redPixel = QByteArray::fromHex("0000ff00");
const QByteArray greenPixel = QByteArray::fromHex("00ff0000");

QImage plain(const QColor &colour)
{
    QImage image(1, 1, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

/// A client that shows what the test tells, in a window of windowSize.
struct Screen
{
    Screen()
        : item(new VNCScreenItem(window.contentItem()))
        , client(new VNCClient(item))
    {
        window.resize(windowSize);
        window.setColor(Qt::magenta);
        window.show();
        item->setSize(windowSize);
        item->setClient(client);
    }

    /// Returns when the client has the one picture of it.
    [[nodiscard]] bool show(const QByteArray &update)
    {
        QSignalSpy imageSpy(client, &VNCClient::imageChanged);
        server.send(update);
        return imageSpy.wait(patience);
    }
    [[nodiscard]] bool connectAndShow(const QByteArray &stream)
    {
        client->connect(u"127.0.0.1"_s, server.port());
        return show(stream);
    }
    [[nodiscard]] QString difference(const QImage &image, const QRect &target)
    {
        return windowDifference(window, *item, image, target);
    }

    ScriptedServer server;
    QQuickWindow window;
    VNCScreenItem *item;
    VNCClient *client;
};

} // namespace

class TestVNCScreenItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isOpaqueWhateverTheUnusedByteHolds();
    void followsEveryImage();
    void survivesItsClientAndItsWindow();
};

void TestVNCScreenItem::isOpaqueWhateverTheUnusedByteHolds()
{
    for (const auto &[pixels, format] : {std::pair("5634120056341280563412ff", littleEndianFormat),
                                         {"0012345680123456ff123456", bigEndianFormat()}}) {
        Screen screen;
        screen.item->setSize({150, 50});
        QVERIFY(screen.connectAndShow(handshake(3, 1, format) + updateHeader(1) + rectangleHeader(3, 1) +
                                      QByteArray::fromHex(pixels)));
        QCOMPARE(screen.difference(plain({0x12, 0x34, 0x56}), {0, 0, 150, 50}), QString());
    }
}

void TestVNCScreenItem::followsEveryImage()
{
    Screen screen;
    QCOMPARE(screen.difference({}, {}), QString());
    QVERIFY(screen.connectAndShow(handshake(2, 2) + updateHeader(1) + rectangleHeader(2, 2) +
                                  (redPixel + greenPixel).repeated(2)));
    QImage columns(2, 1, QImage::Format_RGB32);
    columns.setPixelColor(0, 0, Qt::red);
    columns.setPixelColor(1, 0, Qt::green);
    QCOMPARE(screen.difference(columns, {50, 0, 100, 100}), QString());
    QCOMPARE(QSizeF(screen.item->implicitWidth(), screen.item->implicitHeight()), QSizeF(2, 2));
    QVERIFY(screen.show(update(2, 1, greenPixel)));
    QCOMPARE(screen.difference(plain(Qt::green), wholeWindow), QString());
    QVERIFY(screen.show(update(2, 1, redPixel)));
    QCOMPARE(screen.difference(plain(Qt::red), wholeWindow), QString());
    screen.client->disconnect();
    QCOMPARE(screen.difference({}, {}), QString());
    QCOMPARE(screen.item->implicitWidth(), 0.0);
}

void TestVNCScreenItem::survivesItsClientAndItsWindow()
{
    Screen screen;
    QVERIFY(screen.connectAndShow(handshake(2, 1) + update(2, 1, redPixel)));
    QCOMPARE(screen.difference(plain(Qt::red), wholeWindow), QString());
    QSignalSpy clientSpy(screen.item, &VNCScreenItem::clientChanged);
    delete screen.client;
    QCOMPARE(clientSpy.count(), 1);
    QVERIFY(!screen.item->client());
    QCOMPARE(screen.difference({}, {}), QString());
    QTRY_VERIFY(!screen.server.hasClient());

    screen.client = new VNCClient(&screen.window);
    screen.item->setClient(screen.client);
    QVERIFY(screen.connectAndShow(handshake(2, 1) + update(2, 1, greenPixel)));
    screen.item->setParentItem(nullptr);
    QVERIFY(screen.show(update(4, 2, redPixel)));
    QCOMPARE(screen.item->implicitWidth(), 4.0);
    screen.item->setParentItem(screen.window.contentItem());
    QCOMPARE(screen.difference(plain(Qt::red), wholeWindow), QString());
    delete screen.item;
    QVERIFY(screen.show(update(1, 1, redPixel)));
}

KELVO_GUI_TEST_MAIN(TestVNCScreenItem)
#include "tst_vncscreenitem.moc"
