#include "App/AppStage.h"
#include "App/VMListModel.h"
#include "support/TestMain.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>

#include <memory>
#include <vector>

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
    void newMachinesAreInserted();
    void sectionsAddAndTakeRows();
    void reloadKeepsRowsAndReplacesMachines();
    void reloadMovesARenamedMachine();
    void copiedBundlesAreBothListed();
    void sourceMayGo();

private:
    VirtualMachine *machine(int number) const
    {
        return m_stage->state->vmManager()->virtualMachines().at(number);
    }
    /// "inserted removed moved changed reset": how often since the last call.
    QString takeChanges()
    {
        QStringList counts;
        for (const std::unique_ptr<QSignalSpy> &spy : m_spies) {
            counts.append(QString::number(spy->count()));
            spy->clear();
        }
        return counts.join(u' ');
    }

    std::unique_ptr<AppStage> m_stage;
    std::unique_ptr<VMListModel> m_model;
    std::unique_ptr<QAbstractItemModelTester> m_tester;
    std::vector<std::unique_ptr<QSignalSpy>> m_spies;
};

/// A model that follows the machines "a", "b", "c" and "d".
void VMListModelTest::init()
{
    m_spies.clear();
    m_tester.reset();
    m_model = std::make_unique<VMListModel>();
    m_stage = std::make_unique<AppStage>();
    for (const auto &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s})
        m_stage->add(name);
    m_tester = std::make_unique<QAbstractItemModelTester>(
        m_model.get(), QAbstractItemModelTester::FailureReportingMode::Fatal);
    const auto watch = [this](auto signal) {
        m_spies.push_back(std::make_unique<QSignalSpy>(m_model.get(), signal));
    };
    watch(&QAbstractItemModel::rowsInserted);
    watch(&QAbstractItemModel::rowsRemoved);
    watch(&QAbstractItemModel::rowsMoved);
    watch(&QAbstractItemModel::dataChanged);
    watch(&QAbstractItemModel::modelReset);
    m_model->setSource(m_stage->state.get());
    QCOMPARE(takeChanges(), u"1 0 0 0 0"_s);
}

void VMListModelTest::newMachinesAreInserted()
{
    m_stage->add(u"1"_s);
    QCOMPARE(takeChanges(), u"1 0 0 0 0"_s);
    QCOMPARE(namesIn(*m_model), QStringList({u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"1"_s}));
    QCOMPARE(m_model->rowOf(m_model->machineAt(1)), 1);
    QCOMPARE(m_model->machineAt(5), nullptr);
    QCOMPARE(m_model->rowOf(nullptr), -1);
}

void VMListModelTest::sectionsAddAndTakeRows()
{
    m_stage->setState(machine(0), VMState::running);
    m_stage->setState(machine(3), VMState::paused);
    QCOMPARE(takeChanges(), u"0 0 0 0 0"_s);
    m_stage->state->setSelectedSection(SidebarSection::running);
    QCOMPARE(namesIn(*m_model), QStringList({u"a"_s, u"d"_s}));
    QCOMPARE(takeChanges(), u"0 1 0 0 0"_s); // both rows at once
    m_stage->setState(machine(2), VMState::running);
    QCOMPARE(namesIn(*m_model), QStringList({u"a"_s, u"c"_s, u"d"_s}));
    for (const VMState state : {VMState::stopping, VMState::poweredOff, VMState::error, VMState::starting}) {
        m_stage->setState(machine(2), state);
        QCOMPARE(namesIn(*m_model), QStringList({u"a"_s, u"d"_s}));
    }
    QCOMPARE(takeChanges(), u"1 1 0 0 0"_s);
    m_stage->state->setSelectedSection(SidebarSection::virtualMachines);
    QCOMPARE(namesIn(*m_model), QStringList({u"a"_s, u"b"_s, u"c"_s, u"d"_s}));
    QCOMPARE(takeChanges(), u"1 0 0 0 0"_s);
}

void VMListModelTest::reloadKeepsRowsAndReplacesMachines()
{
    VirtualMachine *before = machine(0);
    m_stage->state->load();
    QCOMPARE(takeChanges(), u"0 0 0 4 0"_s);
    QVERIFY(m_model->machineAt(0) != before);
    before->setConfiguration({});
    QCOMPARE(takeChanges(), u"0 0 0 0 0"_s);
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
    QVERIFY2(changes.startsWith(u"0 0 "_s) && !changes.startsWith(u"0 0 0"_s), qPrintable(changes));
}

void VMListModelTest::copiedBundlesAreBothListed()
{
    m_stage->host.write(u"Virtual Machines/copy.vm/config.json"_s,
                        m_stage->host.read(u"Virtual Machines/a.vm/config.json"_s));
    for (int time = 0; time < 2; ++time) {
        m_stage->state->load();
        QCOMPARE(m_model->count(), 5);
        QCOMPARE(m_model->machineAt(0)->id(), m_model->machineAt(1)->id());
        QCOMPARE(m_model->rowOf(m_model->machineAt(1)), 1);
    }
}

void VMListModelTest::sourceMayGo()
{
    m_stage->state.reset();
    QCOMPARE(m_model->count(), 0);
}

KELVO_TEST_MAIN(VMListModelTest)
#include "tst_vmlistmodel.moc"
