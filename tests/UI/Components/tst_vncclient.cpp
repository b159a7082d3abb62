#include "RemoteFramebuffer/ServerStream.h"
#include "UI/Components/FloodingServer.h"
#include "UI/Components/ScriptedServer.h"
#include "UI/Components/VNCClient.h"
#include "support/EventLoopBeat.h"
#include "support/ProcessCensus.h"
#include "support/TestMain.h"

#include <QSignalSpy>
#include <QThread>
#include <QTimer>

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

bool isPlain(const QImage &image, QSize size, const QColor &colour)
{
    if (image.size() != size)
        return false;
    for (int y = 0; y < size.height(); ++y) {
        for (int x = 0; x < size.width(); ++x) {
            if (image.pixelColor(x, y) != colour)
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
    void leavesImagesInOtherHandsAlone();
    void saysWhyTheProtocolStopped();
    void triesEveryAddressOfAName();
    void saysWhyItCannotConnect();
    void saysThatTheConnectionBrokeButNotThatItEnded();
    void clearsAllButTheErrorOnDisconnect();
    void ignoresAReplacedConnection();
    void survivesWhatItsObserversDo();
    void boundsItsMemoryWhileTheMainThreadStalls();
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

void TestVNCClient::saysWhyTheProtocolStopped()
{
    const QByteArray version = "RFB 003.008\n";
    for (const auto &[answer, message, received] :
         {std::tuple("0102", u"No supported VNC security types."_s, version),
          {"010100000001", u"VNC authentication failed."_s, version + '\x01'}}) {
        ScriptedServer server;
        VNCClient client;
        client.connect(localhost, server.port());
        server.send(version + QByteArray::fromHex(answer) + "what nobody reads any more");
        QTRY_COMPARE(client.errorMessage(), message);
        QTRY_COMPARE(server.received(), received);
        QVERIFY(client.isConnected());
        QVERIFY(client.image().isNull());
        // The reason stays when the connection breaks later.
        server.reset();
        QTRY_VERIFY(!client.isConnected());
        QCOMPARE(client.errorMessage(), message);
    }
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

void TestVNCClient::saysWhyItCannotConnect()
{
    const QString tooLong(300, u'h');
    for (const auto &[host, port, message] :
         {std::tuple(localhost, qint64{-5}, u"Could not connect to “127.0.0.1:0”: Connection refused."_s),
          {localhost, qint64{1} << 32, u"Could not connect to “127.0.0.1:65535”: Connection refused."_s},
          {tooLong, 5900, u"Could not look up the host “%1”: Name or service not known."_s.arg(tooLong)}}) {
        VNCClient client;
        client.connect(host, port);
        QTRY_COMPARE(client.errorMessage(), message);
        QVERIFY(!client.isConnected());
    }
}

void TestVNCClient::saysThatTheConnectionBrokeButNotThatItEnded()
{
    for (const bool breaks : {true, false}) {
        ScriptedServer server;
        VNCClient client;
        QSignalSpy imageSpy(&client, &VNCClient::imageChanged);
        client.connect(localhost, server.port());
        server.send(handshake(2, 2) + update(2, 2, red) + updateHeader(1) + rectangleHeader(2, 2) + red);
        QTRY_COMPARE(server.received(), opening(2, 2, 2));
        QTRY_VERIFY(!client.image().isNull());
        if (breaks) {
            server.reset();
            QTRY_VERIFY(!client.isConnected());
            QCOMPARE(
                client.errorMessage(),
                u"Could not receive from “127.0.0.1:%1”: Connection reset by peer."_s.arg(server.port()));
        } else {
            server.close();
            QTest::qWait(50);
            QVERIFY(client.isConnected());
            QCOMPARE(client.errorMessage(), QString());
        }
        QCOMPARE(imageSpy.count(), 1);
        QVERIFY(isPlain(client.image(), {2, 2}, Qt::red));
    }
}

void TestVNCClient::clearsAllButTheErrorOnDisconnect()
{
    ScriptedServer server;
    VNCClient client;
    client.connect(localhost, -1);
    QTRY_VERIFY(!client.errorMessage().isEmpty());
    const QString message = client.errorMessage();
    client.connect(localhost, server.port());
    server.send(handshake(2, 2) + update(2, 2, red));
    QTRY_VERIFY(!client.image().isNull());
    client.disconnect();
    QVERIFY(!client.isConnected());
    QVERIFY(client.image().isNull());
    QTRY_VERIFY(!server.hasClient());
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

void TestVNCClient::survivesWhatItsObserversDo()
{
    for (const auto signal :
         {&VNCClient::imageChanged, &VNCClient::isConnectedChanged, &VNCClient::errorMessageChanged}) {
        for (const bool isDeleted : {true, false}) {
            ScriptedServer server;
            auto client = std::make_unique<VNCClient>();
            QObject watcher;
            int count = 0;
            connect(client.get(), signal, &watcher, [&] {
                if (++count > 3)
                    return;
                if (isDeleted)
                    client.reset();
                else
                    client->connect(localhost, server.port());
            });
            client->connect(localhost, server.port());
            server.send(handshake(2, 2) + update(2, 2, red) + update(2, 2, green));
            if (signal == &VNCClient::errorMessageChanged) {
                QTRY_VERIFY(!client->image().isNull());
                server.reset();
            }
            QTRY_VERIFY(count > 0);
            // Whatever was underway arrives now, if anywhere.
            QTest::qWait(20);
            QCOMPARE(client == nullptr, isDeleted);
        }
    }
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
    // Also a claim takes none, only bytes that arrive.
    ScriptedServer braggart;
    VNCClient other;
    other.connect(localhost, braggart.port());
    braggart.send(handshake(65535, 65535) + updateHeader(2) + rectangleHeader(8192, 4096) +
                  red.repeated(1000));
    QTRY_COMPARE(braggart.received(), opening(65535, 65535, 1));
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
