#include "App/AppStage.h"
#include "App/VMListModel.h"
#include "Models/VMConfigurationCoding.h"
#include "support/TestMain.h"

#include <QAbstractItemModelTester>
#include <QDir>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

/// Every signal with which a model may change, so that a test can say which came.
struct ModelSpy
{
    explicit ModelSpy(const VMListModel &model)
        : inserted(&model, &QAbstractItemModel::rowsInserted)
        , removed(&model, &QAbstractItemModel::rowsRemoved)
        , moved(&model, &QAbstractItemModel::rowsMoved)
        , changed(&model, &QAbstractItemModel::dataChanged)
        , reset(&model, &QAbstractItemModel::modelReset)
    {}

    /// "inserted removed moved changed reset", and starts anew.
    [[nodiscard]] QString take()
    {
        QStringList counts;
        for (QSignalSpy *spy : {&inserted, &removed, &moved, &changed, &reset}) {
            counts.append(QString::number(spy->count()));
            spy->clear();
        }
        return counts.join(u' ');
    }

    QSignalSpy inserted;
    QSignalSpy removed;
    QSignalSpy moved;
    QSignalSpy changed;
    QSignalSpy reset;
};

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
    void newMachinesAreInserted();
    void sectionsAddAndTakeRows();
    void reloadKeepsRowsAndReplacesMachines();
    void reloadMovesARenamedMachine();
    void copiedBundlesAreBothListed();
    void largeListsChangeInRuns();
    void sourceMayGo();
};

void VMListModelTest::newMachinesAreInserted()
{
    AppStage stage;
    stage.add(u"b"_s);
    VMListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    ModelSpy spy(model);
    model.setSource(stage.state.get());
    QCOMPARE(spy.take(), u"1 0 0 0 0"_s);
    stage.add(u"a"_s);
    QCOMPARE(spy.take(), u"1 0 0 0 0"_s);
    QCOMPARE(namesIn(model), QStringList({u"b"_s, u"a"_s}));
    QCOMPARE(model.rowOf(model.machineAt(1)), 1);
    QCOMPARE(model.machineAt(2), nullptr);
    QCOMPARE(model.rowOf(nullptr), -1);
}

void VMListModelTest::sectionsAddAndTakeRows()
{
    AppStage stage;
    QList<VirtualMachine *> machines;
    for (const auto &name : {u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s})
        machines.append(stage.add(name));
    VMListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setSource(stage.state.get());
    ModelSpy spy(model);

    stage.setState(machines.at(1), VMState::running);
    stage.setState(machines.at(3), VMState::paused);
    QCOMPARE(spy.take(), u"0 0 0 0 0"_s);
    stage.state->setSelectedSection(SidebarSection::running);
    QCOMPARE(namesIn(model), QStringList({u"b"_s, u"d"_s}));
    QCOMPARE(spy.take(), u"0 3 0 0 0"_s);
    stage.setState(machines.at(2), VMState::running);
    QCOMPARE(namesIn(model), QStringList({u"b"_s, u"c"_s, u"d"_s}));
    stage.setState(machines.at(1), VMState::poweredOff);
    QCOMPARE(namesIn(model), QStringList({u"c"_s, u"d"_s}));
    QCOMPARE(spy.take(), u"1 1 0 0 0"_s);
    stage.state->setSelectedSection(SidebarSection::virtualMachines);
    QCOMPARE(namesIn(model), QStringList({u"a"_s, u"b"_s, u"c"_s, u"d"_s, u"e"_s}));
    QCOMPARE(spy.take(), u"2 0 0 0 0"_s);
}

void VMListModelTest::reloadKeepsRowsAndReplacesMachines()
{
    AppStage stage;
    VirtualMachine *before = stage.add(u"a"_s);
    stage.add(u"b"_s);
    VMListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setSource(stage.state.get());
    ModelSpy spy(model);
    stage.state->load();
    QCOMPARE(spy.take(), u"0 0 0 2 0"_s);
    QVERIFY(model.machineAt(0) && model.machineAt(0) != before);
    before->setConfiguration({});
    QCOMPARE(spy.take(), u"0 0 0 0 0"_s);
}

void VMListModelTest::reloadMovesARenamedMachine()
{
    AppStage stage;
    VirtualMachine *vm = stage.add(u"a"_s);
    stage.add(u"b"_s);
    stage.add(u"c"_s);
    VMListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setSource(stage.state.get());
    VMConfiguration renamed = vm->configuration();
    renamed.name = u"z"_s;
    vm->setConfiguration(renamed);
    stage.state->vmManager()->saveConfiguration(*vm);
    ModelSpy spy(model);
    stage.state->load();
    QCOMPARE(namesIn(model), QStringList({u"b"_s, u"c"_s, u"z"_s}));
    QCOMPARE(spy.reset.count() + spy.inserted.count() + spy.removed.count(), 0);
    QVERIFY(spy.moved.count() > 0);
}

void VMListModelTest::copiedBundlesAreBothListed()
{
    AppStage stage;
    VirtualMachine *vm = stage.add(u"a"_s);
    stage.host.write(u"Virtual Machines/copy.vm/config.json"_s,
                     stage.host.read(u"Virtual Machines/a.vm/config.json"_s));
    VMListModel model;
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setSource(stage.state.get());
    stage.state->load();
    QCOMPARE(model.count(), 2);
    QCOMPARE(model.machineAt(0)->id(), model.machineAt(1)->id());
    QCOMPARE(model.rowOf(model.machineAt(1)), 1);
    stage.state->load();
    QCOMPARE(model.count(), 2);
    Q_UNUSED(vm)
}

void VMListModelTest::largeListsChangeInRuns()
{
    AppStage stage;
    for (int number = 0; number < 1000; ++number) {
        const QString name = QString::number(number);
        auto configuration = VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::linuxARM64);
        configuration.storageDirectory = FileUrl::appendingDirectory(stage.host.root(), name + u".vm"_s);
        stage.host.write(u"Virtual Machines/%1.vm/config.json"_s.arg(name),
                         encodeConfiguration(configuration));
    }
    stage.state->load();
    VMListModel model;
    model.setSource(stage.state.get());
    ModelSpy spy(model);
    stage.setState(model.machineAt(500), VMState::running);
    stage.state->setSelectedSection(SidebarSection::running);
    QCOMPARE(spy.take(), u"0 2 0 0 0"_s);
    stage.state->setSelectedSection(SidebarSection::virtualMachines);
    QCOMPARE(spy.take(), u"2 0 0 0 0"_s);
    QCOMPARE(model.count(), 1000);
}

void VMListModelTest::sourceMayGo()
{
    AppStage stage;
    stage.add(u"a"_s);
    VMListModel model;
    model.setSource(stage.state.get());
    stage.state.reset();
    QCOMPARE(model.count(), 0);
}

KELVO_TEST_MAIN(VMListModelTest)
#include "tst_vmlistmodel.moc"
