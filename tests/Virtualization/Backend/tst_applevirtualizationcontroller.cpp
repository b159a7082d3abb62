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
    void followsAGuestThatEndsUnasked_data();
    void followsAGuestThatEndsUnasked();
    void startsUnconfiguredMachinesNever();
    void neverReplacesAMachineWithAGuest();
    void operationsEndWithTheController();

private:
    class ScriptedMachine;

    /// Does `words`, one operation each; the outcome of the last one.
    [[nodiscard]] QString perform(AppleVirtualizationController &controller, const QString &words);
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
    VZVirtualMachineDelegate *told = nullptr;

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
            const VZError error(VZError::Case::internalError, u"No "_s + call + u"."_s);
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

QString AppleVirtualizationControllerTest::perform(AppleVirtualizationController &controller,
                                                   const QString &words)
{
    QString outcome;
    for (const QString &word : words.split(u' ', Qt::SkipEmptyParts)) {
        QCoro::Task<> operation = word == "start"_L1   ? controller.start()
                                  : word == "stop"_L1  ? controller.stop()
                                  : word == "pause"_L1 ? controller.pause()
                                                       : controller.resume();
        outcome = finish(outcomeOf(std::move(operation)));
    }
    return outcome;
}

void AppleVirtualizationControllerTest::operationsFollowTheTable_data()
{
    QTest::addColumn<QString>("operations");
    QTest::addColumn<QString>("failing");
    QTest::addColumn<QString>("outcome");
    QTest::addColumn<VMState>("state");
    QTest::addColumn<QString>("calls");
    QTest::addColumn<QString>("lastLine");
    using enum VMState;
    const QString none;
    QTest::newRow("start") << u"start"_s << none << none << running << u"start"_s << u"VM running"_s;
    QTest::newRow("start fails") << u"start"_s << u"start"_s << u"No start."_s << error << u"start"_s
                                 << u"VM lifecycle error: No start."_s;
    QTest::newRow("pause fails") << u"start pause"_s << u"pause"_s << u"No pause."_s << paused
                                 << u"start pause"_s << u"VM running"_s;
    QTest::newRow("pause") << u"start pause"_s << none << none << paused << u"start pause"_s
                           << u"VM paused"_s;
    QTest::newRow("resume") << u"start pause resume"_s << none << none << running << u"start pause resume"_s
                            << u"VM resumed"_s;
    QTest::newRow("resume fails") << u"start pause resume"_s << u"resume"_s << u"No resume."_s << paused
                                  << u"start pause resume"_s << u"VM paused"_s;
    QTest::newRow("stop") << u"start stop"_s << none << none << poweredOff << u"start stop"_s
                          << u"VM stopped"_s;
    QTest::newRow("stop while paused")
        << u"start pause stop"_s << none << none << poweredOff << u"start pause stop"_s << u"VM stopped"_s;
    QTest::newRow("stop fails") << u"start stop"_s << u"stop"_s << u"No stop."_s << error << u"start stop"_s
                                << u"VM lifecycle error: No stop."_s;
    QTest::newRow("start again") << u"start stop start"_s << none << none << running << u"start stop start"_s
                                 << u"VM running"_s;
    QTest::newRow("start twice") << u"start start"_s << none
                                 << u"Cannot start while virtual machine is running."_s << running
                                 << u"start"_s << u"VM running"_s;
    QTest::newRow("stop what is off")
        << u"stop"_s << none << u"Cannot stop while virtual machine is powered off."_s << poweredOff << none
        << none;
    QTest::newRow("pause what is off")
        << u"pause"_s << none << u"Cannot pause while virtual machine is powered off."_s << poweredOff << none
        << none;
    QTest::newRow("resume what runs")
        << u"start resume"_s << none << u"Cannot resume while virtual machine is running."_s << running
        << u"start"_s << u"VM running"_s;
}

void AppleVirtualizationControllerTest::operationsFollowTheTable()
{
    QFETCH(const QString, operations);
    QFETCH(const QString, failing);
    QFETCH(const QString, outcome);
    QFETCH(const VMState, state);
    QFETCH(const QString, calls);
    QFETCH(const QString, lastLine);
    const auto controller = makeController();
    m_machine->failing = failing;
    QCOMPARE(perform(*controller, operations).toLower(), outcome.toLower());
    QCOMPARE(controller->state(), state);
    QCOMPARE(m_machine->calls.join(u' '), calls);
    QVERIFY(DiagnosticLogger::shared().formattedLog().endsWith(lastLine));
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
        QCoro::Task<QString> first = outcomeOf(held == "start"_L1    ? controller->start()
                                               : held == "pause"_L1  ? controller->pause()
                                               : held == "resume"_L1 ? controller->resume()
                                                                     : controller->stop());
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

void AppleVirtualizationControllerTest::followsAGuestThatEndsUnasked_data()
{
    QTest::addColumn<QString>("operations");
    QTest::addColumn<bool>("isError");
    QTest::newRow("shut down") << u"start"_s << false;
    QTest::newRow("failed") << u"start"_s << true;
    QTest::newRow("failed while paused") << u"start pause"_s << true;
}

void AppleVirtualizationControllerTest::followsAGuestThatEndsUnasked()
{
    QFETCH(const QString, operations);
    QFETCH(const bool, isError);
    const auto controller = makeController();
    QCOMPARE(perform(*controller, operations), QString());
    const VMState before = controller->state();
    if (isError)
        controller->virtualMachineDidStopWithError(*m_machine, {VZError::Case::internalError, u"Why."_s});
    else
        controller->guestDidStop(*m_machine);
    QCOMPARE(controller->state(), before); // only once the code that runs now is done
    QCoreApplication::processEvents();
    QCOMPARE(controller->state(), isError ? VMState::error : VMState::poweredOff);
    QVERIFY(DiagnosticLogger::shared().formattedLog().endsWith(isError ? u"VM stopped with error: Why."_s
                                                                       : u"Guest stopped"_s));
    controller->configure(VZVirtualMachineConfiguration());
    QCOMPARE(perform(*controller, u"start"_s), QString());
}

void AppleVirtualizationControllerTest::startsUnconfiguredMachinesNever()
{
    AppleVirtualizationController controller;
    const QString refusal = u"Virtual machine configuration is invalid. Virtual machine is not configured."_s;
    QCOMPARE(perform(controller, u"start"_s), refusal);
    QCOMPARE(controller.state(), VMState::error);
    QVERIFY(DiagnosticLogger::shared().formattedLog().endsWith(u"VM lifecycle error: "_s + refusal));
    controller.resetStateMachine(VMState::running);
    QCOMPARE(perform(controller, u"stop"_s), QString());
    QCOMPARE(controller.state(), VMState::poweredOff);
    QVERIFY(DiagnosticLogger::shared().formattedLog().endsWith(refusal));
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
