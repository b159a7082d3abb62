#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/QEMU/QMPExchange.h"
#include "support/TestMain.h"

using namespace Qt::StringLiterals;

class TestQMPExchange : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void talksToAPeer_data();
    void talksToAPeer();
    void refusesAnEndlessLine();
};

namespace {

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

void TestQMPExchange::talksToAPeer_data()
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

void TestQMPExchange::talksToAPeer()
{
    QFETCH(const QByteArrayList, peer);
    for (const qsizetype step : {1, 7, 1 << 20}) {
        const Outcome outcome = talk(peer, step);
        QTEST(outcome.sent, "sent");
        QTEST(outcome.result, "result");
    }
}

void TestQMPExchange::refusesAnEndlessLine()
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

KELVO_TEST_MAIN(TestQMPExchange)
#include "tst_qmpexchange.moc"
