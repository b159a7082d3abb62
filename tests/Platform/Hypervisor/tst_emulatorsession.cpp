#include "Platform/Hypervisor/EmulatorInstallation.h"
#include "Platform/Hypervisor/EmulatorSession.h"
#include "guest/GuestBundle.h"
#include "support/EventLoopBeat.h"
#include "support/Expectations.h"
#include "support/ProcessCensus.h"
#include "support/ScriptedChild.h"
#include "support/TestMain.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class EmulatorSessionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void saysWhyItDidNotBoot_data();
    void saysWhyItDidNotBoot();
    void copesWithAnEmulatorThatFails_data();
    void copesWithAnEmulatorThatFails();
};

namespace {

constexpr EmulatorTimeouts patient = {.boot = 60s, .quit = 20s, .kill = 30s, .answer = 60s};
/// For emulators that answer late or never.
constexpr EmulatorTimeouts hurried = {.boot = 300ms, .quit = 200ms, .kill = 30s, .answer = 1s};

const QString silent = u"The emulator does not answer."_s;

/// A machine whose emulator follows a script.
class Stage
{
public:
    Stage(const QString &script, const EmulatorTimeouts &timeouts)
        : m_emulator(m_folder.filePath(u"emulator"_s))
    {
        ScriptedChild::install(m_emulator, script);
        session = std::make_unique<EmulatorSession>(
            m_bundle.configuration, EmulatorInstallation{.emulator = m_emulator, .firmwareCode = u"/code"_s},
            timeouts);
        QObject::connect(session.get(), &EmulatorSession::ended, session.get(), [this] { ++ends; });
    }

    std::unique_ptr<EmulatorSession> session;
    int ends = 0;

private:
    QTemporaryDir m_folder;
    GuestBundle m_bundle;
    QString m_emulator;
};

QString boot(Stage &stage)
{
    return QCoro::waitFor(outcomeOf(stage.session->boot()));
}

} // namespace

void EmulatorSessionTest::saysWhyItDidNotBoot_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<bool>("mustTimeOut");
    QTest::addColumn<QString>("failure");
    QTest::newRow("refuses its arguments")
        << u"stderr no such machine; exit 1"_s << false << u"no such machine"_s;
    QTest::newRow("exits without a word")
        << u"exit 3"_s << false << u"The emulator ended with exit status 3."_s;
    QTest::newRow("crashes") << u"serve-control 1; crash"_s << false
                             << u"The emulator was killed by signal 6."_s;
    QTest::newRow("crashes after many words")
        << u"flood 100; stderr out of memory; crash"_s << false << u"out of memory"_s;
    QTest::newRow("crashes when it is to run")
        << u"serve-control 2; crash"_s << false << u"The emulator was killed by signal 6."_s;
    QTest::newRow("never answers") << u"hang"_s << true << silent;
    QTest::newRow("ignores everything") << u"ignore-term; serve-control 1; hang"_s << true << silent;
    QTest::newRow("rubbish") << u"serve-control 0; send rubbish; hang"_s << true << silent;
    QTest::newRow("half a line") << u"serve-control 0; send-part {\"return\"; hang"_s << true << silent;
    QTest::newRow("100 MB on a line") << u"serve-control 0; endless-line 100; hang"_s << true << silent;
    QTest::newRow("closes the connection") << u"serve-control 1; shut; hang"_s << true << silent;
}

void EmulatorSessionTest::saysWhyItDidNotBoot()
{
    QFETCH(const QString, script);
    QFETCH(const bool, mustTimeOut);
    const ProcessCensus before = ProcessCensus::take();
    {
        const EventLoopBeat beat;
        Stage stage(script, mustTimeOut ? hurried : patient);
        QTEST(boot(stage), "failure");
        QCOMPARE(beat.complaint(EventLoopBeat::unnoticedWithLaunch), QString());
        QTRY_COMPARE(stage.ends, 1);
        QCOMPARE(ProcessCensus::take().children, before.children);
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void EmulatorSessionTest::copesWithAnEmulatorThatFails_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("pauseFailure");
    QTest::addColumn<QString>("resumeFailure");
    const QString booted = u"serve-control 3; "_s; // qmp_capabilities, cont, query-status
    const QString gone = u"The emulator cannot be reached."_s;
    QTest::newRow("does everything") << u"serve-control 100"_s << QString() << QString();
    QTest::newRow("hangs while it runs") << booted + u"ignore-term; hang"_s << silent << silent;
    QTest::newRow("hangs while it is paused") << u"serve-control 4; hang"_s << QString() << silent;
    QTest::newRow("crashes when it is to pause")
        << booted + u"read-line; crash"_s << u"The emulator ended."_s << gone;
    QTest::newRow("crashes when it is to resume")
        << u"serve-control 4; read-line; read-line; crash"_s << QString() << u"The emulator ended."_s;
    QTest::newRow("talks rubbish while it runs")
        << booted + u"read-line; send rubbish; hang"_s << u"The emulator ended."_s << gone;
    QTest::newRow("floods the control connection")
        << booted + uR"(repeat {"event": "E"})"_s << silent << silent;
    QTest::newRow("floods standard error") << u"serve-control 4; flood 100000"_s << QString() << silent;
}

/// Pause and resume fail in time and say why, and it can always be ended.
void EmulatorSessionTest::copesWithAnEmulatorThatFails()
{
    QFETCH(const QString, script);
    QFETCH(const QString, pauseFailure);
    QFETCH(const QString, resumeFailure);
    const bool mustTimeOut = pauseFailure == silent || resumeFailure == silent;
    EmulatorTimeouts timeouts = hurried;
    timeouts.boot = patient.boot;
    timeouts.answer = mustTimeOut ? hurried.answer : patient.answer;
    const ProcessCensus before = ProcessCensus::take();
    {
        const EventLoopBeat beat;
        Stage stage(script, timeouts);
        QCOMPARE(boot(stage), QString());
        QCOMPARE(QCoro::waitFor(outcomeOf(stage.session->pause())), pauseFailure);
        QCOMPARE(QCoro::waitFor(outcomeOf(stage.session->resume())), resumeFailure);
        QCoro::waitFor(stage.session->quit());
        QCOMPARE(beat.complaint(EventLoopBeat::unnoticedWithLaunch), QString());
        QTRY_COMPARE(stage.ends, 1);
        QCOMPARE(ProcessCensus::take().children, before.children);
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

KELVO_TEST_MAIN(EmulatorSessionTest)
#include "tst_emulatorsession.moc"
