#include "RemoteFramebuffer/ServerStream.h"
#include "UI/Components/FloodingServer.h"
#include "UI/Components/ScriptedServer.h"
#include "UI/Components/VNCClient.h"
#include "support/EventLoopBeat.h"
#include "support/ProcessCensus.h"
#include "support/TestMain.h"

#include <QRandomGenerator>
#include <QSignalSpy>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <memory>

using namespace serverstream;
using namespace Qt::StringLiterals;

namespace {

const QString localhost = u"127.0.0.1"_s;

const QByteArray red = QByteArray::fromHex("0000ff00");
const QByteArray green = QByteArray::fromHex("00ff0000");
const QByteArray blue = QByteArray::fromHex("ff000000");

QByteArray opening(std::uint16_t width, std::uint16_t height, int requests)
{
    const QByteArray request = QByteArray::fromHex("030000000000") + uint16(width) + uint16(height);
    return "RFB 003.008\n" + QByteArray::fromHex("01010200000100000000") + request.repeated(requests);
}

QByteArray reversed(QByteArray bytes)
{
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

bool isPlain(const QImage &image, QSize size, const QColor &colour)
{
    if (image.size() != size)
        return false;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            // The unused byte of one of the formats is taken for alpha here.
            if ((image.pixel(x, y) & RGB_MASK) != (colour.rgb() & RGB_MASK))
                return false;
        }
    }
    return true;
}

} // namespace

class TestVNCClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void sendsOnlyTheHandshakeAndRequests();
    void showsTheColoursOfBothLayouts_data();
    void showsTheColoursOfBothLayouts();
    void showsTheSameHoweverTheStreamIsCut_data();
    void showsTheSameHoweverTheStreamIsCut();
    void leavesImagesInOtherHandsAlone();
    void saysWhyTheProtocolStopped_data();
    void saysWhyTheProtocolStopped();
    void triesEveryAddressOfAName();
    void saysWhyItCannotConnect_data();
    void saysWhyItCannotConnect();
    void saysThatTheConnectionBroke();
    void stopsSilentlyWhenTheServerLeaves();
    void keepsTheReasonWhenTheConnectionBreaksLater();
    void clearsAllButTheErrorOnDisconnect();
    void ignoresAReplacedConnection();
    void survivesWhatItsObserversDo_data();
    void survivesWhatItsObserversDo();
    void leavesNothingBehind();
    void boundsItsMemoryWhileTheMainThreadStalls();
    void takesMemoryOnlyForBytesThatArrive();
    void leavesTheEventLoopItsBeat();
};

void TestVNCClient::sendsOnlyTheHandshakeAndRequests()
{
    ScriptedServer server;
    VNCClient client;
    QSignalSpy connectedSpy(&client, &VNCClient::isConnectedChanged);
    QSignalSpy imageSpy(&client, &VNCClient::imageChanged);
    QSignalSpy errorSpy(&client, &VNCClient::errorMessageChanged);
    client.connect(localhost, server.port());
    QVERIFY(!client.isConnected());
    QTRY_VERIFY(client.isConnected());
    server.send(handshake(3, 2));
    QTRY_COMPARE(server.received(), opening(3, 2, 1));
    server.send(update(3, 2, red));
    QTRY_COMPARE(server.received(), opening(3, 2, 2));
    server.send(updateHeader(0) + update(2, 2, green) + "\x02" + update(1, 1, blue));
    QTRY_COMPARE(server.received(), opening(3, 2, 5));
    QTRY_COMPARE(imageSpy.count(), 3);
    QVERIFY(isPlain(client.image(), {1, 1}, Qt::blue));
    QCOMPARE(connectedSpy.count(), 1);
    QCOMPARE(errorSpy.count(), 0);
}

void TestVNCClient::showsTheColoursOfBothLayouts_data()
{
    QTest::addColumn<bool>("isBigEndian");
    QTest::addColumn<QByteArray>("pixel");
    QTest::addColumn<QColor>("colour");

    for (const auto &[hex, colour] : {std::pair{"ff0000", QColor(Qt::red)},
                                      {"00ff00", QColor(Qt::green)},
                                      {"0000ff", QColor(Qt::blue)},
                                      {"ffffff", QColor(Qt::white)},
                                      {"000000", QColor(Qt::black)},
                                      {"123456", QColor(0x12, 0x34, 0x56)}}) {
        for (const auto *const unused : {"00", "ff", "80"}) {
            const QByteArray bytes = QByteArray::fromHex(QByteArray(unused) + hex);
            QTest::addRow("X, R, G, B %s %s", hex, unused) << true << bytes << colour;
            QTest::addRow("B, G, R, X %s %s", hex, unused) << false << reversed(bytes) << colour;
        }
    }
}

