#include "App/State/AppStage.h"
#include "UI/Wizard/CreateVMModel.h"
#include "support/TestMain.h"

#include <QDir>

using namespace Qt::StringLiterals;

constexpr quint64 gibibyte = quint64(1) << 30;

class CreateVMModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
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

private:
    [[nodiscard]] QUrl image() const { return FileUrl::file(m_stage->host.path(u"setup.iso"_s)); }
    [[nodiscard]] const QList<VirtualMachine *> &machines() const
    {
        return m_state->vmManager()->virtualMachines();
    }
    template<typename Value>
    void choose(Value VMDraft::*field, const std::type_identity_t<Value> &value)
    {
        VMDraft draft = m_wizard->draft();
        draft.*field = value;
        m_wizard->setDraft(draft);
    }
    /// Begins to create a machine whose installation waits for the controller's release().
    FakeController *createUntilInstallationWaits()
    {
        choose(&VMDraft::iso, image());
        const auto holding = connect(m_state, &AppState::selectedVMChanged, this, [this] {
            m_stage->controllerOf(machines().first())->holdsOperations = true;
        });
        m_wizard->create();
        const bool waits = QTest::qWaitFor([this] { return !machines().isEmpty(); }, patience);
        disconnect(holding);
        return waits ? m_stage->controllerOf(machines().first()) : nullptr;
    }

    std::unique_ptr<AppStage> m_stage;
    AppState *m_state = nullptr;
    std::unique_ptr<CreateVMModel> m_wizard;
};

/// A shown wizard, with its location inside the stage and an image at hand.
void CreateVMModelTest::init()
{
    m_wizard = std::make_unique<CreateVMModel>();
    m_stage = std::make_unique<AppStage>();
    m_stage->host.write(u"setup.iso"_s, "image");
    m_state = m_stage->state.get();
    m_state->setShowingCreateVM(true);
    m_wizard->setAppState(m_state);
    choose(&VMDraft::storageLocation, m_stage->host.root());
}

void CreateVMModelTest::stepsWaitForWhatTheyNeed()
{
    m_wizard->goBack();
    QCOMPARE(m_wizard->step(), 0);
    m_wizard->goForward();
    QVERIFY(!m_wizard->canContinue());
    QCOMPARE(m_wizard->missing(), u"Choose an ISO file first."_s);
    m_wizard->goForward();
    QCOMPARE(m_wizard->step(), 1);
    choose(&VMDraft::mediaType, InstallationMediaType::existingDisk);
    QVERIFY(m_wizard->canContinue());
    choose(&VMDraft::mediaType, InstallationMediaType::iso);
    QVERIFY(!m_wizard->canContinue());
    choose(&VMDraft::iso, image());
    m_wizard->goForward();
    m_wizard->goForward();
    QCOMPARE(m_wizard->step(), 3);
    for (const auto &[name, mayGoOn] : {std::pair(u""_s, false), {u" \t\n"_s, false}, {u" a"_s, true}}) {
        choose(&VMDraft::name, name);
        QCOMPARE(m_wizard->canContinue(), mayGoOn);
    }
    m_wizard->goForward();
    m_wizard->goForward();
    QVERIFY(m_wizard->isLastStep());
    QCOMPARE(m_wizard->step(), 4);
}

void CreateVMModelTest::guestBringsItsNameAndDrivers()
{
    QVERIFY(m_wizard->offersISO() && m_wizard->offersDrivers());
    choose(&VMDraft::mediaType, InstallationMediaType::installationImage);
    QVERIFY(!m_wizard->offersISO() && !m_wizard->offersDrivers());
    choose(&VMDraft::mediaType, InstallationMediaType::iso);
    choose(&VMDraft::name, u"mine"_s);
    choose(&VMDraft::guestOS, GuestOperatingSystem::windows11ARM64);
    QCOMPARE(m_wizard->draft().name, u"mine"_s);
    choose(&VMDraft::guestOS, GuestOperatingSystem::linuxARM64);
    QCOMPARE(m_wizard->draft().name, u"Linux ARM64"_s);
    QVERIFY(m_wizard->offersISO() && !m_wizard->offersDrivers());
    VMDraft draft = m_wizard->draft();
    QCOMPARE(draft.guestIndex(), 1);
    draft.setGuestIndex(3);
    QCOMPARE(draft, m_wizard->draft());
}

