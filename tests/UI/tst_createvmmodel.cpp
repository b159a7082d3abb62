#include "App/AppStage.h"
#include "UI/CreateVMModel.h"
#include "support/TestMain.h"

#include <QDir>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(SteppedValue)

namespace {

constexpr quint64 gibibyte = quint64(1) << 30;

/// A wizard over a stage, with its location inside the stage and an image at hand.
struct WizardStage
{
    WizardStage()
    {
        app.host.write(u"setup.iso"_s, "image");
        wizard->setAppState(app.state.get());
        wizard->setStorageLocation(app.host.root());
    }

    [[nodiscard]] QUrl image() const { return FileUrl::file(app.host.path(u"setup.iso"_s)); }
    [[nodiscard]] const QList<VirtualMachine *> &machines() const
    {
        return app.state->vmManager()->virtualMachines();
    }
    void goTo(int step)
    {
        while (wizard->step() < step) {
            wizard->setISOURL(image());
            wizard->goForward();
        }
    }

    AppStage app;
    std::unique_ptr<CreateVMModel> wizard = std::make_unique<CreateVMModel>();
};

} // namespace

class CreateVMModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void stepsWaitForWhatTheyNeed();
    void guestBringsItsName();
    void driversAreForWindowsFromAnISO();
    void proposedImageIsTakenOnceUnlessOneIsInUse();
    void stepperKeepsToItsRange_data();
    void stepperKeepsToItsRange();
    void processorsStartAtFourOnEveryHost();
    void hypervisorGuestsFitTheHost();
    void summaryListsWhatWasChosen();
    void summaryHintsAtTheBackend();
    void createdMachineIsAsChosen();
    void installationStartsWhenWanted();
    void failedInstallationLeavesTheMachineAndRefusesASecond();
    void existingFolderIsNeverTouched_data();
    void existingFolderIsNeverTouched();
    void failureOfTheManagerIsShown();
    void nameTooLongForItsSocketsIsRefused();
    void nameBecomesOneFolder();
    void oneCreationAtATime();
    void wizardMayGoWhileItCreates();
};

void CreateVMModelTest::stepsWaitForWhatTheyNeed()
{
    WizardStage stage;
    CreateVMModel &wizard = *stage.wizard;
    wizard.goBack();
    QCOMPARE(wizard.step(), 0);
    wizard.goForward();
    QVERIFY(!wizard.canContinue());
    QCOMPARE(wizard.missing(), u"Choose an ISO file first."_s);
    wizard.goForward();
    QCOMPARE(wizard.step(), 1);
    wizard.setMediaTypeIndex(1);
    QVERIFY(wizard.canContinue());
    wizard.setMediaTypeIndex(0);
    QVERIFY(!wizard.canContinue());
    wizard.setISOURL(stage.image());
    wizard.goForward();
    wizard.goForward();
    QCOMPARE(wizard.step(), 3);
    for (const auto &[name, mayGoOn] :
         {std::pair(u""_s, false), {u" \t\n"_s, false}, {u" a"_s, true}, {u"a"_s, true}}) {
        wizard.setVMName(name);
        QCOMPARE(wizard.canContinue(), mayGoOn);
    }
    wizard.goForward();
    QVERIFY(wizard.isLastStep());
    wizard.goForward();
    QCOMPARE(wizard.step(), 4);
    wizard.goBack();
    QCOMPARE(wizard.vmName(), u"a"_s);
}

void CreateVMModelTest::guestBringsItsName()
{
    CreateVMModel wizard;
    QCOMPARE(wizard.vmName(), u"Windows 11"_s);
    wizard.setVMName(u"mine"_s);
    wizard.setGuestOSIndex(0);
    QCOMPARE(wizard.vmName(), u"mine"_s);
    wizard.setGuestOSIndex(1);
    QCOMPARE(wizard.vmName(), u"Linux ARM64"_s);
    wizard.setGuestOSIndex(2);
    QCOMPARE(wizard.vmName(), u"Other ARM64 OS"_s);
    wizard.setGuestOSIndex(3);
    QCOMPARE(wizard.guestOSIndex(), 2);
}

void CreateVMModelTest::driversAreForWindowsFromAnISO()
{
    CreateVMModel wizard;
    QVERIFY(wizard.offersISO() && wizard.offersDrivers());
    wizard.setMediaTypeIndex(2);
    QVERIFY(!wizard.offersISO() && !wizard.offersDrivers());
    wizard.setMediaTypeIndex(0);
    wizard.setGuestOSIndex(1);
    QVERIFY(wizard.offersISO() && !wizard.offersDrivers());
}

