#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/Hypervisor/EmulatorInstallation.h"
#include "Platform/Hypervisor/EmulatorSession.h"
#include "guest/GuestBundle.h"
#include "support/EventLoopBeat.h"
#include "support/Expectations.h"
#include "support/ProcessCensus.h"
#include "support/ScriptedChild.h"
#include "support/TestMain.h"

#include <sys/syscall.h>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class EmulatorSessionTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void copesWithAnyEmulator_data();
    void copesWithAnyEmulator();
    void endsAGuestThatTheHostCannotRun();
    void clearsAwayWhatOthersHaveStarted();
};

namespace {

constexpr EmulatorTimeouts patient = {.boot = 60s, .quit = 20s, .kill = 30s, .answer = 60s, .poll = 1h};
/// For emulators that answer late or never.
constexpr EmulatorTimeouts hurried = {.boot = 300ms, .quit = 200ms, .kill = 30s, .answer = 1s, .poll = 1h};

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

    void setStatus(const QByteArray &status) const
    {
        FileManager::defaultManager().writeAtomically(m_emulator + u".status"_s, status);
    }

    /// As another application has it.
    [[nodiscard]] std::unique_ptr<EmulatorSession> adopt() const
    {
        const pid_t emulator = session->processIdentifiers().constFirst();
        UniqueDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, emulator, 0)));
        return std::make_unique<EmulatorSession>(
            m_bundle.configuration, std::make_shared<ChildProcess>(std::move(process), emulator), hurried);
    }

    [[nodiscard]] bool hasSocket() const
    {
        return QFile::exists(FileUrl::path(m_bundle.configuration.controlSocket));
    }

    std::unique_ptr<EmulatorSession> session;
    int ends = 0;

private:
    QTemporaryDir m_folder;
    GuestBundle m_bundle;
    QString m_emulator;
};

} // namespace

void EmulatorSessionTest::copesWithAnyEmulator_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QStringList>("outcomes"); // of booting, and then of pausing and resuming
    const auto row = [](const char *name, const QString &script, const QStringList &outcomes) {
        QTest::newRow(name) << script << outcomes;
    };
    row("refuses its arguments", u"stderr no such machine; exit 1"_s, {u"no such machine"_s});
    row("exits without a word", u"exit 3"_s, {u"The emulator ended with exit status 3."_s});
    row("crashes after many words", u"flood 100; stderr out of memory; crash"_s, {u"out of memory"_s});
    row("crashes when it is to run", u"serve-qmp 2; crash"_s, {u"The emulator was killed by signal 6."_s});
    row("ignores everything", u"ignore-term; hang"_s, {silent});
    row("rubbish", u"serve-qmp 1; send rubbish; hang"_s, {silent});
    row("closes the connection", u"serve-qmp 1; shut; hang"_s, {silent});

    const QString booted = u"serve-qmp 3; "_s; // qmp_capabilities, cont, query-status
    row("does everything", u"serve-qmp 100"_s, {QString(), QString(), QString()});
    row("hangs while it runs", booted + u"ignore-term; hang"_s, {QString(), silent, silent});
    row("crashes when it is to pause", booted + u"accept; read-line; crash"_s,
        {QString(), u"The emulator ended."_s, u"The emulator cannot be reached."_s});
    row("floods the control connection",
        booted + uR"(accept; repeat {"event": "E"}; accept; repeat {"event": "E"}; hang)"_s,
        {QString(), silent, silent});
    row("floods standard error", u"serve-qmp 5; flood 100000"_s, {QString(), QString(), silent});
}

/// Booting, pausing and resuming fail in time and say why, and it can always be ended.
void EmulatorSessionTest::copesWithAnyEmulator()
{
    QFETCH(const QString, script);
    QFETCH(const QStringList, outcomes);
    EmulatorTimeouts timeouts = outcomes.contains(silent) ? hurried : patient;
    if (outcomes.first() != silent)
        timeouts.boot = patient.boot;
    const ProcessCensus before = ProcessCensus::take();
    {
        const EventLoopBeat beat;
        Stage stage(script, timeouts);
        QStringList actual = {QCoro::waitFor(outcomeOf(stage.session->boot()))};
        if (actual.first().isEmpty()) {
            actual.append(QCoro::waitFor(outcomeOf(stage.session->pause())));
            if (actual.last() == u"The emulator ended."_s)
                QTRY_COMPARE(stage.ends, 1); // its socket outlives the conversation by a moment
            actual.append(QCoro::waitFor(outcomeOf(stage.session->resume())));
            QCoro::waitFor(stage.session->quit());
        }
        QCOMPARE(actual, outcomes);
        QCOMPARE(beat.complaint(EventLoopBeat::unnoticedWithLaunch), QString());
        QTRY_COMPARE(stage.ends, 1);
        QTRY_COMPARE(ProcessCensus::take().children, before.children); // what reads its log, too
    }
    QTRY_COMPARE(ProcessCensus::take(), before);
}

void EmulatorSessionTest::endsAGuestThatTheHostCannotRun()
{
    EmulatorTimeouts timeouts = patient;
    timeouts.poll = 10ms;
    const QString words = u"error: kvm run failed Bad address"_s;
    Stage stage(u"stderr "_s + words + u"; stderr PC=0000000040000000; serve-qmp"_s, timeouts);
    QList<EmulatorStatus::Guest> seen;
    connect(stage.session.get(), &EmulatorSession::statusSeen, this,
            [&](const EmulatorStatus &status) { seen.append(status.guest); });
    QCOMPARE(QCoro::waitFor(outcomeOf(stage.session->boot())), QString());
    QTRY_COMPARE(seen.value(0), EmulatorStatus::Guest::running);
    stage.setStatus("internal-error");
    QTRY_COMPARE(stage.ends, 1);
    QCOMPARE(stage.session->endReason(), std::optional(words));

    Stage refused(u"stderr "_s + words + u"; stderr PC=0000000040000000; serve-qmp"_s, timeouts);
    refused.setStatus("internal-error");
    QCOMPARE(QCoro::waitFor(outcomeOf(refused.session->boot())), words);
}

/// Also where nobody waits until the reason of its end is known.
void EmulatorSessionTest::clearsAwayWhatOthersHaveStarted()
{
    for (const bool isKilled : {false, true}) {
        Stage stage(u"serve-qmp 3; ignore-term; hang"_s, patient);
        QCOMPARE(QCoro::waitFor(outcomeOf(stage.session->boot())), QString());
        const pid_t emulator = stage.session->processIdentifiers().constFirst();
        std::unique_ptr<EmulatorSession> adopted = stage.adopt();
        stage.session.reset();
        QVERIFY(stage.hasSocket());
        if (isKilled)
            ::kill(emulator, SIGKILL);
        QCoro::waitFor(adopted->quit());
        adopted.reset();
        QVERIFY(!stage.hasSocket());
    }
}

KELVO_TEST_MAIN(EmulatorSessionTest)
#include "tst_emulatorsession.moc"