void TestVNCClient::showsTheColoursOfBothLayouts()
{
    QFETCH(const bool, isBigEndian);
    QFETCH(const QByteArray, pixel);
    QFETCH(const QColor, colour);
    ScriptedServer server;
    VNCClient client;
    client.connect(localhost, server.port());
    server.send(handshake(5, 3, isBigEndian ? bigEndianFormat() : littleEndianFormat) + update(5, 3, pixel));
    QTRY_VERIFY(!client.image().isNull());
    QVERIFY(isPlain(client.image(), {5, 3}, colour));
    QVERIFY(!client.image().hasAlphaChannel());
}

void TestVNCClient::showsTheSameHoweverTheStreamIsCut_data()
{
    QTest::addColumn<int>("largestPiece");

    QTest::newRow("whole") << 0;
    QTest::newRow("byte by byte") << 1;
    QTest::newRow("at random") << 97;
}

void TestVNCClient::showsTheSameHoweverTheStreamIsCut()
{
    QFETCH(const int, largestPiece);
    const QByteArray stream = handshake(16, 8) + "\x02" + update(16, 8, red) + updateHeader(0) +
                              QByteArray::fromHex("0300000000000003") + "cut" + update(7, 9, green) +
                              updateHeader(2) + rectangleHeader(0, 9) + rectangleHeader(1, 1) + blue;
    QRandomGenerator random(3);
    ScriptedServer server;
    VNCClient client;
    QList<QImage> images;
    connect(&client, &VNCClient::imageChanged, &client, [&] { images += client.image(); });
    client.connect(localhost, server.port());
    QTRY_VERIFY(server.hasClient());
    for (qsizetype position = 0; position < stream.size();) {
        const qsizetype size = largestPiece == 0 ? stream.size() : random.bounded(1, largestPiece + 1);
        server.send(stream.mid(position, size));
        position += size;
        QCoreApplication::processEvents();
    }
    QTRY_COMPARE(server.received(), opening(16, 8, 5));
    QTRY_COMPARE(images.size(), 3);
    QVERIFY(isPlain(images.at(0), {16, 8}, Qt::red));
    QVERIFY(isPlain(images.at(1), {7, 9}, Qt::green));
    QVERIFY(isPlain(images.at(2), {1, 1}, Qt::blue));
    QCOMPARE(client.errorMessage(), QString());
}

void TestVNCClient::leavesImagesInOtherHandsAlone()
{
    ScriptedServer server;
    VNCClient client;
    QList<QImage> images;
    connect(&client, &VNCClient::imageChanged, &client, [&] { images += client.image(); });
    client.connect(localhost, server.port());
    server.send(handshake(64, 64));
    for (int i = 0; i < 10; ++i)
        server.send(update(64, 64, QByteArray(4, static_cast<char>(i))));
    QTRY_COMPARE(images.size(), 10);
    client.disconnect();
    for (int i = 0; i < 10; ++i)
        QVERIFY(isPlain(images.at(i), {64, 64}, QColor(i, i, i)));
}

void TestVNCClient::saysWhyTheProtocolStopped_data()
{
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QByteArray>("received");

    const QByteArray version = "RFB 003.008\n";
    QTest::newRow("password only") << version + QByteArray::fromHex("0102")
                                   << u"No supported VNC security types."_s << version;
    QTest::newRow("no types") << version + QByteArray::fromHex("00") << u"No supported VNC security types."_s
                              << version;
    QTest::newRow("refused") << version + QByteArray::fromHex("010100000001")
                             << u"VNC authentication failed."_s << version + '\x01';
}

void TestVNCClient::saysWhyTheProtocolStopped()
{
    QFETCH(const QByteArray, stream);
    QFETCH(const QString, message);
    QFETCH(const QByteArray, received);
    ScriptedServer server;
    VNCClient client;
    client.connect(localhost, server.port());
    server.send(stream + "what nobody reads any more");
    QTRY_COMPARE(client.errorMessage(), message);
    QTRY_COMPARE(server.received(), received);
    QVERIFY(client.isConnected());
    QVERIFY(client.image().isNull());
}

void TestVNCClient::triesEveryAddressOfAName()
{
    // Its first address is often ::1, where the server does not listen.
    ScriptedServer server;
    VNCClient client;
    client.connect(u"localhost"_s, server.port());
    QTRY_VERIFY(client.isConnected());
    QCOMPARE(client.errorMessage(), QString());
}

void TestVNCClient::saysWhyItCannotConnect_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<qint64>("port");
    QTest::addColumn<QString>("message");

    QTest::newRow("below the first port")
        << localhost << qint64{-5} << u"Could not connect to “127.0.0.1:0”: Connection refused."_s;
    QTest::newRow("above the last port")
        << localhost << (qint64{1} << 32) << u"Could not connect to “127.0.0.1:65535”: Connection refused."_s;
    QTest::newRow("not a host") << QString(300, u'h') << qint64{5900}
                                << u"Could not look up the host “%1”: Name or service not known."_s.arg(
                                       QString(300, u'h'));
}

