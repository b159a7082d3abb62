#include "UI/Console/ConsolePresenter.h"

#include "App/State/LocalizedName.h"
#include "Virtualization/Backend/VMBackendController.h"

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
    const bool isComplete = vm() && m_manager;
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
    if (vm()->state() != VMState::running && vm()->state() != VMState::paused)
        return {};
    const VMBackendController &controller = m_manager->controller(*vm());
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
    const VMState state = vm()->state();
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
    shown.serialLog = vm()->configuration().serialLogURL();
    shown.isBusy = vm()->operationInProgress() || state == VMState::starting || state == VMState::stopping;
    shown.offersDiagnostics = vm()->lastError().has_value();
    return shown;
}

QString ConsolePresenter::message() const
{
    if (const std::optional<QString> error = vm()->lastError())
        return *error;
    if (vm()->configuration().backend == VMBackendType::qemuHVF) {
        const QEMUDependencyStatus tools = m_manager->qemuDependencyService().status();
        if (!tools.isReady())
            return tools.installHint;
    }
    switch (vm()->state()) {
    case VMState::stopping:
        return tr("The virtual machine is shutting down.");
    case VMState::starting:
        return tr("The virtual machine is booting.");
    case VMState::poweredOff:
        return vm()->needsInstallation()
                   ? tr("Install boots your Windows ISO with QEMU, a virtual TPM and UEFI firmware.")
                   : tr("Start the virtual machine to view its display.");
    default:
        return localizedName(vm()->state());
    }
}
