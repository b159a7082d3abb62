#include "Platform/ChildProcess.h"
#include "Platform/FileUrl.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/QEMU/QMPClient.h"
#include "Virtualization/QEMU/QMPExchange.h"
#include "Virtualization/QEMU/UnixSocketConnection.h"
#include "support/EventLoopBeat.h"
#include "support/Expectations.h"
#include "support/ProcessCensus.h"
#include "support/ScriptedChild.h"
#include "support/TestMain.h"

#include <QTemporaryDir>

#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// QMPClient, and QMPExchange, which decides what it says.
class TestQMPClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void talksToAPeer_data();
    void talksToAPeer();
    void refusesAnEndlessLine();
    void exchangesACommand_data();
    void exchangesACommand();
    void knowsWhetherSomebodyListens();
    void staysAliveWhileManyPeersHang();
};

namespace {

constexpr QMPTimeouts patient = {.socketFile = 30s, .greeting = 10s, .exchange = 30s};
/// For peers that do not greet, for those that stop answering, and for those that never answer.
constexpr QMPTimeouts ungreeted = {.socketFile = 30s, .greeting = 50ms, .exchange = 30s};
constexpr QMPTimeouts hurried = {.socketFile = 30s, .greeting = 2s, .exchange = 2s};
constexpr QMPTimeouts impatient = {.socketFile = 30s, .greeting = 50ms, .exchange = 300ms};

/// A null string or the error's text.
QString send(const QMPClient &client, const QString &command = u"stop"_s)
{
    return QCoro::waitFor(outcomeOf(client.send(command)));
}

/// A scripted QMP server, in a folder of its own unless told otherwise.
class Peer
{
public:
    explicit Peer(const QString &script, const QString &socket = {})
        : m_program(m_folder.filePath(u"peer"_s))
        , m_socket(socket.isEmpty() ? m_folder.filePath(u"qmp.sock"_s) : socket)
    {
        ScriptedChild::install(m_program, u"open-socket "_s + m_socket + u";"_s + script);
        m_options.program = m_program;
        m_child = std::make_unique<ChildProcess>(m_options);
    }
    ~Peer()
    {
        m_child->kill();
        QCoro::waitFor(m_child->waitForExit());
    }

    [[nodiscard]] QString socket() const { return m_socket; }
    [[nodiscard]] QUrl url() const { return FileUrl::file(m_socket); }
    [[nodiscard]] QStringList received() const { return ScriptedChild::received(m_program); }

private:
    QTemporaryDir m_folder;
    QString m_program;
    QString m_socket;
    ChildProcess::LaunchOptions m_options;
    std::unique_ptr<ChildProcess> m_child;
};

const QByteArray greeting = R"({"QMP": {"version": {}, "capabilities": []}})";
const QByteArray ok = R"({"return": {}})";
const QByteArray stopEvent = R"({"timestamp": {}, "event": "STOP"})";
const QByteArray refusal = R"({"error": {"class": "GenericError", "desc": "The guest is on fire"}})";
const QByteArray negotiationFirst =
    R"({"error": {"class": "CommandNotFound", "desc": "Expecting negotiation"}})";

const QByteArray silence = "(silence)";
const QByteArray end = "(end)";

struct Outcome
{
    QByteArrayList sent;
    QString result; ///< "finished", "waiting" or the error's text
};

Outcome talk(const QByteArrayList &peer, qsizetype step)
{
    QMPExchange exchange(u"stop"_s);
    Outcome outcome;
    const auto send = [&](const QByteArray &bytes) {
        if (!bytes.isEmpty())
            outcome.sent.append(bytes.trimmed());
    };
    try {
        for (qsizetype i = 0; i < peer.size(); ++i) {
            const QByteArray &line = peer.at(i);
            if (line == silence) {
                send(exchange.beginWithoutGreeting());
            } else if (line == end) {
                exchange.endOfStream();
            } else {
                const QByteArray bytes = i + 1 == peer.size() ? line : line + "\r\n";
                for (qsizetype at = 0; at < bytes.size(); at += step)
                    send(exchange.receive(bytes.mid(at, step)));
            }
        }
        outcome.result = exchange.isFinished() ? u"finished"_s : u"waiting"_s;
    } catch (const KelvoError &error) {
        outcome.result = error.localizedDescription();
    }
    return outcome;
}

} // namespace

void TestQMPClient::talksToAPeer_data()
{
    QTest::addColumn<QByteArrayList>("peer"); // each with a line feed, but for the last one
    QTest::addColumn<QByteArrayList>("sent");
    QTest::addColumn<QString>("result");

    const QByteArray negotiate = R"({"execute":"qmp_capabilities"})";
    const QByteArray stop = R"({"execute":"stop"})";
    const QByteArrayList both = {negotiate, stop};
    const QString finished = u"finished"_s;
    const QString failed = u"Failed to read from QMP socket."_s;

    QTest::newRow("greeting") << QByteArrayList{greeting, ok, ok, ""} << both << finished;
    QTest::newRow("events in between")
        << QByteArrayList{stopEvent, greeting, stopEvent, ok, stopEvent, stopEvent, ok, stopEvent} << both
        << finished;
    QTest::newRow("refused") << QByteArrayList{greeting, ok, stopEvent, refusal, ""} << both
                             << u"The guest is on fire"_s;
    QTest::newRow("refused without a reason")
        << QByteArrayList{greeting, ok, R"({"error": 7})", ""} << both << u"QEMU refused the command."_s;
    QTest::newRow("no greeting") << QByteArrayList{silence, ok, ""} << QByteArrayList{stop} << finished;
    QTest::newRow("late greeting") << QByteArrayList{silence, greeting, negotiationFirst, ok, ok, ""}
                                   << QByteArrayList{stop, negotiate, stop} << finished;
    QTest::newRow("leaves at once") << QByteArrayList{end} << QByteArrayList() << finished;
    QTest::newRow("leaves after the command")
        << QByteArrayList{silence, end} << QByteArrayList{stop} << finished;
    QTest::newRow("leaves before the answer")
        << QByteArrayList{greeting, ok, stopEvent, end} << both << failed;
    QTest::newRow("half a line") << QByteArrayList{greeting, ok, R"({"retu)"} << both << u"waiting"_s;
    QTest::newRow("rubbish") << QByteArrayList{"220 mail.example ESMTP", ""} << QByteArrayList() << failed;
    QTest::newRow("deep nesting") << QByteArrayList{QByteArray(100000, '['), ""} << QByteArrayList()
                                  << failed;
}

