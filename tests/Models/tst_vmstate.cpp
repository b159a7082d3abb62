#include "Models/VMInstallationState.h"
#include "Models/VMState.h"
#include "support/Expectations.h"
#include "support/TestMain.h"

#include <QMap>

using namespace Qt::StringLiterals;

class VMStateTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyListedMovesAreAllowed();
    void refusalNamesBothStates();
    void predicatesFollowTheTable_data();
    void predicatesFollowTheTable();
    void storedFormsAreExact();
};

/// One letter a target, in the order of allVMStates: m allowed, = repeated, . refused.
static const QMap<VMState, QByteArray> moves = {
    {VMState::poweredOff, "=m....."}, {VMState::starting, ".=m...m"}, {VMState::running, "..=mmmm"},
    {VMState::paused, "..m=m.."},     {VMState::stopping, "m...=.m"}, {VMState::suspended, ".m...=."},
    {VMState::error, ".m....="},
};

void VMStateTest::onlyListedMovesAreAllowed()
{
    for (const VMState from : allVMStates) {
        for (std::size_t index = 0; index < allVMStates.size(); ++index) {
            const VMState to = allVMStates.at(index);
            VMStateMachine machine;
            machine.forceSet(from);
            const bool isRefused = !errorTextOf([&] { machine.transition(to); }).isNull();
            const char expected = moves[from].at(static_cast<qsizetype>(index));
            const QByteArray pair = (rawValue(from) + u" to "_s + rawValue(to)).toLatin1();
            QVERIFY2(isRefused == (expected == '.'), pair.constData());
            QVERIFY2(machine.state() == (expected == 'm' ? to : from), pair.constData());
        }
    }
}

void VMStateTest::refusalNamesBothStates()
{
    VMStateMachine machine;
    QCOMPARE(errorTextOf([&] { machine.transition(VMState::running); }),
             u"Cannot Running while virtual machine is powered off."_s);
    QCOMPARE(
        errorTextOf([] { throw VMStateTransitionError::invalidTransition(VMState::running, u"start"_s); }),
        u"Cannot start while virtual machine is running."_s);
}

void VMStateTest::predicatesFollowTheTable_data()
{
    QTest::addColumn<VMState>("state");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("startStopPauseResume");
    QTest::newRow("powered off") << VMState::poweredOff << u"Powered Off"_s << QByteArray("y---");
    QTest::newRow("starting") << VMState::starting << u"Starting"_s << QByteArray("-y--");
    QTest::newRow("running") << VMState::running << u"Running"_s << QByteArray("-yy-");
    QTest::newRow("paused") << VMState::paused << u"Paused"_s << QByteArray("yy-y");
    QTest::newRow("stopping") << VMState::stopping << u"Stopping"_s << QByteArray("----");
    QTest::newRow("suspended") << VMState::suspended << u"Suspended"_s << QByteArray("y---");
    QTest::newRow("error") << VMState::error << u"Error"_s << QByteArray("y---");
}

void VMStateTest::predicatesFollowTheTable()
{
    QFETCH(const VMState, state);
    QFETCH(const QString, name);
    QFETCH(const QByteArray, startStopPauseResume);
    QByteArray answers;
    for (const bool answer : {canStart(state), canStop(state), canPause(state), canResume(state)})
        answers += answer ? 'y' : '-';
    QCOMPARE(answers, startStopPauseResume);
    QCOMPARE(displayName(state), name);
}

void VMStateTest::storedFormsAreExact()
{
    for (const VMState state : allVMStates)
        QCOMPARE(vmStateFromRawValue(rawValue(state)), state);
    QVERIFY(!vmStateFromRawValue(u"PoweredOff"));
    QCOMPARE(vmInstallationStateFromRawValue(u"inProgress"), VMInstallationState::inProgress);
    QVERIFY(!vmInstallationStateFromRawValue(u"Installing"));
    QVERIFY(!canBeginInstallation(VMInstallationState::completed));
    QVERIFY(canBeginInstallation(VMInstallationState::inProgress));
}

KELVO_TEST_MAIN(VMStateTest)
#include "tst_vmstate.moc"
