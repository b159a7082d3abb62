#include "Platform/BoundedLines.h"
#include "Platform/ChildProcess.h"
#include "Platform/Emulator/EmulatorLog.h"
#include "Platform/PlatformError.h"
#include "Platform/UniqueDescriptor.h"
#include "support/ProcessCensus.h"
#include "support/ScriptedChild.h"
#include "support/TestMain.h"

#include <QAbstractEventDispatcher>
#include <QCoroTask>
#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// ChildProcess, BoundedLines, which it reads a child's words with, and EmulatorLog.
class TestChildProcess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void failsToLaunchWithAReadableText();
    void startsTheChildInCleanSurroundings();
    void endsOrKillsWhenAsked();
    void leavesNoZombieOfAChildThatNobodyHolds();
    void survivesItsOwnEndDuringAWait();
    void restsWhileATracerHoldsAnEndedChild();
    void keepsTheLastWordsOfAChildThatOutlivesUs();
    void cutsWordsIntoLinesWhereverTheyAreSplit();
    void letsTheFirstAndTheNewestLinesThrough();
    void keepsLittleOfAnEndlessLine();
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

} // namespace

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
            const bool saysWhat = error.localizedDescription().contains(u"/nonexistent"_s) ||
                                  error.localizedDescription().contains(options.program);
            return saysWhat ? error.code() : -1;
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
    ChildProcess child(options);
    QStringList report;
    connect(&child, &ChildProcess::standardErrorLine, this, [&](const QString &line) { report << line; });
    QVERIFY(waitForExit(child));
    QCOMPARE(report, (QStringList{folder.path() + u"|with space|quote\"'|ü|"_s, u"leads its session=1"_s,
                                  u"ignores SIGPIPE=1"_s, u"descriptors=0 1 2"_s}));
}

void TestChildProcess::endsOrKillsWhenAsked()
{
    ChildProcess polite(scripted(u"hang"_s));
    polite.terminate();
    QVERIFY(waitForExit(polite));
    QCOMPARE(*polite.exit(), (ChildExit{ChildExit::Kind::signalled, SIGTERM}));
    polite.kill();                // nothing, above all not to a process that got the number since
    QVERIFY(waitForExit(polite)); // an end that is past is seen as well

    ChildProcess stubborn(scripted(u"ignore-term; stderr ready; hang"_s));
    QSignalSpy ready(&stubborn, &ChildProcess::standardErrorLine);
    QVERIFY(ready.wait(patience));
    stubborn.terminate();
    QVERIFY(!QCoro::waitFor(stubborn.waitForExit(50ms)));
    stubborn.kill();
    QVERIFY(waitForExit(stubborn));
    QCOMPARE(*stubborn.exit(), (ChildExit{ChildExit::Kind::signalled, SIGKILL}));
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

void TestChildProcess::keepsTheLastWordsOfAChildThatOutlivesUs()
{
    const QTemporaryDir folder;
    const QByteArray gate = QFile::encodeName(folder.filePath(u"gate"_s));
    QCOMPARE(::mkfifo(gate.constData(), 0600), 0);
    const QString file = folder.filePath(EmulatorLog::fileName);
    for (const QString &words : {u"yes flood | head -n 200000"_s, u"true"_s}) {
        const pid_t application = ::fork();
        if (application == 0) {
            ChildProcess::LaunchOptions options;
            options.program = u"/bin/sh"_s;
            options.arguments = {u"-c"_s, u"read x <gate; { %1; echo last words; } >&2"_s.arg(words)};
            options.workingDirectory = folder.path();
            try {
                ChildProcess child(options);
                ::_exit(EmulatorLog::keep(child, folder.path()) ? EXIT_SUCCESS : EXIT_FAILURE);
            } catch (const PlatformError &) {
                ::_exit(EXIT_FAILURE);
            }
        }
        int status = -1;
        QCOMPARE(::waitpid(application, &status, 0), application);
        QCOMPARE(status, 0);
        QCOMPARE(EmulatorLog::lastLine(folder.path()), QString()); // none of another run
        UniqueDescriptor(::open(gate.constData(), O_WRONLY | O_CLOEXEC));
        QTRY_COMPARE(EmulatorLog::lastLine(folder.path()), u"last words"_s);
        QCOMPARE(QFileInfo(file).size(), words == "true"_L1 ? 11 : EmulatorLog::maximumBytes);
    }
}

void TestChildProcess::cutsWordsIntoLinesWhereverTheyAreSplit()
{
    const QByteArray stream = u"\n one\r\n\r\n\nGrüße\ntwo"_s.toUtf8();
    for (qsizetype step = 1; step <= stream.size(); ++step) {
        BoundedLines lines;
        QStringList reported;
        for (qsizetype at = 0; at < stream.size(); at += step)
            reported += lines.append(stream.mid(at, step));
        reported += lines.finish();
        QCOMPARE(reported, QStringList({u"one"_s, u"Grüße"_s, u"two"_s}));
    }
}

void TestChildProcess::letsTheFirstAndTheNewestLinesThrough()
{
    BoundedLines lines;
    QStringList reported;
    for (int i = 1; i <= 5000; ++i)
        reported += lines.append("line " + QByteArray::number(i) + '\n');
    QCOMPARE(reported.size(), BoundedLines::firstLineCount);
    QCOMPARE(reported.last(), u"line 20"_s);
    QCOMPARE(lines.finish(), (QStringList{u"(4979 lines left out)"_s, u"line 5000"_s}));
}

void TestChildProcess::keepsLittleOfAnEndlessLine()
{
    BoundedLines lines;
    const QByteArray block(65536, 'x');
    for (int i = 0; i < 100; ++i)
        QVERIFY(lines.append(block).isEmpty());
    QCOMPARE(lines.append("\nnext\n"),
             (QStringList{QString(BoundedLines::maximumLineBytes, u'x'), u"next"_s}));
}

KELVO_TEST_MAIN(TestChildProcess)
#include "tst_childprocess.moc"
