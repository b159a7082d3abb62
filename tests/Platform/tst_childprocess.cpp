#include "Platform/BoundedLines.h"
#include "Platform/ChildProcess.h"
#include "Platform/PlatformError.h"
#include "Platform/UniqueDescriptor.h"
#include "support/EventLoopBeat.h"
#include "support/ProcessCensus.h"
#include "support/ScriptedChild.h"
#include "support/TestMain.h"

#include <QAbstractEventDispatcher>
#include <QCoroTask>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/socket.h>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class TestChildProcess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reportsHowAChildEnded_data();
    void reportsHowAChildEnded();
    void failsToLaunchWithAReadableText();
    void startsTheChildInCleanSurroundings();
    void passesDescriptorsOn();
    void waitsWithATimeLimit();
    void endsOrKillsWhenAsked();
    void keepsReadingWhileAChildFloods();
    void leavesNoZombieOfAChildThatNobodyHolds();
    void survivesItsOwnEndDuringAWait();
    void restsWhileATracerHoldsAnEndedChild();
    void leavesNothingBehindAfterManyChildren();
};

namespace {

ChildProcess::LaunchOptions scripted(const QString &script)
{
    ChildProcess::LaunchOptions options;
    options.program = ScriptedChild::program();
    options.arguments = {u"--script"_s, script};
    return options;
}

bool waitForExit(ChildProcess &child)
{
    return QCoro::waitFor(child.waitForExit(30s));
}

/// What a child wrote to standard error before it ended.
QStringList outputOf(const ChildProcess::LaunchOptions &options)
{
    ChildProcess child(options);
    QStringList lines;
    QObject::connect(&child, &ChildProcess::standardErrorLine,
                     [&](const QString &line) { lines.append(line); });
    if (!waitForExit(child))
        return {u"(did not end)"_s};
    return lines;
}

} // namespace

Q_DECLARE_METATYPE(ChildExit)

void TestChildProcess::reportsHowAChildEnded_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<ChildExit>("exit");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("success") << u"exit 0"_s << ChildExit{ChildExit::Kind::exited, 0} << QStringList();
    QTest::newRow("status after words")
        << u"stderr no such machine; exit 3"_s << ChildExit{ChildExit::Kind::exited, 3}
        << QStringList{u"no such machine"_s};
    QTest::newRow("crash after words")
        << u"stderr about to fail; crash"_s << ChildExit{ChildExit::Kind::signalled, SIGABRT}
        << QStringList{u"about to fail"_s};
}

void TestChildProcess::reportsHowAChildEnded()
{
    QFETCH(const QString, script);
    ChildProcess child(scripted(script));
    QVERIFY(child.processIdentifier() > 0);
    QStringList lines;
    QList<ChildExit> exits;
    connect(&child, &ChildProcess::standardErrorLine, this, [&](const QString &line) {
        QVERIFY2(exits.isEmpty(), "a line came after the end");
        lines.append(line);
    });
    connect(&child, &ChildProcess::exited, this, [&](const ChildExit &exit) { exits.append(exit); });
    QTRY_COMPARE(exits.size(), 1);
    QVERIFY(!child.isRunning());
    QTEST(exits.first(), "exit");
    QTEST(*child.exit(), "exit");
    QTEST(lines, "lines");
    QVERIFY(outputOf(scripted(u"exit 0"_s)).isEmpty()); // a second report would have come by now
    QCOMPARE(exits.size(), 1);
}

void TestChildProcess::failsToLaunchWithAReadableText()
{
    const QTemporaryDir folder;
    const QString plainFile = folder.filePath(u"plain"_s);
    QVERIFY(QFile(plainFile).open(QIODevice::WriteOnly));
    const ProcessCensus before = ProcessCensus::take();

    const auto codeOf = [](const ChildProcess::LaunchOptions &options) {
        try {
            const ChildProcess child(options);
        } catch (const PlatformError &error) {
            const QString &path = error.path();
            return error.localizedDescription().contains(path) && !path.isEmpty() ? error.code() : -1;
        }
        return 0;
    };
    ChildProcess::LaunchOptions options;
    options.program = u"/nonexistent/qemu"_s;
    QCOMPARE(codeOf(options), ENOENT);
    options.program = plainFile;
    QCOMPARE(codeOf(options), EACCES);
    options = scripted(u"exit 0"_s);
    options.workingDirectory = u"/nonexistent"_s;
    QCOMPARE(codeOf(options), ENOENT);
    QCOMPARE(ProcessCensus::take(), before);
}

void TestChildProcess::startsTheChildInCleanSurroundings()
{
    const QTemporaryDir folder;
    // Without close-on-exec on purpose: libraries open descriptors like that.
    const UniqueDescriptor stray(::open("/dev/null", O_RDONLY)); // NOLINT(android-cloexec-open)
    ChildProcess::LaunchOptions options = scripted(u"report"_s);
    options.workingDirectory = folder.path();
    options.arguments += {u"with space"_s, u"quote\"'"_s, u"ü"_s, u""_s};
    QCOMPARE(outputOf(options),
             (QStringList{u"cwd="_s + folder.path(), u"leads its session=1"_s, u"ignores SIGPIPE=1"_s,
                          u"descriptors=0 1 2"_s, u"argument=with space"_s, u"argument=quote\"'"_s,
                          u"argument=ü"_s, u"argument="_s}));
}

