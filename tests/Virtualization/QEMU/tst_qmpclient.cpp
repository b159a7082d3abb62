#include "Platform/ChildProcess.h"
#include "Platform/FileUrl.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/QEMU/QMPClient.h"
#include "Virtualization/QEMU/UnixSocketConnection.h"
#include "support/EventLoopBeat.h"
#include "support/Expectations.h"
#include "support/ProcessCensus.h"
#include "support/ScriptedChild.h"
#include "support/TestMain.h"

#include <QSocketNotifier>
#include <QTemporaryDir>

#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class TestQMPClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void exchangesACommand_data();
    void exchangesACommand();
    void waitsForTheSocketFile();
    void failsWithoutAListener();
    void looksOnlyForListeners();
    void acceptsPathsUpToTheLimit();
    void staysAliveWhileManyPeersHang();
    void leavesItsThreadToOthers();
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

/// A scripted QMP server with a folder of its own.
class Peer
{
public:
    explicit Peer(const QString &script)
        : m_program(m_folder.filePath(u"peer"_s))
    {
        ScriptedChild::install(m_program, u"open-socket "_s + socket() + u";"_s + script);
        m_options.program = m_program;
        m_child = std::make_unique<ChildProcess>(m_options);
    }
    ~Peer()
    {
        m_child->kill();
        QCoro::waitFor(m_child->waitForExit());
    }

    [[nodiscard]] QString socket() const { return m_folder.filePath(u"qmp.sock"_s); }
    [[nodiscard]] QUrl url() const { return FileUrl::file(socket()); }
    [[nodiscard]] QStringList received() const { return ScriptedChild::received(m_program); }

private:
    QTemporaryDir m_folder;
    QString m_program;
    ChildProcess::LaunchOptions m_options;
    std::unique_ptr<ChildProcess> m_child;
};

UniqueDescriptor listenAt(const QString &path)
{
    UniqueDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const QByteArray name = path.toUtf8();
    std::copy(name.begin(), name.end(), static_cast<char *>(address.sun_path));
    if (::bind(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(socket.get(), 1) != 0)
        qFatal("cannot listen at %s", name.constData());
    return socket;
}

} // namespace

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
    QTest::newRow("does not greet: the exact bytes")
        << uR"(accept; read-rest 19; send {"return": {}}; read-rest 1; hang)"_s << ungreeted
        << QStringList{u"rest: "_s + stop + u"\\n"_s, u"rest: "_s} << u""_s;
    QTest::newRow("greets late")
        << uR"(accept; read-line; send {"QMP": {}}; send {"error": {"desc": "not yet"}}; read-line; send {"return": {}}; read-line; send {"return": {}}; hang)"_s
        << ungreeted << QStringList{stop, negotiate, stop} << u""_s;
    QTest::newRow("refuses")
        << greet +
               uR"(read-line; send {"return": {}}; read-line; send {"error": {"desc": "No can do"}}; hang)"_s
        << patient << QStringList{negotiate, stop} << u"No can do"_s;
    QTest::newRow("closes at once") << u"accept; shut; hang"_s << patient << QStringList() << u""_s;
    QTest::newRow("dies in the middle")
        << greet + u"read-line; crash"_s << patient << QStringList{negotiate} << unreadable;
    QTest::newRow("never answers") << greet + u"read-line; hang"_s << hurried << QStringList{negotiate}
                                   << unreadable;
    QTest::newRow("never accepts") << u"hang"_s << impatient << QStringList() << unreadable;
    QTest::newRow("half a line") << uR"(accept; send-part {"QMP"; hang)"_s << impatient << QStringList()
                                 << unreadable;
    QTest::newRow("rubbish") << u"accept; send rubbish; hang"_s << impatient << QStringList() << unreadable;
    QTest::newRow("100 MB on a line")
        << u"accept; endless-line 100; hang"_s << impatient << QStringList() << unreadable;
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

void TestQMPClient::waitsForTheSocketFile()
{
    const QTemporaryDir folder;
    const QMPClient absent(FileUrl::file(folder.filePath(u"qmp.sock"_s)), {.socketFile = 120ms});
    QElapsedTimer time;
    time.start();
    QCOMPARE(send(absent), u"Timed out waiting for QMP socket."_s);
    QVERIFY(time.elapsed() >= 120);

    // The peer opens its socket only when the client has begun to wait.
    const QString program = folder.filePath(u"peer"_s);
    const QString socket = folder.filePath(u"late.sock"_s);
    ScriptedChild::install(program, u"sleep 120; open-socket "_s + socket + u"; serve-qmp"_s);
    ChildProcess::LaunchOptions options;
    options.program = program;
    ChildProcess child(options);
    QCOMPARE(send(QMPClient(FileUrl::file(socket), patient), u"quit"_s), QString());
    QVERIFY(QCoro::waitFor(child.waitForExit(30s)));
    QCOMPARE(ScriptedChild::received(program).last(), uR"({"execute":"quit"})"_s);
}

