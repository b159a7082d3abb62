#include "App/State/AppStage.h"
#include "App/State/VMListModel.h"
#include "support/TestMain.h"

#include <QAbstractItemModelTester>

#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

QStringList namesIn(const VMListModel &model)
{
    QStringList names;
    for (int row = 0; row < model.count(); ++row)
        names.append(model.machineAt(row)->name());
    return names;
}

} // namespace

class VMListModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void sectionsAddAndTakeRows();
    void reloadKeepsRowsAndReplacesMachines();
    void reloadMovesARenamedMachine();

private:
    VirtualMachine *machine(int number) const
    {
        return m_stage->state->vmManager()->virtualMachines().at(number);
    }
    /// What the model told since the last call: + inserted, - removed, > moved, * replaced, ! reset.
    QString takeChanges() { return std::exchange(m_changes, {}); }

    std::unique_ptr<AppStage> m_stage;
    std::unique_ptr<VMListModel> m_model;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
    QString m_changes;
};

/// A model that follows the machines "a", "b", "c" and "d".
void VMListModelTest::init()
{
    m_tester.reset();
    m_model = std::make_unique<VMListModel>();
    m_stage = std::make_unique<AppStage>();
    for (const auto &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s})
        m_stage->add(name);
    m_tester = std::make_unique<QAbstractItemModelTester>(
        m_model.get(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    const auto note = [this](auto signal, QChar change) {
        connect(m_model.get(), signal, this, [this, change] { m_changes += change; });
    };
    note(&QAbstractItemModel::rowsInserted, u'+');
    note(&QAbstractItemModel::rowsRemoved, u'-');
    note(&QAbstractItemModel::rowsMoved, u'>');
    note(&QAbstractItemModel::dataChanged, u'*');
    note(&QAbstractItemModel::modelReset, u'!');
    m_changes.clear();
    m_model->setSource(m_stage->state.get());
    QCOMPARE(takeChanges(), u"+"_s);
}

void VMListModelTest::sectionsAddAndTakeRows()
{
    m_stage->setState(machine(0), VMState::running);
    m_stage->setState(machine(3), VMState::paused);
    QCOMPARE(takeChanges(), QString());
    m_stage->state->setSelectedSection(SidebarSection::running);
    QCOMPARE(namesIn(*m_model), QStringList({u"a"_s, u"d"_s}));
    QCOMPARE(takeChanges(), u"-"_s); // both rows at once
    m_stage->setState(machine(2), VMState::running);
    QCOMPARE(namesIn(*m_model), QStringList({u"a"_s, u"c"_s, u"d"_s}));
    for (const VMState state : {VMState::stopping, VMState::poweredOff, VMState::error, VMState::starting}) {
        m_stage->setState(machine(2), state);
        QCOMPARE(namesIn(*m_model), QStringList({u"a"_s, u"d"_s}));
    }
    QCOMPARE(takeChanges(), u"+-"_s);
    m_stage->state->setSelectedSection(SidebarSection::virtualMachines);
    QCOMPARE(namesIn(*m_model), QStringList({u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
    QCOMPARE(takeChanges(), u"+"_s);
}

void VMListModelTest::reloadKeepsRowsAndReplacesMachines()
{
    VirtualMachine *before = machine(0);
    m_stage->state->load();
    QCOMPARE(takeChanges(), u"****"_s);
    QVERIFY(m_model->machineAt(0) != before);
    before->setConfiguration({});
    QCOMPARE(takeChanges(), QString());
}

void VMListModelTest::reloadMovesARenamedMachine()
{
    VMConfiguration renamed = machine(0)->configuration();
    renamed.name = u"z"_s;
    machine(0)->setConfiguration(renamed);
    m_stage->state->vmManager()->saveConfiguration(*machine(0));
    m_stage->state->load();
    QCOMPARE(namesIn(*m_model), QStringList({u"b"_s, u"c"_s, u"d"_s, u"z"_s}));
    const QString changes = takeChanges();
    QVERIFY2(changes.contains(u'>') && !changes.contains(u'+') && !changes.contains(u'!'),
             qPrintable(changes));
}

KELVO_TEST_MAIN(VMListModelTest)
#include "tst_vmlistmodel.moc"
