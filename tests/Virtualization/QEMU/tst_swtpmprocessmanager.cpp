#include "Platform/ChildProcess.h"
#include "Platform/FileUrl.h"
#include "Virtualization/QEMU/SWTPMProcessManager.h"
#include "support/Expectations.h"
#include "support/ScriptedChild.h"
#include "support/TestMain.h"

#include <QDir>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class TestSWTPMProcessManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void removesWhatAnEarlierTPMLeft();
};

namespace {

/// A folder with a scripted swtpm and a machine's files.
struct Stage
{
    explicit Stage(const QString &script)
        : program(folder.filePath(u"bin/swtpm"_s))
        , tpmDirectory(folder.filePath(u"machine/tpm"_s))
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

void TestSWTPMProcessManager::removesWhatAnEarlierTPMLeft()
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

        SWTPMProcessManager manager({.socket = 30s});
        QCOMPARE(stage.startTPM(manager), QString());
        QVERIFY(QCoro::waitFor(stray.waitForExit(30s)));
        QVERIFY(QFile::exists(stage.socket));
        QCoro::waitFor(manager.stop());
    }
}

KELVO_TEST_MAIN(TestSWTPMProcessManager)
#include "tst_swtpmprocessmanager.moc"