void CreateVMModelTest::proposedImageIsTakenOnceUnlessOneIsInUse()
{
    choose(&VMDraft::mediaType, InstallationMediaType::existingDisk);
    m_state->setProposedImage(image());
    QVERIFY(m_wizard->offersISO());
    QCOMPARE(m_wizard->draft().iso, image());
    QVERIFY(!m_state->proposedImage().isValid());

    const QUrl later = FileUrl::file(u"/later.iso"_s);
    connect(m_wizard.get(), &CreateVMModel::isCreatingChanged, this, [&] {
        if (m_wizard->isCreating())
            m_state->setProposedImage(later);
    });
    m_wizard->create();
    QTRY_VERIFY(!m_wizard->isCreating() && machines().size() == 1);
    QCOMPARE(machines().first()->configuration().installationMediaPath, FileUrl::path(image()));
    CreateVMModel next;
    next.setAppState(m_state);
    QCOMPARE(next.draft().iso, later);
}

void CreateVMModelTest::processorsFitTheHost()
{
    QCOMPARE(m_wizard->draft().cpuCount, 4); // whatever the host has, which only the hypervisor layer minds
    const SystemCapabilities &host = m_state->vmManager()->systemCapabilities();
    QCOMPARE(m_wizard->hardwareHint().contains(u"More cores"_s), host.physicalCPUCount < 4);
    for (const quint64 bytes : VMConfiguration::memoryOptions()) {
        choose(&VMDraft::memoryBytes, bytes);
        const bool isTooMuch = bytes > host.allowedMemoryRange.maximum;
        QCOMPARE(m_wizard->hardwareHint().contains(u"may not start"_s), isTooMuch);
    }
    const auto range = host.allowedCPUCountRange;
    choose(&VMDraft::iso, image());
    choose(&VMDraft::guestOS, GuestOperatingSystem::linuxARM64);
    m_wizard->goForward();
    m_wizard->goForward();
    QCOMPARE(m_wizard->draft().cpuCount, std::min<qint64>(4, range.maximum));
}

void CreateVMModelTest::createdMachineIsAsSummarized()
{
    QCOMPARE(m_wizard->summaryRows().size(), 7);
    QVERIFY(!m_wizard->offersInstallation());
    choose(&VMDraft::iso, image());
    choose(&VMDraft::drivers, FileUrl::file(u"/media/virtio win#1.iso"_s));
    choose(&VMDraft::cpuCount, 2);
    choose(&VMDraft::memoryBytes, 4 * gibibyte);
    choose(&VMDraft::diskBytes, 1024 * gibibyte);
    choose(&VMDraft::networkMode, VMNetworkMode::disconnected);
    choose(&VMDraft::name, u" Work"_s);
    choose(&VMDraft::startsInstallation, false);
    const QList<LabeledValue> expected = {
        {u"OS"_s, u"Windows 11 ARM64"_s},
        {u"CPU"_s, u"%1 cores"_s.arg(m_wizard->draft().cpuCount)},
        {u"RAM"_s, u"4 GB"_s},
        {u"Disk"_s, u"1 TB"_s},
        {u"Network"_s, u"Disconnected"_s},
        {u"Backend"_s, u"QEMU (HVF)"_s},
        {u"Location"_s, m_stage->host.path(u"Virtual Machines/ Work.vm"_s)},
        {u"Installation ISO"_s, u"setup.iso"_s},
        {u"Virtio Drivers"_s, u"virtio win#1.iso"_s},
    };
    QCOMPARE(m_wizard->summaryRows(), expected);
    choose(&VMDraft::mediaType, InstallationMediaType::existingDisk); // a chosen ISO stays chosen
    QVERIFY(m_wizard->summaryRows() == expected && m_wizard->offersInstallation());
    choose(&VMDraft::mediaType, InstallationMediaType::iso);

    m_wizard->create();
    QTRY_VERIFY(!m_state->showingCreateVM());
    QCOMPARE(machines().size(), 1);
    const VirtualMachine *vm = machines().first();
    const VMConfiguration made = vm->configuration();
    QCOMPARE(made.name, u" Work"_s);
    QCOMPARE(made.guestOS, GuestOperatingSystem::windows11ARM64);
    QCOMPARE(made.cpuCount, m_wizard->draft().cpuCount);
    QCOMPARE(made.memorySizeBytes, 4 * gibibyte);
    QCOMPARE(made.diskSizeBytes, 1024 * gibibyte);
    QCOMPARE(made.networkMode, VMNetworkMode::disconnected);
    QCOMPARE(made.installationMediaPath, m_stage->host.path(u"setup.iso"_s));
    QCOMPARE(made.installationMediaType, InstallationMediaType::iso);
    QCOMPARE(made.virtioDriversMediaPath, u"/media/virtio win#1.iso"_s);
    QVERIFY(QFile::exists(m_stage->host.path(u"Virtual Machines/ Work.vm/config.json"_s)));
    QCOMPARE(m_state->selectedVM(), vm);
    QCOMPARE(vm->state(), VMState::poweredOff);
    QVERIFY(!m_state->showingConsole() && m_wizard->errorMessage().isEmpty() && !m_wizard->isCreating());
}

