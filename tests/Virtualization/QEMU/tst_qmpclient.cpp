#include "Platform/ChildProcess.h"
#include "Platform/FileUrl.h"
#include "Platform/UnixSocket.h"
#include "Virtualization/QEMU/QMPClient.h"
#include "support/EventLoopBeat.h"
#include "support/Expectations.h"
#include "support/ProcessCensus.h"
#include "support/ScriptedChild.h"
#include "support/TestMain.h"

#include <QTemporaryDir>

#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// QMPClient, and under it QMPChannel.
class TestQMPClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusesAnEndlessLine();
    void exchangesACommand_data();
    void exchangesACommand();
    void knowsWhetherSomebodyListens();
};

namespace {

constexpr QMPTimeouts patient = {.socketFile = 30s, .exchange = 30s};
/// For peers that stop answering.
constexpr QMPTimeouts hurried = {.socketFile = 30s, .exchange = 2s};

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

} // namespace

void TestQMPClient::refusesAnEndlessLine()
{
    QMPMessages::Reader reader;
    const QByteArray block(65536, 'x');
    qsizetype taken = 0;
    for (; taken <= 2 * QMPMessages::Reader::maximumLineBytes && !reader.isMalformed();
         taken += block.size()) {
        reader.append(block);
        QVERIFY(!reader.next());
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
    const QString listen = greet + u"read-line; read-line;"_s;
    const QStringList both = {uR"({"execute":"qmp_capabilities"})"_s, uR"({"execute":"stop"})"_s};
    const QString unreadable = u"Failed to read from QMP socket."_s;
    const QString ok = uR"(send {"return": {}};)"_s;

    QTest::newRow("events in between")
        << uR"(accept; send {"event": "STOP"}; send {"QMP": {}}; read-line; )"_s + ok +
               uR"(send {"event": "STOP"}; read-line; )"_s + ok + u"hang"_s
        << patient << both << u""_s;
    QTest::newRow("does not greet") << u"accept; read-line; read-line; "_s + ok + ok + u"hang"_s << patient
                                    << both << u""_s;
    QTest::newRow("refuses") << listen + ok + uR"(send {"error": {"desc": "The guest is on fire"}}; hang)"_s
                             << patient << both << u"The guest is on fire"_s;
    QTest::newRow("refuses without a reason") << listen + ok + uR"(send {"error": 7}; hang)"_s << patient
                                              << both << u"The emulator refused the command."_s;
    QTest::newRow("refuses to negotiate")
        << listen + uR"(send {"error": {"desc": "No"}}; )"_s + ok + u"hang"_s << patient << both << u""_s;
    QTest::newRow("dies in the middle") << listen + ok + u"crash"_s << patient << both << unreadable;
    QTest::newRow("speaks something else")
        << listen + u"send 220 mail.example ESMTP; hang"_s << patient << both << unreadable;
    QTest::newRow("never answers") << listen + u"hang"_s << hurried << both << unreadable;
    QTest::newRow("events for ever") << listen + uR"(repeat {"event": "E"})"_s << hurried << both
                                     << unreadable;
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
    const QString path = start + QString(UnixSocket::maximumPathBytes - start.toUtf8().size(), u'x');
    QVERIFY(!UnixSocket::hasListener(path));
    {
        const Peer listener(u"hang"_s, path);
        QTRY_VERIFY(QFile::exists(path));
        // Also when its queue of eight waiting connections has run full.
        for (int i = 0; i < 12; ++i)
            QVERIFY(UnixSocket::hasListener(path));
    }
    QVERIFY(!UnixSocket::hasListener(path));

    const ProcessCensus before = ProcessCensus::take();
    QCOMPARE(send(QMPClient(FileUrl::file(path), patient)), u"Could not connect to QMP socket."_s);
    QCOMPARE(send(QMPClient(FileUrl::file(path + u'x'), patient)), u"Unix socket path is too long."_s);
    QTRY_COMPARE(ProcessCensus::take(), before);
}

KELVO_TEST_MAIN(TestQMPClient)
#include "tst_qmpclient.moc"
