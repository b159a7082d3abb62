#include "App/State/AppStage.h"
#include "UI/Settings/VMSettingsModel.h"
#include "support/TestMain.h"

#include <QDir>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

class VMSettingsModelTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void editsReachTheMachineOnlyWhenSaved();
    void theGuestsDriverIsKnownToTheEmulator();
    void whatWouldBeRefusedIsNotSaved();
    void failedSavesKeepWhatWasTyped();
    void onlyTheDiskIsMeasuredWhileItRuns();

private:
    template<typename Value>
    static void choose(VMSettingsModel &settings, Value VMDraft::*field,
                       const std::type_identity_t<Value> &value)
    {
        VMDraft draft = settings.draft();
        draft.*field = value;
        settings.setDraft(draft);
    }

    std::unique_ptr<AppStage> m_stage;
    VirtualMachine *m_vm = nullptr;
    std::unique_ptr<VMSettingsModel> m_settings;
};

void VMSettingsModelTest::init()
{
    m_settings.reset();
    m_stage = std::make_unique<AppStage>();
    m_vm = m_stage->add(u"Guest"_s);
    m_settings = std::make_unique<VMSettingsModel>();
    m_settings->setVM(m_vm);
    m_settings->setAppState(m_stage->state.get());
}

void VMSettingsModelTest::editsReachTheMachineOnlyWhenSaved()
{
    const VMConfiguration before = m_vm->configuration();
    choose(*m_settings, &VMDraft::name, u" New name "_s);
    choose(*m_settings, &VMDraft::memoryBytes, quint64(16) << 30);
    choose(*m_settings, &VMDraft::networkMode, VMNetworkMode::disconnected);
    choose(*m_settings, &VMDraft::displayWidth, 1280);
    choose(*m_settings, &VMDraft::displayScaling, 1.5);
    QCOMPARE(m_vm->configuration(), before);
    QVERIFY(m_settings->canSave() && m_settings->saveMessage().isEmpty());

    QSignalSpy notified(m_vm, &VirtualMachine::changed);
    m_settings->saveChanges();
    QCOMPARE(m_settings->saveMessage(), u"Saved."_s);
    QCOMPARE(notified.count(), 1);
    QCOMPARE(m_vm->name(), u" New name "_s);
    const QByteArray document = m_stage->host.read(u"Virtual Machines/Guest.vm/config.json"_s);
    for (const QByteArray part : {"\" New name \"", "17179869184", "Disconnected", "1280", "1.5"})
        QVERIFY2(document.contains(part), part.constData());
}

void VMSettingsModelTest::theGuestsDriverIsKnownToTheEmulator()
{
    const QString mark = m_stage->host.path(u"Virtual Machines/Guest.vm/virtio-display"_s);
    choose(*m_settings, &VMDraft::hasDisplayDriver, true);
    QVERIFY(!QFile::exists(mark));
    m_settings->saveChanges();
    QVERIFY(QFile::exists(mark));
    VMSettingsModel later;
    later.setVM(m_vm);
    later.setAppState(m_stage->state.get());
    QVERIFY(later.draft().hasDisplayDriver);
    choose(later, &VMDraft::hasDisplayDriver, false);
    later.saveChanges();
    QVERIFY(!QFile::exists(mark));
}

void VMSettingsModelTest::whatWouldBeRefusedIsNotSaved()
{
    choose(*m_settings, &VMDraft::name, u" \t"_s);
    QCOMPARE(m_settings->problem(), u"Virtual machine name cannot be empty."_s);
    QVERIFY(!m_settings->canSave());
    choose(*m_settings, &VMDraft::name, u"a"_s);
    QVERIFY(m_settings->canSave());

    // The hypervisor layer's screens have limits of their own.
    VMConfiguration configuration = m_vm->configuration();
    configuration.backend = VMBackendType::appleVirtualization;
    configuration.cpuCount = 1;
    configuration.memorySizeBytes = quint64(1) << 30;
    m_vm->setConfiguration(configuration);
    VMSettingsModel settings;
    settings.setVM(m_vm);
    settings.setAppState(m_stage->state.get());
    QCOMPARE(settings.draft().memoryIndex(), -1);
    QCOMPARE(settings.draft().memoryText(), u"1 GB"_s);
    QVERIFY(settings.canSave());
    choose(settings, &VMDraft::displayWidth, 6000);
    QVERIFY(settings.problem().contains(u"cannot be shown"_s) && !settings.canSave());
}

void VMSettingsModelTest::failedSavesKeepWhatWasTyped()
{
    const QString bundle = m_stage->host.path(u"Virtual Machines/Guest.vm"_s);
    QVERIFY(QDir(bundle).removeRecursively());
    m_stage->host.write(u"Virtual Machines/Guest.vm"_s, "a file in its place");
    choose(*m_settings, &VMDraft::name, u"typed"_s);
    m_settings->saveChanges();
    QVERIFY(!m_stage->state->errorMessage().isEmpty());
    QVERIFY(m_settings->saveMessage().isEmpty());
    QCOMPARE(m_settings->draft().name, u"typed"_s);
    QCOMPARE(m_vm->name(), u"typed"_s);
}

void VMSettingsModelTest::onlyTheDiskIsMeasuredWhileItRuns()
{
    for (const VMState state : allCases<VMState>) {
        m_vm->setState(state);
        const bool runs = state == VMState::running || state == VMState::starting || state == VMState::paused;
        QCOMPARE(m_settings->canSave(), !runs);
        m_vm->setActualDiskUsageBytes(std::nullopt);
        m_settings->refreshDiskUsage();
        QCOMPARE(m_settings->storage().at(1).label, u"Host Usage"_s);
    }
}

KELVO_TEST_MAIN(VMSettingsModelTest)
#include "tst_vmsettingsmodel.moc"