void TestVNCClient::saysWhyItCannotConnect()
{
    QFETCH(const QString, host);
    QFETCH(const qint64, port);
    VNCClient client;
    client.connect(host, port);
    QTRY_VERIFY(!client.errorMessage().isEmpty());
    QTEST(client.errorMessage(), "message");
    QVERIFY(!client.isConnected());
}

void TestVNCClient::saysThatTheConnectionBroke()
{
    ScriptedServer server;
    VNCClient client;
    client.connect(localhost, server.port());
    server.send(handshake(2, 2) + update(2, 2, red) + updateHeader(1) + rectangleHeader(2, 2) + red);
    QTRY_VERIFY(!client.image().isNull());
    server.reset();
    QTRY_VERIFY(!client.isConnected());
    QCOMPARE(client.errorMessage(),
             u"Could not receive from “127.0.0.1:%1”: Connection reset by peer."_s.arg(server.port()));
    QVERIFY(isPlain(client.image(), {2, 2}, Qt::red));
}

void TestVNCClient::stopsSilentlyWhenTheServerLeaves()
{
    ScriptedServer server;
    VNCClient client;
    QSignalSpy imageSpy(&client, &VNCClient::imageChanged);
    client.connect(localhost, server.port());
    server.send(handshake(2, 2) + update(2, 2, red));
    QTRY_COMPARE(server.received(), opening(2, 2, 2));
    server.send(updateHeader(1) + rectangleHeader(2, 2) + green.repeated(3));
    server.close();
    QTest::qWait(50);
    QCOMPARE(imageSpy.count(), 1);
    QCOMPARE(client.errorMessage(), QString());
    QVERIFY(client.isConnected());
}

void TestVNCClient::keepsTheReasonWhenTheConnectionBreaksLater()
{
    ScriptedServer server;
    VNCClient client;
    client.connect(localhost, server.port());
    server.send("RFB 003.008\n" + QByteArray::fromHex("010100000001"));
    QTRY_COMPARE(client.errorMessage(), u"VNC authentication failed."_s);
    server.reset();
    QTRY_VERIFY(!client.isConnected());
    QCOMPARE(client.errorMessage(), u"VNC authentication failed."_s);
}

void TestVNCClient::clearsAllButTheErrorOnDisconnect()
{
    ScriptedServer server;
    VNCClient client;
    client.connect(localhost, -1);
    QTRY_VERIFY(!client.errorMessage().isEmpty());
    const QString message = client.errorMessage();
    client.connect(localhost, server.port());
    server.send(handshake(2, 2) + update(2, 2, red) + updateHeader(1) + rectangleHeader(2, 2) + red);
    QTRY_VERIFY(!client.image().isNull());
    QCOMPARE(client.errorMessage(), message);

    QSignalSpy leftSpy(&server, &ScriptedServer::clientLeft);
    client.disconnect();
    QVERIFY(!client.isConnected());
    QVERIFY(client.image().isNull());
    QVERIFY(leftSpy.wait(patience));
    QCOMPARE(client.errorMessage(), message);
    QSignalSpy imageSpy(&client, &VNCClient::imageChanged);
    client.disconnect();
    QCOMPARE(imageSpy.count(), 0);
}

void TestVNCClient::ignoresAReplacedConnection()
{
    ScriptedServer first;
    ScriptedServer second;
    VNCClient client;
    client.connect(localhost, first.port());
    first.send(handshake(2, 2) + update(2, 2, red) + updateHeader(1) + rectangleHeader(2, 2) + red);
    QTRY_VERIFY(!client.image().isNull());
    // What the first one has on its way, an image and a failure, is never seen.
    first.send(red.repeated(3));
    first.reset();
    QThread::msleep(20);
    QSignalSpy imageSpy(&client, &VNCClient::imageChanged);
    client.connect(localhost, second.port());
    second.send(handshake(1, 1) + update(1, 1, green));
    QTRY_VERIFY(isPlain(client.image(), {1, 1}, Qt::green));
    QCOMPARE(imageSpy.count(), 2);
    QVERIFY(client.isConnected());
    QCOMPARE(client.errorMessage(), QString());
}

void TestVNCClient::survivesWhatItsObserversDo_data()
{
    QTest::addColumn<bool>("isDeleted");
    QTest::addColumn<QByteArray>("notification");

    for (const bool isDeleted : {true, false}) {
        const char *action = isDeleted ? "deletes" : "reconnects";
        QTest::addRow("an image %s", action) << isDeleted << QByteArray("imageChanged()");
        QTest::addRow("the connection %s", action) << isDeleted << QByteArray("isConnectedChanged()");
        QTest::addRow("an error %s", action) << isDeleted << QByteArray("errorMessageChanged()");
    }
}

