#include "Platform/Hypervisor/VZError.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/AppleVirtualizationController.h"
#include "support/Expectations.h"
#include "support/TestMain.h"

#include <QPointer>

using namespace Qt::StringLiterals;

class AppleVirtualizationControllerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_machine = nullptr; }
    void operationsFollowTheTable_data();
    void operationsFollowTheTable();
    void operationsNeverOverlap();
    void followsAGuestThatEndsUnasked();
    void startsUnconfiguredMachinesNever();
    void neverReplacesAMachineWithAGuest();
    void operationsEndWithTheController();

private:
    class ScriptedMachine;

    [[nodiscard]] static QCoro::Task<QString> begin(AppleVirtualizationController &controller,
                                                    const QString &word);
    /// Does `words`, one operation each; the outcome of the last one.
    [[nodiscard]] static QString perform(AppleVirtualizationController &controller, const QString &words);
    [[nodiscard]] std::unique_ptr<AppleVirtualizationController> makeController();

    QPointer<ScriptedMachine> m_machine;
};

/// Does nothing but answer: at once, with an error, or when it is told to.
class AppleVirtualizationControllerTest::ScriptedMachine final : public VZVirtualMachine
{
public:
    ScriptedMachine()
        : VZVirtualMachine(VZVirtualMachineConfiguration())
    {}
    ~ScriptedMachine() override
    {
        failing = held;
        release();
    }

    State guestState = State::stopped;
    QStringList calls;
    QString failing; ///< the call that completes with an error
    QString held;    ///< the call that waits for release()

    void release()
    {
        if (m_waiting)
            std::exchange(m_waiting, {})();
    }

    [[nodiscard]] State state() const override { return guestState; }
    void start(const VZVirtualMachineStartOptions &, const CompletionHandler &handler) override
    {
        answer(u"start"_s, handler);
    }
    void stop(const CompletionHandler &handler) override { answer(u"stop"_s, handler); }
    void pause(const CompletionHandler &handler) override { answer(u"pause"_s, handler); }
    void resume(const CompletionHandler &handler) override { answer(u"resume"_s, handler); }

private:
    void answer(const QString &call, const CompletionHandler &handler)
    {
        calls << call;
        m_waiting = [this, call, handler] {
            const VZError error(u"No "_s + call + u"."_s);
            handler(failing == call ? std::make_exception_ptr(error) : nullptr);
        };
        if (held != call)
            release();
    }

    std::function<void()> m_waiting;
};

std::unique_ptr<AppleVirtualizationController> AppleVirtualizationControllerTest::makeController()
{
    auto controller = std::make_unique<AppleVirtualizationController>(
        VMConfigurationBuilder(), [this](const VZVirtualMachineConfiguration &) {
            auto machine = std::make_unique<ScriptedMachine>();
            m_machine = machine.get();
            return machine;
        });
    controller->configure(VZVirtualMachineConfiguration());
    return controller;
}

QCoro::Task<QString> AppleVirtualizationControllerTest::begin(AppleVirtualizationController &controller,
                                                              const QString &word)
{
    return outcomeOf(word == "start"_L1   ? controller.start()
                     : word == "stop"_L1  ? controller.stop()
                     : word == "pause"_L1 ? controller.pause()
                                          : controller.resume());
}

QString AppleVirtualizationControllerTest::perform(AppleVirtualizationController &controller,
                                                   const QString &words)
{
    QString outcome;
    for (const QString &word : words.split(u' '))
        outcome = finish(begin(controller, word));
    return outcome;
}

void AppleVirtualizationControllerTest::operationsFollowTheTable_data()
{
    QTest::addColumn<QString>("operations");
    QTest::addColumn<QString>("failing");
    QTest::addColumn<QString>("outcome");
    QTest::addColumn<VMState>("state");
    using enum VMState;
    const QString none;
    QTest::newRow("a whole life") << u"start pause resume pause stop start"_s << none << none << running;
    QTest::newRow("start fails") << u"start"_s << u"start"_s << u"No start."_s << error;
    QTest::newRow("pause fails") << u"start pause"_s << u"pause"_s << u"No pause."_s << paused;
    QTest::newRow("resume fails") << u"start pause resume"_s << u"resume"_s << u"No resume."_s << paused;
    QTest::newRow("stop fails") << u"start stop"_s << u"stop"_s << u"No stop."_s << error;
    QTest::newRow("start twice") << u"start start"_s << none
                                 << u"Cannot start while virtual machine is running."_s << running;
    QTest::newRow("stop what is off")
        << u"stop"_s << none << u"Cannot stop while virtual machine is powered off."_s << poweredOff;
    QTest::newRow("pause what is off")
        << u"pause"_s << none << u"Cannot pause while virtual machine is powered off."_s << poweredOff;
    QTest::newRow("resume what runs")
        << u"start resume"_s << none << u"Cannot resume while virtual machine is running."_s << running;
}

