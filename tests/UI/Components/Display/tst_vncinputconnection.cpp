#include "RemoteFramebuffer/ServerStream.h"
#include "UI/Components/Display/KeyEvents.h"
#include "UI/Components/Display/ScriptedServer.h"
#include "UI/Components/Display/VNCInputConnection.h"
#include "UI/Components/Display/VNCScreenItem.h"
#include "support/TestMain.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
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

const QByteArray clientHandshake = "RFB 003.008\n" + QByteArray::fromHex("0101"
                                                                         "02000002"
                                                                         "ffffff21"
                                                                         "fffffefe");
/// The server takes keys by their scan codes.
const QByteArray keysTaken =
    updateHeader(1) + rectangleHeader(0, 0).chopped(4) + QByteArray::fromHex("fffffefe");
const QByteArray escapeDown = QByteArray::fromHex("ff000001"
                                                  "00000000"
                                                  "00000001");
const QByteArray escapeUp = QByteArray::fromHex("ff000000"
                                                "00000000"
                                                "00000001");

std::span<const std::byte> asBytes(const QByteArray &bytes)
{
    return std::as_bytes(std::span(bytes.constData(), static_cast<std::size_t>(bytes.size())));
}

} // namespace

class TestVNCInputConnection : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void tellsEverySizeAndAsksForNoPixels();
    void floodOfSizesIsTamed();
    void sendsOnceTheServerTakesKeys();
    void neverWaitsForAServerThatDoesNotRead();
    void screensPassKeysAndPointerOn();
    void viewConnectsAnewForAnotherSizeAlone();

private:
    std::unique_ptr<ScriptedServer> m_server;
    std::unique_ptr<VNCInputConnection> m_input;
    std::unique_ptr<QSignalSpy> m_sizes;
};

/// A connection to the server.
void TestVNCInputConnection::init()
{
    m_server = std::make_unique<ScriptedServer>();
    m_input = std::make_unique<VNCInputConnection>();
    m_sizes = std::make_unique<QSignalSpy>(m_input.get(), &VNCInputConnection::sizeKnown);
    m_input->connect(localhost, m_server->port());
}

void TestVNCInputConnection::tellsEverySizeAndAsksForNoPixels()
{
    m_server->send(handshake(640, 480));
    QTRY_COMPARE(m_sizes->count(), 1);
    QCOMPARE(m_sizes->at(0)[0].toSize(), QSize(640, 480));
    // It reads past what it did not ask for.
    const QByteArray cutText = QByteArray::fromHex("03000000") + uint32(5) + "hello";
    m_server->send(updateHeader(0) + update(2, 2, "pixl") + cutText + sizeUpdate(1280, 800));
    QTRY_COMPARE(m_sizes->last()[0].toSize(), QSize(1280, 800));
    // Version, security choice, shared, and the two encodings without pixels.
    QCOMPARE(m_server->received(), clientHandshake);
}