void CreateVMModelTest::proposedImageIsTakenOnceUnlessOneIsInUse()
{
    WizardStage stage;
    CreateVMModel &wizard = *stage.wizard;
    wizard.setMediaTypeIndex(1);
    stage.app.state->setProposedImage(stage.image());
    QVERIFY(wizard.offersISO());
    QCOMPARE(wizard.isoURL(), stage.image());
    QVERIFY(!stage.app.state->proposedImage().isValid());

    stage.goTo(4);
    const QUrl later = FileUrl::file(u"/later.iso"_s);
    connect(&wizard, &CreateVMModel::isCreatingChanged, this, [&] {
        if (wizard.isCreating())
            stage.app.state->setProposedImage(later);
    });
    wizard.create();
    QTRY_VERIFY(!wizard.isCreating() && stage.machines().size() == 1);
    QCOMPARE(stage.machines().first()->configuration().installationMediaPath, FileUrl::path(stage.image()));
    CreateVMModel next;
    next.setAppState(stage.app.state.get());
    QCOMPARE(next.isoURL(), later);
}

void CreateVMModelTest::stepperKeepsToItsRange_data()
{
    QTest::addColumn<SteppedValue>("number");
    QTest::addColumn<qint64>("decreased");
    QTest::addColumn<qint64>("increased");
    const auto row = [](const char *name, const SteppedValue &number, qint64 decreased, qint64 increased) {
        QTest::newRow(name) << number << decreased << increased;
    };
    row("inside", {.value = 4, .range = {1, 8}}, 3, 5);
    row("lower end", {.value = 1, .range = {1, 8}}, 1, 2);
    row("upper end", {.value = 8, .range = {1, 8}}, 7, 8);
    row("above", {.value = 4, .range = {1, 2}}, 2, 4);
    row("below", {.value = 0, .range = {2, 8}}, 0, 2);
}

void CreateVMModelTest::stepperKeepsToItsRange()
{
    QFETCH(const SteppedValue, number);
    QTEST(number.decreased(), "decreased");
    QTEST(number.increased(), "increased");
    QCOMPARE(number.canDecrease(), number.decreased() != number.value);
    QCOMPARE(number.canIncrease(), number.increased() != number.value);
}

void CreateVMModelTest::processorsStartAtFourOnEveryHost()
{
    WizardStage stage;
    QCOMPARE(stage.wizard->cpuText(), u"4 virtual CPU cores"_s);
    const auto range = stage.app.state->vmManager()->systemCapabilities().allowedCPUCountRange;
    for (int press = 0; press < 1000; ++press)
        stage.wizard->decreaseCPUs();
    QCOMPARE(stage.wizard->cpuCount(), range.minimum);
    for (int press = 0; press < 1000; ++press)
        stage.wizard->increaseCPUs();
    QCOMPARE(stage.wizard->cpuCount(), range.maximum);
}

void CreateVMModelTest::hypervisorGuestsFitTheHost()
{
    for (const int guest : {1, 2}) {
        WizardStage stage;
        stage.wizard->setGuestOSIndex(guest);
        QCOMPARE(stage.wizard->cpuCount(), 4);
        stage.goTo(2);
        const auto range = stage.app.state->vmManager()->systemCapabilities().allowedCPUCountRange;
        QCOMPARE(stage.wizard->cpuCount(), std::min<qint64>(4, range.maximum));
    }
}

void CreateVMModelTest::summaryListsWhatWasChosen()
{
    WizardStage stage;
    CreateVMModel &wizard = *stage.wizard;
    wizard.setISOURL(stage.image());
    wizard.setVirtioDriversURL(FileUrl::file(u"/media/virtio win#1.iso"_s));
    wizard.setVMName(u" Work"_s);
    wizard.setDiskIndex(4);
    wizard.setNetworkIndex(1);
    const QList<LabeledValue> expected = {
        {u"OS"_s, u"Windows 11 ARM64"_s},
        {u"CPU"_s, u"4 cores"_s},
        {u"RAM"_s, u"8 GB"_s},
        {u"Disk"_s, u"1 TB"_s},
        {u"Network"_s, u"Disconnected"_s},
        {u"Backend"_s, u"QEMU (HVF)"_s},
        {u"Location"_s, stage.app.host.path(u"Virtual Machines/ Work.vm"_s)},
        {u"Installation ISO"_s, u"setup.iso"_s},
        {u"Virtio Drivers"_s, u"virtio win#1.iso"_s},
    };
    QCOMPARE(wizard.summaryRows(), expected);

    wizard.setMediaTypeIndex(1); // a chosen ISO stays chosen
    QVERIFY(wizard.summaryRows() == expected && wizard.offersInstallation());
    wizard.setISOURL({});
    wizard.setVirtioDriversURL({});
    wizard.setDiskIndex(0);
    QCOMPARE(wizard.summaryRows().size(), 7);
    QCOMPARE(wizard.summaryRows().at(3).value, u"64 GB"_s);
    QVERIFY(!wizard.offersInstallation());
}