void AppleVirtualizationControllerTest::operationsFollowTheTable()
{
    QFETCH(const QString, operations);
    QFETCH(const QString, failing);
    QFETCH(const QString, outcome);
    QFETCH(const VMState, state);
    const auto controller = makeController();
    m_machine->failing = failing;
    QCOMPARE(perform(*controller, operations).toLower(), outcome.toLower());
    QCOMPARE(controller->state(), state);
    const bool isRefused = outcome.startsWith(u"Cannot"_s);
    QCOMPARE(m_machine->calls.join(u' '), isRefused ? operations.section(u' ', 0, -2) : operations);
    // Nothing is still marked as busy.
    m_machine->failing.clear();
    QCOMPARE(perform(*controller, canStop(state) ? u"stop"_s : u"start"_s), QString());
}

void AppleVirtualizationControllerTest::operationsNeverOverlap()
{
    const QString busy = u"Another virtualization operation is already in progress."_s;
    const auto controller = makeController();
    for (const QString &held : {u"start"_s, u"pause"_s, u"resume"_s, u"stop"_s}) {
        m_machine->held = held;
        QCoro::Task<QString> first = begin(*controller, held);
        const VMState meanwhile = controller->state();
        QCOMPARE(perform(*controller, u"start"_s), busy);
        QCOMPARE(perform(*controller, u"stop"_s), busy);
        // The state is looked at before the busy mark.
        QCOMPARE(perform(*controller, u"pause"_s) == busy, meanwhile == VMState::running);
        QCOMPARE(perform(*controller, u"resume"_s) == busy, meanwhile == VMState::paused);
        QCOMPARE(controller->state(), meanwhile);
        m_machine->held.clear();
        m_machine->release();
        QCOMPARE(finish(std::move(first)), QString());
    }
    QCOMPARE(m_machine->calls.join(u' '), u"start pause resume stop"_s);
}

void AppleVirtualizationControllerTest::followsAGuestThatEndsUnasked()
{
    const auto controller = makeController();
    QStringList told;
    controller->onUnaskedChange([&told](const QString &reason) { told.append(reason); });
    for (const bool isError : {false, true}) {
        controller->configure(VZVirtualMachineConfiguration());
        QCOMPARE(perform(*controller, u"start"_s), QString());
        if (isError)
            controller->virtualMachineDidStopWithError(*m_machine, {u"Why."_s});
        else
            controller->guestDidStop(*m_machine);
        QCOMPARE(controller->state(), VMState::running); // only once the code that runs now is done
        QCoreApplication::processEvents();
        QCOMPARE(controller->state(), isError ? VMState::error : VMState::poweredOff);
        QVERIFY(DiagnosticLogger::shared().formattedLog().endsWith(isError ? u"VM stopped with error: Why."_s
                                                                           : u"Guest stopped"_s));
    }
    QCOMPARE(told, QStringList({QString(), u"Why."_s}));
}

void AppleVirtualizationControllerTest::startsUnconfiguredMachinesNever()
{
    AppleVirtualizationController controller;
    const QString refusal = u"Virtual machine configuration is invalid. Virtual machine is not configured."_s;
    QCOMPARE(perform(controller, u"start"_s), refusal);
    QCOMPARE(controller.state(), VMState::error);
    QVERIFY(DiagnosticLogger::shared().formattedLog().endsWith(u"VM lifecycle error: "_s + refusal));
}

void AppleVirtualizationControllerTest::neverReplacesAMachineWithAGuest()
{
    using State = VZVirtualMachine::State;
    const auto controller = makeController();
    const ScriptedMachine *machine = m_machine;
    for (const State state :
         {State::running, State::paused, State::starting, State::pausing, State::resuming, State::stopping}) {
        m_machine->guestState = state;
        QCOMPARE(errorTextOf([&] { controller->configure(VZVirtualMachineConfiguration()); }),
                 u"This virtual machine is already running."_s);
        QCOMPARE(m_machine.data(), machine);
    }
    m_machine->guestState = State::error;
    controller->configure(VZVirtualMachineConfiguration());
    QVERIFY(m_machine && m_machine != machine);
}

void AppleVirtualizationControllerTest::operationsEndWithTheController()
{
    auto controller = makeController();
    m_machine->held = u"start"_s;
    QCoro::Task<QString> start = outcomeOf(controller->start());
    controller.reset();
    QCOMPARE(finish(std::move(start)), u"No start."_s);
}

KELVO_TEST_MAIN(AppleVirtualizationControllerTest)
#include "tst_applevirtualizationcontroller.moc"
