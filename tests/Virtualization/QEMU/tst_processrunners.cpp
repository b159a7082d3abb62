#include "Platform/ChildProcess.h"
#include "Platform/FileUrl.h"
#include "Virtualization/QEMU/QEMUProcessRunner.h"
#include "Virtualization/QEMU/SWTPMProcessManager.h"
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
    void startsTheTPM();
    void removesWhatAnEarlierTPMLeft();
    void reportsTheEndOfQEMUAndEndsTheEarlierFirst();
};

namespace {

constexpr SWTPMTimeouts patientTPM = {.socket = 30s};

/// A folder with a scripted swtpm or emulator and a machine's files.
struct Stage
{
    explicit Stage(const QString &script, const QString &machineName = u"machine"_s)
        : program(folder.filePath(u"bin/swtpm"_s))
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

    QTemporaryDir folder;
    QString program;
    QString tpmDirectory;
    QString socket;
};

} // namespace

void TestProcessRunners::startsTheTPM()
{
    for (const auto &machineName : {u"Mein Gerät.vm"_s, u"one, two,,three.vm"_s}) {
        const Stage stage(u"note-start; open-socket; serve-tpm"_s, machineName);
        SWTPMProcessManager manager(patientTPM);
        QCOMPARE(stage.startTPM(manager), QString());
        QVERIFY(QFile::exists(stage.socket));
        const bool isRelative = machineName.contains(u',');
        const QString directory = isRelative ? u"."_s : stage.tpmDirectory;
        const QString socket = isRelative ? u"swtpm.sock"_s : stage.socket;
        const QStringList start = ScriptedChild::received(stage.program).value(0).split(u'|');
        QCOMPARE(start.mid(1), (QStringList{u"socket"_s, u"--tpm2"_s, u"--tpmstate"_s, u"dir="_s + directory,
                                            u"--ctrl"_s, u"type=unixio,path="_s + socket}));
        QCoro::waitFor(manager.stop());
        QCOMPARE(ProcessCensus::take().children, 0);
    }
}

void TestProcessRunners::removesWhatAnEarlierTPMLeft()
{
    for (const bool isAlive : {false, true}) { // only its file is left, or nobody owns it any more
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
        QVERIFY(QFile::exists(stage.socket));
        QCoro::waitFor(manager.stop());
    }
}

void TestProcessRunners::reportsTheEndOfQEMUAndEndsTheEarlierFirst()
{
    const ProcessCensus before = ProcessCensus::take();
    const Stage stage(u"note-start; hang"_s);
    QEMUProcessRunner runner;
    QList<qint32> statuses;
    runner.onTermination([&](qint32 status) { statuses.append(status); });
    const auto start = [&] {
        QCoro::waitFor(runner.start(FileUrl::file(stage.program), {u"-name"_s, u"a b"_s},
                                    FileUrl::directory(stage.folder.path())));
    };
    start();
    const QString folder = QFileInfo(stage.folder.path()).canonicalFilePath();
    QTRY_COMPARE(ScriptedChild::received(stage.program), QStringList{folder + u"|-name|a b"_s});
    start();
    QCOMPARE(statuses, QList<qint32>{SIGTERM});
    QCOMPARE(ProcessCensus::take().children, before.children + 2); // and who waits to listen to it
    QCoro::waitFor(runner.stop());
    QVERIFY(!runner.isRunning());

    ScriptedChild::install(stage.program, u"exit 7"_s);
    start();
    QTRY_COMPARE(statuses, (QList<qint32>{SIGTERM, SIGTERM, 7}));
    QCoro::waitFor(runner.stop()); // of one that has ended: nothing
    QTRY_COMPARE(ProcessCensus::take(), before);
}

KELVO_TEST_MAIN(TestProcessRunners)
#include "tst_processrunners.moc"