void CreateVMModelTest::installationStartsWhenWanted()
{
    choose(&VMDraft::iso, image());
    m_wizard->create();
    QTRY_VERIFY(m_state->showingConsole());
    const VirtualMachine *vm = machines().first();
    QCOMPARE(m_state->consoleVMID(), vm->id());
    QCOMPARE(m_stage->controllerOf(vm)->calls,
             QStringList({u"configure installation setup.iso"_s, u"start"_s}));
    QVERIFY(!m_state->showingCreateVM());
    QCOMPARE(vm->installationState(), VMInstallationState::inProgress);
}

void CreateVMModelTest::failedInstallationLeavesTheMachineAndRefusesASecond()
{
    choose(&VMDraft::iso, FileUrl::file(m_stage->host.path(u"gone.iso"_s)));
    m_wizard->create();
    QTRY_COMPARE(m_wizard->errorMessage(), u"Installation media could not be opened."_s);
    QCOMPARE(machines().size(), 1);
    QCOMPARE(m_state->selectedVM(), machines().first());
    QVERIFY(m_state->showingCreateVM() && !m_state->showingConsole());
    QVERIFY(!m_wizard->isCreating());

    m_wizard->setErrorMessage({});
    m_wizard->create();
    QTRY_VERIFY(m_wizard->errorMessage().contains(m_stage->host.path(u"Virtual Machines/Windows 11.vm"_s)));
    QCOMPARE(machines().size(), 1);
}

void CreateVMModelTest::existingFolderIsNeverTouched()
{
    for (const QString &existing :
         {u"Virtual Machines/Windows 11.vm/disk.img"_s, u"Virtual Machines/Windows 11.vm"_s}) {
        init();
        m_stage->host.write(existing, "precious");
        m_wizard->create();
        QTRY_VERIFY(m_wizard->errorMessage().contains(u"Windows 11.vm"_s));
        QCOMPARE(m_stage->host.read(existing), QByteArray("precious"));
        QVERIFY(machines().isEmpty());
    }
}

void CreateVMModelTest::nameTooLongForItsSocketsIsRefused()
{
    choose(&VMDraft::name, QString(200, u'n'));
    m_wizard->create();
    QTRY_VERIFY(m_wizard->errorMessage().contains(u"too long a path"_s));
    QVERIFY(machines().isEmpty());
    QVERIFY(QDir(FileUrl::path(m_stage->host.root())).isEmpty());
    choose(&VMDraft::name, u"n"_s);
    m_wizard->create();
    QTRY_COMPARE(machines().size(), 1);
}

void CreateVMModelTest::oneCreationAtATime()
{
    FakeController *controller = createUntilInstallationWaits();
    QVERIFY(controller && m_wizard->isCreating());
    m_wizard->create();
    QVERIFY(m_wizard->errorMessage().isEmpty());
    controller->release();
    QTRY_VERIFY(!m_wizard->isCreating());
    QCOMPARE(machines().size(), 1);
    QCOMPARE(m_wizard->errorMessage(), QString());
}

void CreateVMModelTest::wizardMayGoWhileItCreates()
{
    FakeController *controller = createUntilInstallationWaits();
    QVERIFY(controller);
    m_wizard.reset();
    controller->release();
    QTRY_VERIFY(m_state->showingConsole());
}

KELVO_TEST_MAIN(CreateVMModelTest)
#include "tst_createvmmodel.moc"