void TestVNCInputConnection::floodOfSizesIsTamed()
{
    QByteArray flood = handshake(1, 1);
    for (std::uint16_t number = 0; number < 20'000; ++number)
        flood += sizeUpdate(number % 2 + 2, 9);
    m_server->send(flood + sizeUpdate(7, 7));
    QTRY_COMPARE(m_sizes->count() > 0 ? m_sizes->last()[0].toSize() : QSize(), QSize(7, 7));
    QVERIFY2(m_sizes->count() < 10'000, qPrintable(QString::number(m_sizes->count())));
}

void TestVNCInputConnection::sendsOnceTheServerTakesKeys()
{
    m_server->send(handshake(4, 4));
    QTRY_COMPARE(m_server->received(), clientHandshake);
    m_input->send(asBytes(escapeDown));
    QTRY_COMPARE(m_sizes->count(), 1);
    QCOMPARE(m_server->received(), clientHandshake);
    m_server->send(keysTaken);
    QTRY_COMPARE(m_server->received(), clientHandshake + escapeDown);
    m_input->send(asBytes(escapeUp));
    QTRY_COMPARE(m_server->received(), clientHandshake + escapeDown + escapeUp);
    m_server->close();
    QTRY_VERIFY(m_input->hasFailed());
    QVERIFY(!m_input->isAvailable());
    m_input->connect(localhost, m_server->port());
    QVERIFY(!m_input->hasFailed());
}

void TestVNCInputConnection::neverWaitsForAServerThatDoesNotRead()
{
    // Nobody accepts: what is sent stays in the kernel's queues until those are full.
    QTcpServer silent;
    QVERIFY(silent.listen(QHostAddress::LocalHost));
    m_input->connect(localhost, silent.serverPort());
    QVERIFY(silent.waitForNewConnection(patience));
    QTcpSocket *peer = silent.nextPendingConnection();
    peer->setReadBufferSize(1);
    peer->write(handshake(4, 4) + keysTaken);
    QTRY_COMPARE(m_sizes->count(), 1);
    const QByteArray moves(6 * 100, '\x05');
    for (int turn = 0; turn < 1'000'000 && !m_input->hasFailed(); ++turn)
        m_input->send(asBytes(moves));
    // What waited is gone with the connection: nothing stays down on a server that reads again one day.
    QVERIFY(m_input->hasFailed() && !m_input->isAvailable());
    peer->setReadBufferSize(0);
    QTRY_COMPARE(peer->state(), QAbstractSocket::UnconnectedState);
}

void TestVNCInputConnection::screensPassKeysAndPointerOn()
{
    ScriptedServer display;
    QQuickWindow window;
    window.resize(200, 100);
    auto *item = new VNCScreenItem(window.contentItem());
    item->setSize(QSizeF(200, 100));
    VNCClient client;
    item->setClient(&client);
    item->setInput(m_input.get());
    window.show();
    window.requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(&window, patience));
    item->forceActiveFocus();
    client.connect(localhost, display.port());
    // Two pixels in a window for two squares: they are shown without bars.
    display.send(handshake(2, 1) + update(2, 1, "pixlpixl"));
    m_server->send(handshake(2, 1));
    QTRY_VERIFY(!client.image().isNull());
    QVERIFY(item->hasKeyboard());
    m_server->send(keysTaken);

    const QByteArray seen = display.received();
    sendKey(window, QEvent::KeyPress, {Qt::Key_Escape, KEY_ESC});
    QTest::mouseClick(&window, Qt::RightButton, {}, {150, 50});
    item->setFocus(false); // what is down is released
    QTRY_COMPARE(m_server->received(), clientHandshake + escapeDown +
                                           QByteArray::fromHex("050000010000"
                                                               "050400010000"
                                                               "050000010000") +
                                           escapeUp);
    QCOMPARE(display.received(), seen); // the client only looks
}

void TestVNCInputConnection::viewConnectsAnewForAnotherSizeAlone()
{
    QTcpServer server;
    QVERIFY(server.listen(QHostAddress::LocalHost));
    QByteArray picture = handshake(2, 1) + update(2, 1, "pixlpixl");
    QList<QTcpSocket *> peers;
    QTcpSocket *input = nullptr;
    connect(&server, &QTcpServer::newConnection, this, [&] {
        QTcpSocket *peer = peers.emplace_back(server.nextPendingConnection());
        connect(peer, &QTcpSocket::readyRead, peer, [&input, peer] {
            if (peer->readAll().endsWith(QByteArray::fromHex("fffffefe")))
                input = peer;
        });
        peer->write(picture);
    });
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData("import Kelvo.UI\nVNCConsoleView { host: '127.0.0.1' }", QUrl());
    const std::unique_ptr<QObject> view(
        component.createWithInitialProperties({{u"port"_s, server.serverPort()}}));
    QVERIFY2(view, qPrintable(component.errorString()));
    const QSignalSpy pictures(view.get(), SIGNAL(hasPictureChanged()));
    QTRY_VERIFY(view->property("hasPicture").toBool() && input);

    picture = handshake(1, 2) + update(1, 2, "pixlpixl");
    input->write(sizeUpdate(1, 2));
    QTRY_COMPARE(pictures.count(), 3); // gone, and there again
    QCOMPARE(peers.size(), 3);

    const QByteArray good = std::exchange(picture, QByteArray("RFB 003.008\n\0", 13));
    input->write(sizeUpdate(2, 1));
    QTRY_COMPARE(peers.size(), 4);
    QTRY_VERIFY(!view->findChild<VNCClient *>()->errorMessage().isEmpty());
    QVERIFY(!view->property("hasPicture").toBool());
    picture = good;
    input->write(sizeUpdate(1, 2));
    QTRY_VERIFY(view->property("hasPicture").toBool());
}

KELVO_GUI_TEST_MAIN(TestVNCInputConnection)
#include "tst_vncinputconnection.moc"