void TestQMPClient::failsWithoutAListener()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"qmp.sock"_s);
    listenAt(path).reset();
    const ProcessCensus before = ProcessCensus::take();
    QCOMPARE(send(QMPClient(FileUrl::file(path), patient)), u"Could not connect to QMP socket."_s);
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void TestQMPClient::looksOnlyForListeners()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"qmp.sock"_s);
    QVERIFY(!UnixSocketConnection::hasListener(path));
    UniqueDescriptor listener = listenAt(path);
    // Also when its queue of waiting connections has run full.
    for (int i = 0; i < 5; ++i)
        QVERIFY(UnixSocketConnection::hasListener(path));
    listener.reset();
    QVERIFY(!UnixSocketConnection::hasListener(path));
}

void TestQMPClient::acceptsPathsUpToTheLimit()
{
    const QTemporaryDir folder;
    const auto pathOf = [&](qsizetype bytes) {
        const QString start = folder.filePath(u"ü"_s);
        return start + QString(bytes - start.toUtf8().size(), u'x');
    };
    const QString longest = pathOf(UnixSocketConnection::maximumPathBytes);
    const UniqueDescriptor listener = listenAt(longest);
    const UnixSocketConnection connection(longest);
    QVERIFY(connection.fd() >= 0);

    const ProcessCensus before = ProcessCensus::take();
    QString failure;
    try {
        const UnixSocketConnection tooLong(pathOf(UnixSocketConnection::maximumPathBytes + 1));
    } catch (const KelvoError &error) {
        failure = error.localizedDescription();
    }
    QCOMPARE(failure, u"Unix socket path is too long."_s);
    QCOMPARE(ProcessCensus::take(), before);
}

void TestQMPClient::staysAliveWhileManyPeersHang()
{
    const Peer silent(u"hang"_s); // its queue takes 8 connections; the others wait to connect
    const ProcessCensus before = ProcessCensus::take();
    const EventLoopBeat beat;
    int failures = 0;
    for (int i = 0; i < 40; ++i) {
        QCoro::connect(outcomeOf(QMPClient(silent.url(), impatient).pause()), this,
                       [&](const QString &failure) { failures += failure.isNull() ? 0 : 1; });
    }
    const Peer friendly(u"serve-qmp"_s);
    QCOMPARE(send(QMPClient(friendly.url(), patient)), QString());
    QTRY_COMPARE(failures, 40);
    QCOMPARE(beat.complaint(EventLoopBeat::unnoticedWithLaunch), QString());
    QTRY_COMPARE(ProcessCensus::take().threads, before.threads);
}

/// What answers runs on the thread that asks: if that waited for it, there would be no answer.
void TestQMPClient::leavesItsThreadToOthers()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"qmp.sock"_s);
    const UniqueDescriptor listener = listenAt(path);
    QSocketNotifier incoming(listener.get(), QSocketNotifier::Read);
    UniqueDescriptor peer;
    const auto say = [&](QByteArrayView line) {
        return ::send(peer.get(), line.data(), static_cast<size_t>(line.size()), MSG_NOSIGNAL);
    };
    std::unique_ptr<QSocketNotifier> requests;
    int answers = 0;
    connect(&incoming, &QSocketNotifier::activated, this, [&] {
        incoming.setEnabled(false);
        peer.reset(::accept(listener.get(), nullptr, nullptr));
        say("{\"QMP\": {}}\r\n");
        requests = std::make_unique<QSocketNotifier>(peer.get(), QSocketNotifier::Read);
        connect(requests.get(), &QSocketNotifier::activated, this, [&] {
            std::array<char, 256> request{};
            if (::recv(peer.get(), request.data(), request.size(), 0) <= 0)
                return requests->setEnabled(false);
            say("{\"return\": {}}\r\n");
            ++answers;
        });
    });
    QCOMPARE(send(QMPClient(FileUrl::file(path), patient)), QString());
    QCOMPARE(answers, 2);
}

KELVO_TEST_MAIN(TestQMPClient)
#include "tst_qmpclient.moc"