void CreateVMModelTest::summaryHintsAtTheBackend()
{
    WizardStage stage;
    QVERIFY(stage.wizard->summaryHint().startsWith(u"Windows 11 runs on QEMU"_s));
    stage.wizard->setGuestOSIndex(1);
    QVERIFY(stage.wizard->summaryHint().isEmpty());
    stage.app.host.removeTools();
    QCOMPARE(stage.wizard->summaryHint(),
             u"Linux VMs use Apple Virtualization. Install QEMU only if you plan to run Windows."_s);
}

void CreateVMModelTest::createdMachineIsAsChosen()
{
    WizardStage stage;
    CreateVMModel &wizard = *stage.wizard;
    stage.app.state->setShowingCreateVM(true);
    wizard.setISOURL(stage.image());
    wizard.setVirtioDriversURL(FileUrl::file(u"/drivers.iso"_s));
    wizard.decreaseCPUs();
    wizard.setMemoryIndex(0);
    wizard.setDiskIndex(2);
    wizard.setNetworkIndex(1);
    wizard.setVMName(u"Work"_s);
    wizard.setStartInstallationAfterCreate(false);
    wizard.create();
    QTRY_VERIFY(!stage.app.state->showingCreateVM());

    QCOMPARE(stage.machines().size(), 1);
    const VirtualMachine *vm = stage.machines().first();
    const VMConfiguration made = vm->configuration();
    QCOMPARE(made.name, u"Work"_s);
    QCOMPARE(made.guestOS, GuestOperatingSystem::windows11ARM64);
    QCOMPARE(made.cpuCount, wizard.cpuCount());
    QCOMPARE(made.memorySizeBytes, 4 * gibibyte);
    QCOMPARE(made.diskSizeBytes, 256 * gibibyte);
    QCOMPARE(made.networkMode, VMNetworkMode::disconnected);
    QCOMPARE(made.installationMediaPath, stage.app.host.path(u"setup.iso"_s));
    QCOMPARE(made.installationMediaType, InstallationMediaType::iso);
    QCOMPARE(made.virtioDriversMediaPath, u"/drivers.iso"_s);
    QVERIFY(QFile::exists(stage.app.host.path(u"Virtual Machines/Work.vm/config.json"_s)));
    QCOMPARE(stage.app.state->selectedVM(), vm);
    QCOMPARE(vm->state(), VMState::poweredOff);
    QVERIFY(!stage.app.state->showingConsole() && wizard.errorMessage().isEmpty() && !wizard.isCreating());
}

void CreateVMModelTest::installationStartsWhenWanted()
{
    WizardStage stage;
    stage.app.state->setShowingCreateVM(true);
    stage.wizard->setISOURL(stage.image());
    stage.wizard->create();
    QTRY_VERIFY(stage.app.state->showingConsole());
    const VirtualMachine *vm = stage.machines().first();
    QCOMPARE(stage.app.state->consoleVMID(), vm->id());
    QCOMPARE(stage.app.controllerOf(vm)->calls,
             QStringList({u"configure installation setup.iso"_s, u"start"_s}));
    QVERIFY(!stage.app.state->showingCreateVM());
    QCOMPARE(vm->installationState(), VMInstallationState::inProgress);
}

void CreateVMModelTest::failedInstallationLeavesTheMachineAndRefusesASecond()
{
    WizardStage stage;
    stage.app.state->setShowingCreateVM(true);
    stage.wizard->setISOURL(FileUrl::file(stage.app.host.path(u"gone.iso"_s)));
    stage.wizard->create();
    QTRY_COMPARE(stage.wizard->errorMessage(), u"Installation media could not be opened."_s);
    QCOMPARE(stage.machines().size(), 1);
    QCOMPARE(stage.app.state->selectedVM(), stage.machines().first());
    QVERIFY(stage.app.state->showingCreateVM() && !stage.app.state->showingConsole());
    QVERIFY(!stage.wizard->isCreating());

    stage.wizard->setErrorMessage({});
    stage.wizard->create();
    QTRY_VERIFY(
        stage.wizard->errorMessage().contains(stage.app.host.path(u"Virtual Machines/Windows 11.vm"_s)));
    QCOMPARE(stage.machines().size(), 1);
}

