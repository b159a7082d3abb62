#include "Platform/ChildProcess.h"
#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/QEMU/QEMUProcessRunner.h"
#include "Virtualization/QEMU/SWTPMProcessManager.h"
#include "support/EventLoopBeat.h"
#include "support/Expectations.h"
#include "support/ProcessCensus.h"
#include "support/ScriptedChild.h"
#include "support/TestMain.h"

#include <QDir>
#include <QTemporaryDir>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

/// QEMUProcessRunner and SWTPMProcessManager over scripted programs.
class TestProcessRunners : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void startsTheTPM_data();
    void startsTheTPM();
    void removesWhatAnEarlierTPMLeft_data();
    void removesWhatAnEarlierTPMLeft();
    void reportsTheEndOfQEMU_data();
    void reportsTheEndOfQEMU();
    void endsTheEarlierQEMUFirst();
    void stopsQEMU();
};

namespace {

constexpr SWTPMTimeouts patientTPM = {.socket = 30s};

/// A folder with a scripted swtpm or emulator and a machine's files.
struct Stage
{
    explicit Stage(const QString &script, const QString &machineName = u"machine"_s)
        : program(folder.filePath(u"bin/child"_s))
        , tpmDirectory(folder.filePath(machineName + u"/tpm"_s))
        , socket(tpmDirectory + u"/swtpm.sock"_s)
    {
        ScriptedChild::install(program, script);
    }

    [[nodiscard]] QString startTPM(SWTPMProcessManager &manager) const
    {
        return QCoro::waitFor(outcomeOf(
            manager.start(FileUrl::directory(tpmDirectory), FileUrl::file(socket), FileUrl::file(program))));
    }

    void startQEMU(QEMUProcessRunner &runner) const
    {
        QCoro::waitFor(
            runner.start(FileUrl::file(program), {u"-name"_s, u"a b"_s}, FileUrl::directory(folder.path())));
    }

    QTemporaryDir folder;
    QString program;
    QString tpmDirectory;
    QString socket;
};

QString log()
{
    return DiagnosticLogger::shared().formattedLog();
}

} // namespace

void TestProcessRunners::init()
{
    DiagnosticLogger::shared().clear();
}

void TestProcessRunners::startsTheTPM_data()
{
    QTest::addColumn<QString>("machineName");
    QTest::newRow("plain") << u"machine.vm"_s;
    QTest::newRow("blanks and umlauts") << u"Mein Gerät.vm"_s;
    QTest::newRow("commas") << u"one, two,,three.vm"_s;
}

