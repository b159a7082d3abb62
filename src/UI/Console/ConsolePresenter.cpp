#include "UI/Console/ConsolePresenter.h"

#include "App/State/LocalizedName.h"
#include "Virtualization/Backend/VMBackendController.h"

void ConsolePresenter::setVM(VirtualMachine *vm)
{
    if (m_vm == vm)
        return;
    if (m_vm)
        m_vm->disconnect(this);
    m_vm = vm;
    if (m_vm) {
        connect(m_vm, &VirtualMachine::changed, this, &ConsolePresenter::refresh);
        connect(m_vm, &QObject::destroyed, this, &ConsolePresenter::refresh);
    }
    Q_EMIT vmChanged();
    refresh();
}

void ConsolePresenter::setManager(VMManager *manager)
{
    if (m_manager == manager)
        return;
    m_manager = manager;
    Q_EMIT managerChanged();
    refresh();
}

void ConsolePresenter::refresh()
{
    const bool isComplete = m_vm && m_manager;
    if (DisplaySource display = isComplete ? displaySource() : DisplaySource(); m_display != display) {
        m_display = std::move(display);
        Q_EMIT displayChanged();
    }
    if (Status shown = isComplete ? status() : Status(); m_status != shown) {
        m_status = std::move(shown);
        Q_EMIT statusChanged();
    }
}

ConsolePresenter::DisplaySource ConsolePresenter::displaySource() const
{
    if (m_vm->state() != VMState::running && m_vm->state() != VMState::paused)
        return {};
    const VMBackendController &controller = m_manager->controller(*m_vm);
    DisplaySource source;
    if (controller.displayKind() == VMDisplayKind::hypervisorView) {
        source.vzMachine = controller.vzMachine();
        source.kind = source.vzMachine ? HypervisorView : StatusPanel;
        return source;
    }
    const std::optional<QString> host = controller.vncHost();
    const std::optional<qint64> port = controller.vncPort();
    if (!host || !port)
        return {};
    source.kind = VNC;
    source.vncHost = *host;
    source.vncPort = static_cast<int>(*port);
    return source;
}

ConsolePresenter::Status ConsolePresenter::status() const
{
    const VMState state = m_vm->state();
    Status shown;
    switch (state) {
    case VMState::poweredOff:
        shown.title = tr("Virtual Machine is Off");
        break;
    case VMState::starting:
        shown.title = tr("Starting…");
        break;
    case VMState::stopping:
        shown.title = tr("Stopping…");
        break;
    default:
        shown.title = localizedName(state);
    }
    shown.message = message();
    shown.serialLog = m_vm->configuration().serialLogURL();
    shown.isBusy = m_vm->operationInProgress() || state == VMState::starting || state == VMState::stopping;
    shown.offersDiagnostics = m_vm->lastError().has_value();
    return shown;
}

QString ConsolePresenter::message() const
{
    if (const std::optional<QString> error = m_vm->lastError())
        return *error;
    if (m_vm->configuration().backend == VMBackendType::qemuHVF) {
        const QEMUDependencyStatus tools = m_manager->qemuDependencyService().status();
        if (!tools.isReady())
            return tools.installHint;
    }
    switch (m_vm->state()) {
    case VMState::stopping:
        return tr("The virtual machine is shutting down.");
    case VMState::starting:
        return tr("The virtual machine is booting.");
    case VMState::poweredOff:
        return m_vm->needsInstallation()
                   ? tr("Install boots your Windows ISO with QEMU, a virtual TPM and UEFI firmware.")
                   : tr("Start the virtual machine to view its display.");
    default:
        return localizedName(m_vm->state());
    }
}