void CreateVMModelTest::existingFolderIsNeverTouched_data()
{
    QTest::addColumn<QString>("existing");
    QTest::newRow("machine") << u"Windows 11.vm/config.json"_s;
    QTest::newRow("disk alone") << u"Windows 11.vm/disk.img"_s;
    QTest::newRow("a file of that name") << u"Windows 11.vm"_s;
}

void CreateVMModelTest::existingFolderIsNeverTouched()
{
    QFETCH(const QString, existing);
    WizardStage stage;
    stage.app.host.write(u"Virtual Machines/"_s + existing, "precious");
    stage.wizard->create();
    QTRY_VERIFY(stage.wizard->errorMessage().contains(u"Windows 11.vm"_s));
    QCOMPARE(stage.app.host.read(u"Virtual Machines/"_s + existing), QByteArray("precious"));
    QVERIFY(stage.machines().isEmpty());
}

void CreateVMModelTest::failureOfTheManagerIsShown()
{
    WizardStage stage;
    stage.app.host.removeTools();
    stage.app.state->setShowingCreateVM(true);
    stage.wizard->create();
    QTRY_VERIFY(stage.wizard->errorMessage().startsWith(u"QEMU dependencies are missing: "_s));
    QVERIFY(stage.app.state->showingCreateVM() && stage.app.state->errorMessage().isEmpty());
    QVERIFY(!QFile::exists(stage.app.host.path(u"Virtual Machines/Windows 11.vm"_s)));
}

void CreateVMModelTest::nameTooLongForItsSocketsIsRefused()
{
    WizardStage stage;
    stage.wizard->setVMName(QString(200, u'n'));
    stage.wizard->create();
    QTRY_VERIFY(stage.wizard->errorMessage().contains(u"too long a path"_s));
    QVERIFY(stage.machines().isEmpty());
    QVERIFY(QDir(FileUrl::path(stage.app.host.root())).isEmpty());
    stage.wizard->setVMName(u"n"_s);
    stage.wizard->create();
    QTRY_COMPARE(stage.machines().size(), 1);
}

void CreateVMModelTest::nameBecomesOneFolder()
{
    WizardStage stage;
    stage.wizard->setVMName(u"../a/b"_s);
    stage.wizard->create();
    QTRY_COMPARE(stage.machines().size(), 1);
    QCOMPARE(stage.machines().first()->name(), u"../a/b"_s);
    QCOMPARE(
        QDir(FileUrl::path(stage.app.host.root())).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(),
        1);
    QVERIFY(!QFile::exists(stage.app.host.path(u"a"_s)));
}

void CreateVMModelTest::oneCreationAtATime()
{
    WizardStage stage;
    stage.wizard->setISOURL(stage.image());
    const QSignalSpy list(stage.app.state->vmManager(), &VMManager::virtualMachinesChanged);
    connect(stage.app.state.get(), &AppState::selectedVMChanged, this,
            [&stage] { stage.app.controllerOf(stage.machines().first())->holdsOperations = true; });
    stage.wizard->create();
    QTRY_VERIFY(!stage.machines().isEmpty());
    QVERIFY(stage.wizard->isCreating());
    stage.wizard->create();
    QVERIFY(stage.wizard->errorMessage().isEmpty());
    stage.app.controllerOf(stage.machines().first())->release();
    QTRY_VERIFY(!stage.wizard->isCreating());
    QCOMPARE(list.count(), 1);
    disconnect(stage.app.state.get(), nullptr, this, nullptr);
}

void CreateVMModelTest::wizardMayGoWhileItCreates()
{
    WizardStage stage;
    stage.wizard->setISOURL(stage.image());
    connect(stage.app.state.get(), &AppState::selectedVMChanged, this,
            [&stage] { stage.app.controllerOf(stage.machines().first())->holdsOperations = true; });
    stage.wizard->create();
    QTRY_VERIFY(!stage.machines().isEmpty());
    disconnect(stage.app.state.get(), nullptr, this, nullptr);
    stage.wizard.reset();
    stage.app.controllerOf(stage.machines().first())->release();
    QTRY_VERIFY(stage.app.state->showingConsole());
}

KELVO_TEST_MAIN(CreateVMModelTest)
#include "tst_createvmmodel.moc"
