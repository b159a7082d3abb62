#include "RemoteFramebuffer/ServerStream.h"
#include "UI/Components/Display/FloodingServer.h"
#include "UI/Components/Display/ScriptedServer.h"
#include "UI/Components/Display/VNCClient.h"
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
    QImage plain(size, QImage::Format_RGB32);
    plain.fill(colour);
    return image == plain;
}

} // namespace

class TestVNCClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
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

private:
    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<VNCClient> m_client;
};

/// A client that connects to the server.
void TestVNCClient::init()
{
    m_server = std::make_unique<ScriptedServer>();
    m_client = std::make_unique<VNCClient>();
    m_client->connect(localhost, m_server->port());
}

void TestVNCClient::sendsOnlyTheHandshakeAndRequests()
{
    QSignalSpy connectedSpy(m_client.get(), &VNCClient::isConnectedChanged);
    QSignalSpy imageSpy(m_client.get(), &VNCClient::imageChanged);
    QSignalSpy errorSpy(m_client.get(), &VNCClient::errorMessageChanged);
    QVERIFY(!m_client->isConnected());
    QTRY_VERIFY(m_client->isConnected());
    m_server->send(handshake(3, 2));
    QTRY_COMPARE(m_server->received(), opening(3, 2, 1));
    m_server->send(update(3, 2, red));
    QTRY_COMPARE(m_server->received(), opening(3, 2, 2));
    m_server->send(updateHeader(0) + update(2, 2, green) + "\x02" + update(1, 1, blue));
    QTRY_COMPARE(m_server->received(), opening(3, 2, 5));
    QTRY_COMPARE(imageSpy.count(), 3);
    QVERIFY(isPlain(m_client->image(), {1, 1}, Qt::blue));
    QCOMPARE(connectedSpy.count(), 1);
    QCOMPARE(errorSpy.count(), 0);
}

void TestVNCClient::leavesImagesInOtherHandsAlone()
{
    QList<QImage> images;
    connect(m_client.get(), &VNCClient::imageChanged, m_client.get(), [&] { images += m_client->image(); });
    m_server->send(handshake(64, 64));
    for (int i = 0; i < 10; ++i)
        m_server->send(update(64, 64, QByteArray(4, static_cast<char>(i))));
    QTRY_COMPARE(images.size(), 10);
    m_client->disconnect();
    for (int i = 0; i < 10; ++i)
        QVERIFY(isPlain(images.at(i), {64, 64}, QColor(i, i, i)));
}

void TestVNCClient::saysWhyTheProtocolStopped()
{
    const QByteArray version = "RFB 003.008\n";
    for (const auto &[answer, message, received] :
         {std::tuple("0102", u"No supported VNC security types."_s, version),
          {"010100000001", u"VNC authentication failed."_s, version + '\x01'}}) {
        init();
        m_server->send(version + QByteArray::fromHex(answer) + "what nobody reads any more");
        QTRY_COMPARE(m_client->errorMessage(), message);
        QTRY_COMPARE(m_server->received(), received);
        QVERIFY(m_client->isConnected());
        QVERIFY(m_client->image().isNull());
        // The reason stays when the connection breaks later.
        m_server->reset();
        QTRY_VERIFY(!m_client->isConnected());
        QCOMPARE(m_client->errorMessage(), message);
    }
}

void TestVNCClient::triesEveryAddressOfAName()
{
    // Its first address is often ::1, where the server does not listen.
    m_client->connect(u"localhost"_s, m_server->port());
    QTRY_VERIFY(m_client->isConnected());
    QCOMPARE(m_client->errorMessage(), QString());
}

void TestVNCClient::saysWhyItCannotConnect()
{
    const QString tooLong(300, u'h');
    for (const auto &[host, port, message] :
         {std::tuple(localhost, qint64{-5}, u"Could not connect to “127.0.0.1:0”: Connection refused."_s),
          {localhost, qint64{1} << 32, u"Could not connect to “127.0.0.1:65535”: Connection refused."_s},
          {tooLong, 5900, u"Could not look up the host “%1”: Name or service not known."_s.arg(tooLong)}}) {
        m_client->connect(host, port);
        QTRY_COMPARE(m_client->errorMessage(), message);
        QVERIFY(!m_client->isConnected());
    }
}