void TestQMPClient::talksToAPeer()
{
    QFETCH(const QByteArrayList, peer);
    for (const qsizetype step : {1, 7, 1 << 20}) {
        const Outcome outcome = talk(peer, step);
        QTEST(outcome.sent, "sent");
        QTEST(outcome.result, "result");
    }
}

void TestQMPClient::refusesAnEndlessLine()
{
    QMPExchange exchange(u"stop"_s);
    const QByteArray block(65536, 'x');
    qsizetype taken = 0;
    try {
        for (; taken <= 2 * QMPMessages::Reader::maximumLineBytes; taken += block.size())
            QVERIFY(exchange.receive(block).isEmpty());
    } catch (const KelvoError &error) {
        QCOMPARE(error.localizedDescription(), u"Failed to read from QMP socket."_s);
    }
    QVERIFY(taken <= QMPMessages::Reader::maximumLineBytes + block.size());
}

void TestQMPClient::exchangesACommand_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QMPTimeouts>("timeouts");
    QTest::addColumn<QStringList>("received");
    QTest::addColumn<QString>("failure");

    const QString greet = uR"(accept; send {"QMP": {}};)"_s;
    const QString stop = uR"({"execute":"stop"})"_s;
    const QString negotiate = uR"({"execute":"qmp_capabilities"})"_s;
    const QString unreadable = u"Failed to read from QMP socket."_s;

    QTest::newRow("greets")
        << greet +
               uR"(read-line; send {"return": {}}; read-line; send {"event": "STOP"}; send {"return": {}}; hang)"_s
        << patient << QStringList{negotiate, stop} << u""_s;
    QTest::newRow("does not greet") << uR"(accept; read-line; send {"return": {}}; read-line; hang)"_s
                                    << ungreeted << QStringList{stop} << u""_s;
    QTest::newRow("dies in the middle")
        << greet + u"read-line; crash"_s << patient << QStringList{negotiate} << unreadable;
    QTest::newRow("never answers") << greet + u"read-line; hang"_s << hurried << QStringList{negotiate}
                                   << unreadable;
    QTest::newRow("events for ever") << greet + uR"(read-line; repeat {"event": "E"})"_s << hurried
                                     << QStringList{negotiate} << unreadable;
}

void TestQMPClient::exchangesACommand()
{
    QFETCH(const QString, script);
    QFETCH(const QMPTimeouts, timeouts);
    QFETCH(const QStringList, received);
    const ProcessCensus before = ProcessCensus::take();
    {
        const Peer peer(script);
        const EventLoopBeat beat;
        QTEST(send(QMPClient(peer.url(), timeouts)), "failure");
        QCOMPARE(beat.complaint(EventLoopBeat::unnoticed), QString());
        QTRY_COMPARE(peer.received(), received);
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void TestQMPClient::knowsWhetherSomebodyListens()
{
    const QTemporaryDir folder;
    // As long as an address may be.
    const QString start = folder.filePath(u"ü"_s);
    const QString path =
        start + QString(UnixSocketConnection::maximumPathBytes - start.toUtf8().size(), u'x');
    QVERIFY(!UnixSocketConnection::hasListener(path));
    {
        const Peer listener(u"hang"_s, path);
        QTRY_VERIFY(QFile::exists(path));
        // Also when its queue of eight waiting connections has run full.
        for (int i = 0; i < 12; ++i)
            QVERIFY(UnixSocketConnection::hasListener(path));
    }
    QVERIFY(!UnixSocketConnection::hasListener(path));

    const ProcessCensus before = ProcessCensus::take();
    QCOMPARE(send(QMPClient(FileUrl::file(path), patient)), u"Could not connect to QMP socket."_s);
    QCOMPARE(errorTextOf([&] { const UnixSocketConnection tooLong(path + u'x'); }),
             u"Unix socket path is too long."_s);
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void TestQMPClient::staysAliveWhileManyPeersHang()
{
    const Peer silent(u"hang"_s); // its queue takes 8 connections; the others wait to connect
    QTRY_VERIFY(QFile::exists(silent.socket()));
    const ProcessCensus before = ProcessCensus::take();
    const EventLoopBeat beat;
    int failures = 0;
    for (int i = 0; i < 40; ++i) {
        QCoro::connect(outcomeOf(QMPClient(silent.url(), impatient).pause()), this,
                       [&](const QString &failure) { failures += failure.isNull() ? 0 : 1; });
    }
    QVERIFY2(failures < 40, "each was waited for on this thread");
    const Peer friendly(u"serve-qmp"_s);
    QCOMPARE(send(QMPClient(friendly.url(), patient)), QString());
    QTRY_COMPARE(failures, 40);
    QCOMPARE(beat.complaint(EventLoopBeat::unnoticedWithLaunch), QString());
    QTRY_COMPARE(ProcessCensus::take().threads, before.threads);
}

KELVO_TEST_MAIN(TestQMPClient)
#include "tst_qmpclient.moc"
