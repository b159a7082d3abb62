#include "UI/Components/VMPresenter.h"

#include "App/State/LocalizedName.h"
#include "UI/Components/ByteCount.h"

using namespace Qt::StringLiterals;

namespace {

/// Why nothing can be done now, else the given reason.
QString hint(const VirtualMachine &vm, const QString &reason)
{
    return vm.operationInProgress() ? VMPresenter::tr("Wait until the virtual machine is done.") : reason;
}

QString startHint(const VirtualMachine &vm)
{
    if (vm.canStart())
        return VMPresenter::tr("Install the operating system first.");
    return hint(vm, VMPresenter::tr("The virtual machine is already running."));
}

QString shutDownHint(const VirtualMachine &vm)
{
    if (vm.isShuttingDown())
        return VMPresenter::tr("The virtual machine has been asked to shut down.");
    return hint(vm, VMPresenter::tr("The virtual machine is not running."));
}

} // namespace

VMPresentation presentationOf(const VirtualMachine &vm)
{
    const VMConfiguration &configuration = vm.configuration();
    const VMInstallationState installation = vm.installationState();

    VMPresentation shown;
    shown.name = configuration.name;
    shown.guestName = localizedName(configuration.guestOS);
    shown.architecture = architecture(configuration.guestOS);
    shown.cpuText = VMPresenter::tr("%1 cores").arg(configuration.cpuCount);
    shown.memoryText = VMPresenter::tr("%1 GB RAM").arg(configuration.memorySizeGB());
    shown.diskText = VMPresenter::tr("%1 GB disk").arg(configuration.diskSizeGB());
    if (const std::optional<quint64> bytes = vm.actualDiskUsageBytes())
        shown.hostUsageText = VMPresenter::tr("Host usage: %1").arg(ByteCount::fileStyle(*bytes));
    shown.errorText = vm.lastError().value_or(QString());
    if (installation != VMInstallationState::completed)
        shown.installationText = localizedName(installation);
    shown.backendText = displayName(configuration.backend);
    shown.backendSymbol = configuration.backend == VMBackendType::qemuHVF ? u"terminal"_s : u"apple.logo"_s;
    shown.stateText = vm.isShuttingDown() ? VMPresenter::tr("Shutting Down") : localizedName(vm.state());
    shown.badgeTone = int(badgeTone(vm.isShuttingDown() ? VMState::stopping : vm.state()));

    shown.showsInstall = vm.canInstall();
    shown.startEnabled = vm.canStart() && !vm.needsInstallation();
    shown.shutDownEnabled = vm.canShutDown();
    shown.stopEnabled = vm.canStop();
    shown.pauseEnabled = vm.canPause();
    shown.resumeEnabled = vm.canResume();
    if (!shown.startEnabled)
        shown.startHint = startHint(vm);
    if (!shown.shutDownEnabled)
        shown.shutDownHint = shutDownHint(vm);
    if (!shown.stopEnabled)
        shown.stopHint = hint(vm, VMPresenter::tr("The virtual machine is not running."));
    if (!shown.pauseEnabled)
        shown.pauseHint = hint(vm, VMPresenter::tr("The virtual machine is not running."));
    if (!shown.resumeEnabled)
        shown.resumeHint = hint(vm, VMPresenter::tr("The virtual machine is not paused."));
    shown.showsShutDown = vm.state() == VMState::running;
    shown.showsFinishInstall =
        installation == VMInstallationState::inProgress && vm.state() == VMState::poweredOff;
    return shown;
}

BadgeTone::Tone badgeTone(VMState state)
{
    switch (state) {
    case VMState::poweredOff:
    case VMState::suspended:
        return BadgeTone::Tone::Neutral;
    case VMState::starting:
    case VMState::stopping:
        return BadgeTone::Tone::Yellow;
    case VMState::running:
        return BadgeTone::Tone::Green;
    case VMState::paused:
        return BadgeTone::Tone::Orange;
    case VMState::error:
        return BadgeTone::Tone::Red;
    }
    Q_UNREACHABLE();
}

void VMPresenter::update()
{
    VMPresentation shown = vm() ? presentationOf(*vm()) : VMPresentation();
    if (m_shown == shown)
        return;
    m_shown = std::move(shown);
    Q_EMIT shownChanged();
}
