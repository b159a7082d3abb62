#include "App/AppStage.h"
#include "UI/CreateVMModel.h"
#include "support/TestMain.h"

#include <QDir>

using namespace Qt::StringLiterals;

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
    /// Begins to create a machine whose installation waits for the controller's release().
    FakeController *createUntilInstallationWaits()
    {
        wizard->setISOURL(image());
        const auto holding = QObject::connect(app.state.get(), &AppState::selectedVMChanged, [this] {
            app.controllerOf(machines().first())->holdsOperations = true;
        });
        wizard->create();
        const bool waits = QTest::qWaitFor([this] { return !machines().isEmpty(); }, patience);
        QObject::disconnect(holding);
        return waits ? app.controllerOf(machines().first()) : nullptr;
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
    void guestBringsItsNameAndDrivers();
    void proposedImageIsTakenOnceUnlessOneIsInUse();
    void processorsFitTheHost();
    void createdMachineIsAsSummarized();
    void installationStartsWhenWanted();
    void failedInstallationLeavesTheMachineAndRefusesASecond();
    void existingFolderIsNeverTouched();
    void nameTooLongForItsSocketsIsRefused();
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
    for (const auto &[name, mayGoOn] : {std::pair(u""_s, false), {u" \t\n"_s, false}, {u" a"_s, true}}) {
        wizard.setVMName(name);
        QCOMPARE(wizard.canContinue(), mayGoOn);
    }
    wizard.goForward();
    wizard.goForward();
    QVERIFY(wizard.isLastStep());
    QCOMPARE(wizard.step(), 4);
}

void CreateVMModelTest::guestBringsItsNameAndDrivers()
{
    CreateVMModel wizard;
    QVERIFY(wizard.offersISO() && wizard.offersDrivers());
    wizard.setMediaTypeIndex(2);
    QVERIFY(!wizard.offersISO() && !wizard.offersDrivers());
    wizard.setMediaTypeIndex(0);
    wizard.setVMName(u"mine"_s);
    wizard.setGuestOSIndex(0);
    QCOMPARE(wizard.vmName(), u"mine"_s);
    wizard.setGuestOSIndex(1);
    QCOMPARE(wizard.vmName(), u"Linux ARM64"_s);
    QVERIFY(wizard.offersISO() && !wizard.offersDrivers());
    wizard.setGuestOSIndex(3);
    QCOMPARE(wizard.guestOSIndex(), 1);
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

void CreateVMModelTest::processorsFitTheHost()
{
    WizardStage stage;
    CreateVMModel &wizard = *stage.wizard;
    QCOMPARE(wizard.cpuCount(), 4); // whatever the host has, which only the hypervisor layer minds
    const auto range = stage.app.state->vmManager()->systemCapabilities().allowedCPUCountRange;
    wizard.setISOURL(stage.image());
    wizard.setGuestOSIndex(1);
    wizard.goForward();
    wizard.goForward();
    QCOMPARE(wizard.cpuCount(), std::min<qint64>(4, range.maximum));
    for (int press = 0; press < 1000; ++press)
        wizard.decreaseCPUs();
    QCOMPARE(wizard.cpuCount(), range.minimum);
    for (int press = 0; press < 1000; ++press)
        wizard.increaseCPUs();
    QCOMPARE(wizard.cpuCount(), range.maximum);
    // A count beyond the host's is only to be made smaller.
    constexpr SteppedValue beyond{.value = 4, .range = {1, 2}};
    QVERIFY(beyond.decreased() == 2 && beyond.increased() == 4 && !beyond.canIncrease());
}

void CreateVMModelTest::createdMachineIsAsSummarized()
{
    WizardStage stage;
    CreateVMModel &wizard = *stage.wizard;
    stage.app.state->setShowingCreateVM(true);
    QCOMPARE(wizard.summaryRows().size(), 7);
    QVERIFY(!wizard.offersInstallation());
    wizard.setISOURL(stage.image());
    wizard.setVirtioDriversURL(FileUrl::file(u"/media/virtio win#1.iso"_s));
    wizard.decreaseCPUs();
    wizard.setMemoryIndex(0);
    wizard.setDiskIndex(4);
    wizard.setNetworkIndex(1);
    wizard.setVMName(u" Work"_s);
    wizard.setStartInstallationAfterCreate(false);
    const QList<LabeledValue> expected = {
        {u"OS"_s, u"Windows 11 ARM64"_s},
        {u"CPU"_s, u"%1 cores"_s.arg(wizard.cpuCount())},
        {u"RAM"_s, u"4 GB"_s},
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
    wizard.setMediaTypeIndex(0);

    wizard.create();
    QTRY_VERIFY(!stage.app.state->showingCreateVM());
    QCOMPARE(stage.machines().size(), 1);
    const VirtualMachine *vm = stage.machines().first();
    const VMConfiguration made = vm->configuration();
    QCOMPARE(made.name, u" Work"_s);
    QCOMPARE(made.guestOS, GuestOperatingSystem::windows11ARM64);
    QCOMPARE(made.cpuCount, wizard.cpuCount());
    QCOMPARE(made.memorySizeBytes, 4 * gibibyte);
    QCOMPARE(made.diskSizeBytes, 1024 * gibibyte);
    QCOMPARE(made.networkMode, VMNetworkMode::disconnected);
    QCOMPARE(made.installationMediaPath, stage.app.host.path(u"setup.iso"_s));
    QCOMPARE(made.installationMediaType, InstallationMediaType::iso);
    QCOMPARE(made.virtioDriversMediaPath, u"/media/virtio win#1.iso"_s);
    QVERIFY(QFile::exists(stage.app.host.path(u"Virtual Machines/ Work.vm/config.json"_s)));
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

void CreateVMModelTest::existingFolderIsNeverTouched()
{
    for (const QString &existing :
         {u"Virtual Machines/Windows 11.vm/disk.img"_s, u"Virtual Machines/Windows 11.vm"_s}) {
        WizardStage stage;
        stage.app.host.write(existing, "precious");
        stage.wizard->create();
        QTRY_VERIFY(stage.wizard->errorMessage().contains(u"Windows 11.vm"_s));
        QCOMPARE(stage.app.host.read(existing), QByteArray("precious"));
        QVERIFY(stage.machines().isEmpty());
    }
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

void CreateVMModelTest::oneCreationAtATime()
{
    WizardStage stage;
    FakeController *controller = stage.createUntilInstallationWaits();
    QVERIFY(controller && stage.wizard->isCreating());
    stage.wizard->create();
    QVERIFY(stage.wizard->errorMessage().isEmpty());
    controller->release();
    QTRY_VERIFY(!stage.wizard->isCreating());
    QCOMPARE(stage.machines().size(), 1);
    QCOMPARE(stage.wizard->errorMessage(), QString());
}

void CreateVMModelTest::wizardMayGoWhileItCreates()
{
    WizardStage stage;
    FakeController *controller = stage.createUntilInstallationWaits();
    QVERIFY(controller);
    stage.wizard.reset();
    controller->release();
    QTRY_VERIFY(stage.app.state->showingConsole());
}

KELVO_TEST_MAIN(CreateVMModelTest)
#include "tst_createvmmodel.moc"