void TestChildProcess::passesDescriptorsOn()
{
    int ends[2] = {-1, -1};
    QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const UniqueDescriptor ours(ends[0]);
    UniqueDescriptor theirs(ends[1]);
    ChildProcess::LaunchOptions options = scripted(u"pass-on hello; exit 0"_s);
    options.inheritedDescriptors = {theirs.get()};
    ChildProcess child(options);
    theirs.reset();
    QVERIFY(waitForExit(child));
    QByteArray received(16, '\0');
    received.truncate(::read(ours.get(), received.data(), 16));
    QCOMPARE(received, "hello"_ba);
    char more = 0;
    QCOMPARE(::read(ours.get(), &more, 1), 0); // the child's copy was the last one
}

void TestChildProcess::waitsWithATimeLimit()
{
    ChildProcess child(scripted(u"hang"_s));
    QVERIFY(!QCoro::waitFor(child.waitForExit(10ms)));
    QVERIFY(child.isRunning());
    child.kill();
    QVERIFY(waitForExit(child));
    QVERIFY(waitForExit(child)); // an end that is past is seen as well
}

void TestChildProcess::endsOrKillsWhenAsked()
{
    ChildProcess polite(scripted(u"hang"_s));
    polite.terminate();
    QVERIFY(waitForExit(polite));
    QCOMPARE(*polite.exit(), (ChildExit{ChildExit::Kind::signalled, SIGTERM}));
    polite.kill(); // nothing, above all not to a process that got the number since

    ChildProcess stubborn(scripted(u"ignore-term; stderr ready; hang"_s));
    QSignalSpy ready(&stubborn, &ChildProcess::standardErrorLine);
    QVERIFY(ready.wait(patience));
    stubborn.terminate();
    QVERIFY(!QCoro::waitFor(stubborn.waitForExit(50ms)));
    stubborn.kill();
    QVERIFY(waitForExit(stubborn));
    QCOMPARE(*stubborn.exit(), (ChildExit{ChildExit::Kind::signalled, SIGKILL}));
}

void TestChildProcess::keepsReadingWhileAChildFloods()
{
    ChildProcess child(scripted(u"stderr first; flood 100; stderr last; exit 0"_s));
    QStringList lines;
    connect(&child, &ChildProcess::standardErrorLine, this, [&](const QString &line) { lines.append(line); });
    const EventLoopBeat beat;
    QVERIFY(waitForExit(child));
    QCOMPARE(child.exit()->value, 0);
    QVERIFY(lines.size() <= BoundedLines::firstLineCount + 2);
    QCOMPARE(lines.first(), u"first"_s);
    QCOMPARE(lines.last(), u"last"_s);
    QCOMPARE(beat.complaint(EventLoopBeat::unnoticed), QString());
}

void TestChildProcess::leavesNoZombieOfAChildThatNobodyHolds()
{
    const ProcessCensus before = ProcessCensus::take();
    pid_t identifier = -1;
    {
        const ChildProcess child(scripted(u"stderr ready; flood 1; exit 0"_s));
        identifier = child.processIdentifier();
    }
    QCOMPARE(::kill(identifier, 0), 0); // destroying the object did not end it
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void TestChildProcess::survivesItsOwnEndDuringAWait()
{
    auto child = std::make_unique<ChildProcess>(scripted(u"hang"_s));
    const pid_t identifier = child->processIdentifier();
    bool ended = false;
    QCoro::connect(child->waitForExit(), this, [&](bool result) { ended = result; });
    child.reset();
    QCOMPARE(::kill(identifier, SIGKILL), 0);
    QTRY_VERIFY(ended);
}

void TestChildProcess::restsWhileATracerHoldsAnEndedChild()
{
    ChildProcess child(scripted(u"hide-end 3000; hang"_s));
    QSignalSpy lines(&child, &ChildProcess::standardErrorLine);
    QTRY_COMPARE(lines.size(), 1);
    if (lines.first().first().toString() != u"traced"_s)
        QSKIP("no process may be traced here");
    child.kill();
    int turns = 0;
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, &child, [&] { ++turns; });
    QVERIFY(!QCoro::waitFor(child.waitForExit(300ms)));
    QVERIFY2(turns < 100, qPrintable(QString::number(turns)));
    QVERIFY(QCoro::waitFor(child.waitForExit(30s)));
    QCOMPARE(*child.exit(), (ChildExit{ChildExit::Kind::signalled, SIGKILL}));
}

void TestChildProcess::leavesNothingBehindAfterManyChildren()
{
    (void)outputOf(scripted(u"exit 0"_s)); // what is made once and kept
    const ProcessCensus before = ProcessCensus::take();
    for (int i = 0; i < 200; ++i) {
        ChildProcess child(scripted(i % 2 == 0 ? u"hang"_s : u"stderr words; exit 1"_s));
        if (i % 2 == 0)
            child.terminate();
        QVERIFY(waitForExit(child));
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

KELVO_TEST_MAIN(TestChildProcess)
#include "tst_childprocess.moc"
