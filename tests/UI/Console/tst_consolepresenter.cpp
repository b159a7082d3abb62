#include "App/State/AppStage.h"
#include "Platform/Hypervisor/VZVirtualMachine.h"
#include "UI/Console/ConsolePresenter.h"
#include "support/TestMain.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

class ConsolePresenterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void panelSaysHowThingsStand();
    void errorComesBeforeMissingTools();
    void screenIsShownWhileThereIsOne();

private:
    std::unique_ptr<AppStage> m_stage;
    VirtualMachine *m_vm = nullptr;
    std::unique_ptr<ConsolePresenter> m_presenter;
};

void ConsolePresenterTest::init()
{
    m_presenter = std::make_unique<ConsolePresenter>();
    m_stage = std::make_unique<AppStage>();
    m_vm = m_stage->add(u"a"_s);
    m_presenter->setVM(m_vm);
    m_presenter->setManager(m_stage->state->vmManager());
}

void ConsolePresenterTest::panelSaysHowThingsStand()
{
    using Installation = VMInstallationState;
    const QString off = u"Virtual Machine is Off"_s;
    const QString start = u"Start the virtual machine to view its display."_s;
    const QString install = u"Install boots your Windows ISO with QEMU, a virtual TPM and UEFI firmware."_s;
    const QString booting = u"The virtual machine is booting."_s;
    const QString ending = u"The virtual machine is shutting down."_s;
    VirtualMachine *vm = m_stage->add(u"with media"_s, u"/x.iso"_s);
    m_presenter->setVM(vm);
    for (const auto &[state, installation, title, message] :
         {std::tuple(VMState::poweredOff, Installation::ready, off, install),
          {VMState::poweredOff, Installation::inProgress, off, install},
          {VMState::poweredOff, Installation::completed, off, start},
          {VMState::starting, Installation::inProgress, u"Starting…"_s, booting},
          {VMState::stopping, Installation::completed, u"Stopping…"_s, ending},
          {VMState::running, Installation::completed, u"Running"_s, u"Running"_s},
          {VMState::error, Installation::completed, u"Error"_s, u"Error"_s}}) {
        vm->setState(state);
        vm->setInstallationState(installation);
        QCOMPARE(m_presenter->statusTitle(), title);
        QCOMPARE(m_presenter->statusMessage(), message);
        QCOMPARE(m_presenter->isBusy(), title.endsWith(u'…'));
        QCOMPARE(m_presenter->display(), ConsolePresenter::StatusPanel); // nobody has configured a display
    }
}

void ConsolePresenterTest::errorComesBeforeMissingTools()
{
    m_stage->host.removeTools();
    m_presenter->refresh();
    QCOMPARE(m_presenter->statusMessage(), m_stage->host.dependencyService().status().installHint);
    VMConfiguration withoutTools = m_vm->configuration();
    withoutTools.backend = VMBackendType::appleVirtualization;
    m_vm->setConfiguration(withoutTools);
    QCOMPARE(m_presenter->statusMessage(), u"Start the virtual machine to view its display."_s);
    QVERIFY(!m_presenter->offersDiagnostics());
    const QSignalSpy spy(m_presenter.get(), &ConsolePresenter::statusChanged);
    m_vm->setLastError(u"it broke"_s);
    QCOMPARE(m_presenter->statusMessage(), u"it broke"_s);
    QVERIFY(m_presenter->offersDiagnostics());
    QCOMPARE(spy.count(), 1);
}

void ConsolePresenterTest::screenIsShownWhileThereIsOne()
{
    VMManager &manager = *m_stage->state->vmManager();
    FakeController *controller = m_stage->controllerOf(m_vm);
    const QSignalSpy spy(m_presenter.get(), &ConsolePresenter::displayChanged);
    finish(manager.start(m_vm));
    finish(manager.pause(m_vm));
    QCOMPARE(m_presenter->display(), ConsolePresenter::VNC);
    QCOMPARE(m_presenter->vncHost(), u"127.0.0.1"_s);
    QCOMPARE(m_presenter->vncPort(), m_vm->configuration().vncPort);
    QCOMPARE(spy.count(), 1);
    finish(manager.stop(m_vm));
    QCOMPARE(m_presenter->display(), ConsolePresenter::StatusPanel);

    controller->display = VMDisplayKind::hypervisorView;
    finish(manager.start(m_vm));
    QCOMPARE(m_presenter->display(), ConsolePresenter::StatusPanel); // a view without a machine

    auto machine = std::make_unique<VZVirtualMachine>(VZVirtualMachineConfiguration());
    controller->machine = machine.get();
    m_presenter->refresh();
    QCOMPARE(m_presenter->display(), ConsolePresenter::HypervisorView);
    QCOMPARE(m_presenter->vzMachine(), machine.get());
    controller->machine = nullptr;
    machine.reset();
    QCOMPARE(m_presenter->vzMachine(), nullptr);
    finish(manager.stop(m_vm));
    QCOMPARE(m_presenter->display(), ConsolePresenter::StatusPanel);
}

KELVO_TEST_MAIN(ConsolePresenterTest)
#include "tst_consolepresenter.moc"
