#include "Platform/Hypervisor/DisplayChannel.h"
#include "Platform/Hypervisor/DisplayPeer.h"
#include "RemoteFramebuffer/ServerStream.h"
#include "support/EventLoopBeat.h"
#include "support/TestMain.h"

#include <QSignalSpy>

#include <atomic>
#include <memory>
#include <thread>

using namespace serverstream;
using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QByteArray poke("\x06\x00\x00\x00\x00\x00\x00\x00", 8);
/// Version, choice, ClientInit, six encodings and the first request.
constexpr qsizetype openingBytes = 12 + 1 + 1 + 4 + 6 * 4 + 10;
const QByteArray picture = update(2, 2, "abcd");

class Session
{
public:
    explicit Session(const QByteArray &stream = handshake(2, 2))
        : channel(std::make_unique<DisplayChannel>(peer.takeClientEnd()))
        , ready(channel.get(), &DisplayChannel::updateReady)
        , ended(channel.get(), &DisplayChannel::ended)
    {
        peer.send(stream);
    }

    DisplayPeer peer;
    std::unique_ptr<DisplayChannel> channel;
    QSignalSpy ready;
    QSignalSpy ended;
};

/// A thread that sends the same over and over, until this is destroyed and closes the session's channel.
class Flood
{
public:
    Flood(Session &session, const QByteArray &bytes)
        : m_session(session)
        , m_thread([this, bytes] {
            while (m_session.peer.send(bytes))
                ++count;
        })
    {}
    ~Flood()
    {
        m_session.channel.reset();
        m_thread.join();
    }
    /// Waits until nothing was taken for 50 ms.
    [[nodiscard]] bool waitUntilStuck() const
    {
        const auto isStuck = [this] {
            const int before = count;
            QTest::qWait(50);
            return before > 0 && count == before;
        };
        return QTest::qWaitFor(isStuck, patience);
    }

    std::atomic<int> count = 0;

private:
    Session &m_session;
    std::thread m_thread;
};

} // namespace

class TestDisplayChannel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void saysOnceWhyItIsOver();
    void readsNoFasterThanUpdatesAreUsed();
    void neverWaitsForAPeerThatDoesNotRead();
    void pokesWhileItIsWatched();
    void mayBeDeletedAtAnyTime();
};

void TestDisplayChannel::saysOnceWhyItIsOver()
{
    const QString closed = u"The emulator closed the display."_s;
    const QString invalid = u"The emulator's display sent invalid data."_s;
    for (const auto &[stream, reason, updates] :
         {std::tuple(handshake(2, 2) + picture.chopped(1), closed, 0), // amid a rectangle
          {handshake(2, 2) + picture, closed, 1},
          {handshake(2, 2) + picture + "\x99", invalid, 1},
          {handshake(65535, 65535), u"The emulator's display is too large."_s, 0}}) {
        Session session(stream);
        session.peer.close();
        QTRY_COMPARE(session.ended.count(), 1);
        QCOMPARE(session.ended.at(0).at(0).toString(), reason);
        QVERIFY(!session.ended.wait(20));
        QCOMPARE(session.ready.count(), updates);
        QVERIFY(!session.channel->send(std::as_bytes(std::span("12345678"))));
        session.channel->requestUpdate();
    }
}

void TestDisplayChannel::readsNoFasterThanUpdatesAreUsed()
{
    QByteArray rectangles = updateHeader(1000);
    for (int i = 0; i < 1000; ++i)
        rectangles += uint16(static_cast<std::uint16_t>(i % 99)) +
                      uint16(static_cast<std::uint16_t>(i % 97)) + uint16(1) + uint16(1) + uint32(0) + "abcd";
    Session session(handshake(100, 100));
    Flood flood(session, rectangles);
    QVERIFY(session.ready.wait(patience) && flood.waitUntilStuck());
    QCOMPARE(session.ready.count(), 1);

    const EventLoopBeat beat;
    for (int i = 0; i < 50; ++i) {
        const auto update = session.channel->takeUpdate();
        QVERIFY(update && update->changed.size() <= rfb::ScreenConversation::maxChangedAreas);
        session.channel->requestUpdate();
        QVERIFY(session.ready.wait(patience));
    }
    QCOMPARE(beat.complaint(EventLoopBeat::unnoticed), QString());
}

void TestDisplayChannel::neverWaitsForAPeerThatDoesNotRead()
{
    // Every empty update is answered by a request, which nobody reads.
    Session session;
    Flood flood(session, updateHeader(0).repeated(1000));
    QVERIFY(flood.waitUntilStuck());
    const EventLoopBeat beat;
    int accepted = 0;
    while (session.channel->send(std::as_bytes(std::span("12345678"))))
        QVERIFY(++accepted <= 10'000);
    QTest::qWait(30);
    QCOMPARE(beat.complaint(EventLoopBeat::unnoticed), QString());
    // It goes on as soon as the peer reads.
    for (const int before = flood.count; flood.count < before + 10;)
        QVERIFY(QTest::qWaitFor([&] { return !session.peer.received().isEmpty(); }, patience));
}

void TestDisplayChannel::pokesWhileItIsWatched()
{
    Session session;
    QCOMPARE(session.peer.receive(openingBytes).size(), openingBytes);
    QTest::qWait(250);
    QCOMPARE(session.peer.received(), QByteArray());
    QElapsedTimer clock;
    clock.start();
    session.channel->setWatched(true);
    QCOMPARE(session.peer.receive(3 * poke.size()), poke.repeated(3));
    QVERIFY(clock.elapsed() >= 190);
    session.channel->setWatched(false);
    (void)session.peer.received();
    QTest::qWait(250);
    QCOMPARE(session.peer.received(), QByteArray());
}

void TestDisplayChannel::mayBeDeletedAtAnyTime()
{
    for (int i = 0; i < 20; ++i) {
        Session session;
        const Flood flood(session, picture);
        if (i % 2 == 0)
            QTRY_VERIFY(flood.count > 0);
    }
    Session session(handshake(2, 2) + picture + "\x99");
    connect(session.channel.get(), &DisplayChannel::updateReady, this,
            [&session] { session.channel.reset(); });
    QTRY_VERIFY(!session.channel);
    QCoreApplication::processEvents();
    QCOMPARE(session.ended.count(), 0);
}

KELVO_TEST_MAIN(TestDisplayChannel)
#include "tst_displaychannel.moc"