void TestVNCClient::survivesWhatItsObserversDo()
{
    QFETCH(const bool, isDeleted);
    QFETCH(const QByteArray, notification);
    ScriptedServer server;
    auto client = std::make_unique<VNCClient>();
    QObject watcher;
    int count = 0;
    const auto act = [&] {
        if (++count > 3)
            return;
        if (isDeleted)
            client.reset();
        else
            client->connect(localhost, server.port());
    };
    if (notification == "imageChanged()")
        connect(client.get(), &VNCClient::imageChanged, &watcher, act);
    else if (notification == "isConnectedChanged()")
        connect(client.get(), &VNCClient::isConnectedChanged, &watcher, act);
    else
        connect(client.get(), &VNCClient::errorMessageChanged, &watcher, act);
    client->connect(localhost, server.port());
    server.send(handshake(2, 2) + update(2, 2, red) + update(2, 2, green));
    if (notification == "errorMessageChanged()") {
        QTRY_VERIFY(!client->image().isNull());
        server.reset();
    }
    QTRY_VERIFY(count > 0);
    // Whatever was underway arrives now, if anywhere.
    QTest::qWait(20);
    QCOMPARE(client == nullptr, isDeleted);
}

void TestVNCClient::leavesNothingBehind()
{
    const FloodingServer server(handshake(640, 480), update(640, 480, red));
    const ProcessCensus before = ProcessCensus::take();
    for (int i = 0; i < 20; ++i) {
        VNCClient client;
        client.connect(localhost, server.port());
        if (i == 0)
            QTRY_VERIFY(!client.image().isNull());
        client.connect(localhost, server.port());
        client.disconnect();
    }
    // Threads of earlier clients may have been ending still when the first look was taken.
    QTRY_VERIFY(ProcessCensus::take().threads <= before.threads);
    QTRY_VERIFY(ProcessCensus::take().descriptors <= before.descriptors);
}

void TestVNCClient::boundsItsMemoryWhileTheMainThreadStalls()
{
    constexpr int width = 1920;
    constexpr int height = 1080;
    constexpr qsizetype frameBytes = qsizetype{width} * height * 4;
    const FloodingServer server(handshake(width, height), update(width, height, red));
    const qsizetype idle = residentBytes();
    VNCClient client;
    QSignalSpy imageSpy(&client, &VNCClient::imageChanged);
    client.connect(localhost, server.port());
    QTRY_VERIFY(imageSpy.count() > 10);
    for (int i = 0; i < 3; ++i) {
        QThread::msleep(200);
        const qsizetype grown = residentBytes() - idle;
        QVERIFY2(!isSoak() || grown < 3 * frameBytes + 2'000'000, qPrintable(QString::number(grown)));
        // What waits is not received on and on: once the host's buffers are full the server waits, too.
        const auto count = imageSpy.count();
        int rounds = -1;
        for (int look = 0; look < 600 && rounds != server.rounds(); ++look) {
            rounds = server.rounds();
            QThread::msleep(50);
        }
        QCOMPARE(server.rounds(), rounds);
        QTRY_VERIFY(imageSpy.count() > count + 10);
    }
}

void TestVNCClient::takesMemoryOnlyForBytesThatArrive()
{
    ScriptedServer server;
    const qsizetype idle = residentBytes();
    VNCClient client;
    client.connect(localhost, server.port());
    server.send(handshake(65535, 65535) + updateHeader(2) + rectangleHeader(8192, 4096) + red.repeated(1000));
    QTRY_COMPARE(server.received(), opening(65535, 65535, 1));
    QTest::qWait(50);
    QVERIFY(!isSoak() || residentBytes() - idle < 4'000'000);
}

void TestVNCClient::leavesTheEventLoopItsBeat()
{
    const QByteArray tinyRectangles = updateHeader(1000) + (rectangleHeader(1, 1) + red).repeated(1000);
    const FloodingServer server(handshake(1, 1), tinyRectangles);
    VNCClient client;
    QSignalSpy imageSpy(&client, &VNCClient::imageChanged);
    client.connect(localhost, server.port());
    QTRY_VERIFY(imageSpy.count() > 100);
    const EventLoopBeat beat;
    QTimer timer;
    const QSignalSpy turns(&timer, &QTimer::timeout);
    timer.start(16);
    QTRY_VERIFY(turns.count() > 20);
    QCOMPARE(beat.complaint(std::chrono::milliseconds(500)), QString());
}

KELVO_TEST_MAIN(TestVNCClient)
#include "tst_vncclient.moc"
