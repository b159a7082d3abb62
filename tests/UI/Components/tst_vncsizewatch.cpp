#include "RemoteFramebuffer/ServerStream.h"
#include "UI/Components/ScriptedServer.h"
#include "UI/Components/VNCSizeWatch.h"
#include "support/TestMain.h"

#include <QSignalSpy>

using namespace serverstream;
using namespace Qt::StringLiterals;

namespace {

const QString localhost = u"127.0.0.1"_s;

/// An update of one rectangle that only tells the framebuffer's size (RFC 6143, section 7.8.2).
QByteArray sizeUpdate(std::uint16_t width, std::uint16_t height)
{
    return updateHeader(1) + rectangleHeader(width, height).chopped(4) + QByteArray::fromHex("ffffff21");
}

} // namespace

class TestVNCSizeWatch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void tellsEverySizeAndAsksForNoPixels();
    void readsPastWhatItDidNotAskFor();
    void floodOfSizesIsTamed();
    void knowsNothingOfAReplacedServer();
};

void TestVNCSizeWatch::tellsEverySizeAndAsksForNoPixels()
{
    ScriptedServer server;
    VNCSizeWatch watch;
    QSignalSpy sizes(&watch, &VNCSizeWatch::sizeKnown);
    watch.watch(localhost, server.port());
    server.send(handshake(640, 480));
    QTRY_COMPARE(sizes.count(), 1);
    server.send(sizeUpdate(1280, 800));
    QTRY_COMPARE(sizes.count(), 2);
    QCOMPARE(sizes[0][0].toSize(), QSize(640, 480));
    QCOMPARE(sizes[1][0].toSize(), QSize(1280, 800));
    // Version, security choice, shared, and the one encoding.
    QCOMPARE(server.received(), "RFB 003.008\n" + QByteArray::fromHex("0101"
                                                                      "02000001"
                                                                      "ffffff21"));
}

void TestVNCSizeWatch::readsPastWhatItDidNotAskFor()
{
    ScriptedServer server;
    VNCSizeWatch watch;
    QSignalSpy sizes(&watch, &VNCSizeWatch::sizeKnown);
    watch.watch(localhost, server.port());
    const QByteArray cutText = QByteArray::fromHex("03000000") + uint32(5) + "hello";
    server.send(handshake(2, 2) + updateHeader(0) + update(2, 2, "pixl") + cutText + sizeUpdate(3, 3));
    QTRY_COMPARE(sizes.count() > 0 ? sizes.last()[0].toSize() : QSize(), QSize(3, 3));
}

void TestVNCSizeWatch::floodOfSizesIsTamed()
{
    ScriptedServer server;
    VNCSizeWatch watch;
    QSignalSpy sizes(&watch, &VNCSizeWatch::sizeKnown);
    watch.watch(localhost, server.port());
    QByteArray flood = handshake(1, 1);
    for (std::uint16_t number = 0; number < 20'000; ++number)
        flood += sizeUpdate(number % 2 + 2, 9);
    server.send(flood + sizeUpdate(7, 7));
    QTRY_COMPARE(sizes.count() > 0 ? sizes.last()[0].toSize() : QSize(), QSize(7, 7));
    QVERIFY2(sizes.count() < 50, qPrintable(QString::number(sizes.count())));
}

void TestVNCSizeWatch::knowsNothingOfAReplacedServer()
{
    ScriptedServer first;
    ScriptedServer second;
    VNCSizeWatch watch;
    QSignalSpy sizes(&watch, &VNCSizeWatch::sizeKnown);
    watch.watch(localhost, first.port());
    first.send(handshake(1, 1));
    QTRY_COMPARE(sizes.count(), 1);
    first.send(sizeUpdate(9, 9));
    watch.watch(localhost, second.port());
    second.send(handshake(1, 1));
    QTRY_COMPARE(sizes.count(), 2);
    QCOMPARE(sizes[1][0].toSize(), QSize(1, 1));
}

KELVO_TEST_MAIN(TestVNCSizeWatch)
#include "tst_vncsizewatch.moc"