void TestVNCClient::saysThatTheConnectionBrokeButNotThatItEnded()
{
    for (const bool breaks : {true, false}) {
        init();
        QSignalSpy imageSpy(m_client.get(), &VNCClient::imageChanged);
        m_server->send(handshake(2, 2) + update(2, 2, red) + updateHeader(1) + rectangleHeader(2, 2) + red);
        QTRY_COMPARE(m_server->received(), opening(2, 2, 2));
        QTRY_VERIFY(!m_client->image().isNull());
        if (breaks) {
            m_server->reset();
            QTRY_VERIFY(!m_client->isConnected());
            QCOMPARE(
                m_client->errorMessage(),
                u"Could not receive from “127.0.0.1:%1”: Connection reset by peer."_s.arg(m_server->port()));
        } else {
            m_server->close();
            QTest::qWait(50);
            QVERIFY(m_client->isConnected());
            QCOMPARE(m_client->errorMessage(), QString());
        }
        QCOMPARE(imageSpy.count(), 1);
        QVERIFY(isPlain(m_client->image(), {2, 2}, Qt::red));
    }
}

void TestVNCClient::clearsAllButTheErrorOnDisconnect()
{
    m_client->connect(localhost, -1);
    QTRY_VERIFY(!m_client->errorMessage().isEmpty());
    const QString message = m_client->errorMessage();
    ScriptedServer second; // the first may still give what it is to send to the connection that was replaced
    m_client->connect(localhost, second.port());
    second.send(handshake(2, 2) + update(2, 2, red));
    QTRY_VERIFY(!m_client->image().isNull());
    m_client->disconnect();
    QVERIFY(!m_client->isConnected());
    QVERIFY(m_client->image().isNull());
    QTRY_VERIFY(!second.hasClient());
    QCOMPARE(m_client->errorMessage(), message);
    QSignalSpy imageSpy(m_client.get(), &VNCClient::imageChanged);
    m_client->disconnect();
    QCOMPARE(imageSpy.count(), 0);
}

void TestVNCClient::ignoresAReplacedConnection()
{
    ScriptedServer second;
    m_server->send(handshake(2, 2) + update(2, 2, red) + updateHeader(1) + rectangleHeader(2, 2) + red);
    QTRY_VERIFY(!m_client->image().isNull());
    // What the first one has on its way, an image and a failure, is never seen.
    m_server->send(red.repeated(3));
    m_server->reset();
    QThread::msleep(20);
    QSignalSpy imageSpy(m_client.get(), &VNCClient::imageChanged);
    m_client->connect(localhost, second.port());
    second.send(handshake(1, 1) + update(1, 1, green));
    QTRY_VERIFY(isPlain(m_client->image(), {1, 1}, Qt::green));
    QCOMPARE(imageSpy.count(), 2);
    QVERIFY(m_client->isConnected());
    QCOMPARE(m_client->errorMessage(), QString());
}

void TestVNCClient::survivesWhatItsObserversDo()
{
    for (const auto signal :
         {&VNCClient::imageChanged, &VNCClient::isConnectedChanged, &VNCClient::errorMessageChanged}) {
        for (const bool isDeleted : {true, false}) {
            init();
            QObject watcher;
            int count = 0;
            connect(m_client.get(), signal, &watcher, [&] {
                if (++count > 3)
                    return;
                if (isDeleted)
                    m_client.reset();
                else
                    m_client->connect(localhost, m_server->port());
            });
            m_server->send(handshake(2, 2) + update(2, 2, red) + update(2, 2, green));
            if (signal == &VNCClient::errorMessageChanged) {
                QTRY_VERIFY(!m_client->image().isNull());
                m_server->reset();
            }
            QTRY_VERIFY(count > 0);
            // Whatever was underway arrives now, if anywhere.
            QTest::qWait(20);
            QCOMPARE(m_client == nullptr, isDeleted);
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
    QSignalSpy imageSpy(m_client.get(), &VNCClient::imageChanged);
    // Also a claim takes none, only bytes that arrive.
    ScriptedServer braggart;
    VNCClient other;
    other.connect(localhost, braggart.port());
    braggart.send(handshake(65535, 65535) + updateHeader(2) + rectangleHeader(8192, 4096) +
                  red.repeated(1000));
    QTRY_COMPARE(braggart.received(), opening(65535, 65535, 1));
    m_client->connect(localhost, server.port());
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
    QSignalSpy imageSpy(m_client.get(), &VNCClient::imageChanged);
    m_client->connect(localhost, server.port());
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