void TestProcessRunners::startsTheTPM()
{
    QFETCH(const QString, machineName);
    const ProcessCensus before = ProcessCensus::take();
    {
        const Stage stage(u"note-start; open-socket; serve-tpm"_s, machineName);
        SWTPMProcessManager manager(patientTPM);
        QCOMPARE(stage.startTPM(manager), QString());
        QVERIFY(QFile::exists(stage.socket));
        QVERIFY(log().endsWith(u"swtpm started for tpm"_s));

        const bool isRelative = machineName.contains(u',');
        const QString directory = isRelative ? u"."_s : stage.tpmDirectory;
        const QString socket = isRelative ? u"swtpm.sock"_s : stage.socket;
        const QStringList start = ScriptedChild::received(stage.program).value(0).split(u'|');
        QCOMPARE(start.mid(1), (QStringList{u"socket"_s, u"--tpm2"_s, u"--tpmstate"_s, u"dir="_s + directory,
                                            u"--ctrl"_s, u"type=unixio,path="_s + socket}));
        QCoro::waitFor(manager.stop());
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void TestProcessRunners::removesWhatAnEarlierTPMLeft_data()
{
    QTest::addColumn<bool>("isAlive");
    QTest::newRow("a file") << false;
    QTest::newRow("a process that nobody owns any more") << true;
}

void TestProcessRunners::removesWhatAnEarlierTPMLeft()
{
    QFETCH(const bool, isAlive);
    const Stage stage(u"open-socket; serve-tpm"_s);
    const Stage earlier(u"open-socket "_s + stage.socket + (isAlive ? u"; serve-tpm"_s : u"; exit 0"_s));
    QVERIFY(QDir().mkpath(stage.tpmDirectory));
    ChildProcess::LaunchOptions options;
    options.program = earlier.program;
    ChildProcess stray(options);
    QTRY_VERIFY(QFile::exists(stage.socket));
    if (!isAlive)
        QVERIFY(QCoro::waitFor(stray.waitForExit(30s)));

    SWTPMProcessManager manager(patientTPM);
    QCOMPARE(stage.startTPM(manager), QString());
    QVERIFY(QCoro::waitFor(stray.waitForExit(30s)));
    QCOMPARE(ScriptedChild::received(earlier.program), isAlive ? QStringList{u"shutdown"_s} : QStringList());
    QVERIFY(QFile::exists(stage.socket));
    QCoro::waitFor(manager.stop());
}

void TestProcessRunners::reportsTheEndOfQEMU_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<qint32>("status");
    QTest::newRow("exit status") << u"exit 7"_s << 7;
    QTest::newRow("signal") << u"crash"_s << SIGABRT;
    QTest::newRow("after many words") << u"flood 2; stderr the reason; exit 1"_s << 1;
}

void TestProcessRunners::reportsTheEndOfQEMU()
{
    QFETCH(const QString, script);
    const Stage stage(u"note-start;"_s + script);
    QEMUProcessRunner runner;
    QList<qint32> statuses;
    runner.onTermination([&](qint32 status) { statuses.append(status); });
    stage.startQEMU(runner);
    QVERIFY(log().contains(u"QEMU started: child"_s));
    QTRY_COMPARE(statuses.size(), 1);
    QTEST(statuses.first(), "status");
    QVERIFY(!runner.isRunning());
    const QString folder = QFileInfo(stage.folder.path()).canonicalFilePath();
    QCOMPARE(ScriptedChild::received(stage.program), QStringList{folder + u"|-name|a b"_s});
    if (script.startsWith(u"flood")) {
        QVERIFY2(log().endsWith(u"child: the reason"_s), qPrintable(log()));
        QVERIFY(log().count(u'\n') < 30);
    }
    QCoro::waitFor(runner.stop()); // of one that has ended: nothing
    QCOMPARE(statuses.size(), 1);
}

void TestProcessRunners::endsTheEarlierQEMUFirst()
{
    const ProcessCensus before = ProcessCensus::take();
    const Stage stage(u"hang"_s);
    QEMUProcessRunner runner;
    QList<qint32> statuses;
    runner.onTermination([&](qint32 status) { statuses.append(status); });
    stage.startQEMU(runner);
    stage.startQEMU(runner);
    QCOMPARE(statuses, QList<qint32>{SIGTERM});
    QCOMPARE(ProcessCensus::take().children, before.children + 1);
    QCoro::waitFor(runner.stop());
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void TestProcessRunners::stopsQEMU()
{
    const Stage stage(u"ignore-term; note ready; hang"_s);
    const auto isReady = [&](int count) {
        return ScriptedChild::received(stage.program).size() == count;
    };
    QEMUProcessRunner runner(100ms);
    QList<qint32> statuses;
    runner.onTermination([&](qint32 status) { statuses.append(status); });
    stage.startQEMU(runner);
    QTRY_VERIFY(isReady(1));
    const EventLoopBeat beat;
    QCoro::waitFor(runner.stop());
    QCOMPARE(beat.complaint(EventLoopBeat::unnoticed), QString());
    QVERIFY2(log().contains(u"[WARN]"_s) && log().contains(u"QEMU did not end"_s), qPrintable(log()));
    QVERIFY(!runner.isRunning());

    stage.startQEMU(runner);
    QTRY_VERIFY(isReady(2));
    QCoro::waitFor(runner.forceStop());
    QVERIFY(!runner.isRunning());
    QCOMPARE(statuses, (QList<qint32>{SIGKILL, SIGKILL}));
    QCoro::waitFor(runner.forceStop());
}

KELVO_TEST_MAIN(TestProcessRunners)
#include "tst_processrunners.moc"
