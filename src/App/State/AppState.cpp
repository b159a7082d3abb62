#include "App/State/AppState.h"

#include "Platform/LocalizedError.h"
#include "Virtualization/VMManager.h"

#include <algorithm>

namespace {

constexpr const char *engineProperty = "appState";

bool isAtWork(const VirtualMachine *vm)
{
    return vm->state() == VMState::starting || vm->state() == VMState::running ||
           vm->state() == VMState::stopping;
}

bool runsOrIsPaused(const VirtualMachine *vm)
{
    return vm->state() == VMState::running || vm->state() == VMState::paused;
}

} // namespace

AppState::AppState(std::unique_ptr<VMManager> vmManager, QObject *parent)
    : QObject(parent)
    , m_vmManager(std::move(vmManager))
{
    connect(m_vmManager.get(), &VMManager::virtualMachinesChanged, this, &AppState::followMachines);
    connect(m_vmManager.get(), &VMManager::machineStateChanged, this, &AppState::followMachines);
    followMachines();
}

AppState::~AppState()
{
    // A manager that goes ends what it is still doing, and that changes its machines.
    disconnect(m_vmManager.get(), nullptr, this, nullptr);
    m_vmManager.reset();
}

void AppState::showTo(QQmlEngine &engine)
{
    engine.setProperty(engineProperty, QVariant::fromValue(this));
}

AppState *AppState::create(QQmlEngine *engine, QJSEngine *)
{
    auto *state = engine->property(engineProperty).value<AppState *>();
    QQmlEngine::setObjectOwnership(state, QQmlEngine::CppOwnership);
    return state;
}

void AppState::setSelectedSection(SidebarSection section)
{
    if (m_selectedSection == section)
        return;
    m_selectedSection = section;
    Q_EMIT selectedSectionChanged();
    updateDerivedState();
}

QStringList AppState::sectionTitles() const
{
    QStringList titles;
    for (const SidebarSection section : allCases<SidebarSection>)
        titles.append(localizedName(section));
    return titles;
}

QStringList AppState::sectionSymbols() const
{
    QStringList symbols;
    for (const SidebarSection section : allCases<SidebarSection>)
        symbols.append(symbol(section));
    return symbols;
}

DetailContent AppState::detailContent() const
{
    switch (m_selectedSection) {
    case SidebarSection::virtualMachines:
    case SidebarSection::running:
        return DetailContent::MachineList;
    case SidebarSection::downloads:
        return DetailContent::Downloads;
    case SidebarSection::settings:
        return selectedVM() ? DetailContent::MachineSettings : DetailContent::ApplicationSettings;
    }
    Q_UNREACHABLE();
}

void AppState::setSelectedVMID(const std::optional<QUuid> &id)
{
    if (m_selectedVMID == id)
        return;
    m_selectedVMID = id;
    Q_EMIT selectedVMIDChanged();
    updateDerivedState();
}

VirtualMachine *AppState::selectedVM() const
{
    return m_selectedVMID ? m_vmManager->virtualMachine(*m_selectedVMID) : nullptr;
}

QList<VirtualMachine *> AppState::filteredVirtualMachines() const
{
    const QList<VirtualMachine *> &all = m_vmManager->virtualMachines();
    if (m_selectedSection != SidebarSection::running)
        return all;
    QList<VirtualMachine *> filtered;
    std::ranges::copy_if(all, std::back_inserter(filtered), runsOrIsPaused);
    return filtered;
}

void AppState::load()
{
    QCoro::connect(m_vmManager->loadVirtualMachines(), this, [this] {
        m_isLoaded = true;
        Q_EMIT loaded();
    });
}

void AppState::select(VirtualMachine *vm)
{
    setSelectedVMID(vm ? std::optional(vm->id()) : std::nullopt);
}

void AppState::showSettings(VirtualMachine *vm)
{
    select(vm);
    setSelectedSection(SidebarSection::settings);
}

void AppState::perform(VirtualMachine *vm, VMCommand command)
{
    begin(vm, command, Asker::mainWindow);
}

void AppState::performOnSelectedVM(VMCommand command)
{
    if (VirtualMachine *vm = selectedVM())
        perform(vm, command);
}

void AppState::installAndShowConsole(VirtualMachine *vm)
{
    QCoro::connect(run(vm, VMCommand::Install, Asker::mainWindowForConsole), this, [] {});
}

void AppState::finishInstallation(VirtualMachine *vm)
{
    complete(vm, Asker::mainWindow);
}

QCoro::Task<> AppState::createMachine(VMConfiguration configuration, std::optional<QUrl> installationImage)
{
    const QPointer<AppState> self(this);
    const QCoro::Task<VirtualMachine *> creating = m_vmManager->createVirtualMachine(configuration);
    VirtualMachine *created = co_await creating;
    if (!self)
        co_return;
    select(created);
    if (!installationImage)
        co_return;
    const QUuid id = created->id();
    const QCoro::Task<> installing = m_vmManager->beginInstallation(created, installationImage);
    co_await installing;
    if (!self)
        co_return;
    setConsoleVMID(id);
    setShowingConsole(true);
}

void AppState::performInConsole(VirtualMachine *vm, VMCommand command)
{
    begin(vm, command, Asker::console);
}

void AppState::begin(VirtualMachine *vm, VMCommand command, Asker asker)
{
    if (command == VMCommand::Stop && m_vmManager->mayLoseWork(*vm))
        Q_EMIT stopQuestioned(vm, asker == Asker::console);
    else
        QCoro::connect(run(vm, command, asker), this, [] {});
}

void AppState::finishInstallationInConsole(VirtualMachine *vm)
{
    complete(vm, Asker::console);
}

void AppState::complete(VirtualMachine *vm, Asker asker)
{
    try {
        m_vmManager->completeInstallation(*vm);
    } catch (const LocalizedError &error) {
        tellOfFailure(vm, error.localizedDescription(), asker);
    }
}

void AppState::tellOfFailure(VirtualMachine *vm, const QString &message, Asker asker)
{
    if (asker != Asker::console)
        setErrorMessage(message);
    else if (vm && (vm->state() != VMState::error || vm->lastError() != message))
        Q_EMIT consoleFailed(vm, message);
}

void AppState::showConsole(VirtualMachine *vm)
{
    Q_EMIT consoleRequested(vm->id());
}

QString AppState::quitNotice() const
{
    constexpr qsizetype mostNames = 6;
    QStringList names;
    for (const VirtualMachine *vm : m_vmManager->virtualMachines())
        if (isAtWork(vm) || vm->state() == VMState::paused)
            names.append(vm->name());
    if (names.isEmpty())
        return {};
    if (names.size() == 1)
        return tr("“%1” keeps running. It will be here again when Kelvo is next opened.")
            .arg(names.constFirst());
    QString list = names.first(std::min(mostNames, names.size())).join(u", ");
    if (names.size() > mostNames)
        //: The names of some virtual machines, and how many more there are.
        list = tr("%1 and %2 more").arg(list, QString::number(names.size() - mostNames));
    return tr("These virtual machines keep running, and will be here again when Kelvo is next opened: %1.")
        .arg(list);
}

void AppState::confirmQuit()
{
    Q_EMIT quitConfirmed();
}

QCoro::Task<> AppState::run(QPointer<VirtualMachine> vm, VMCommand command, Asker asker)
{
    const QPointer<AppState> self(this);
    QString failure;
    try {
        const QCoro::Task<> running = operation(vm, command);
        co_await running;
    } catch (const std::exception &error) {
        failure = localizedDescription(error);
    }
    if (!self)
        co_return;
    if (!failure.isEmpty())
        tellOfFailure(vm, failure, asker);
    else if (asker == Asker::mainWindowForConsole && vm)
        showConsole(vm);
}

QCoro::Task<> AppState::operation(VirtualMachine *vm, VMCommand command)
{
    switch (command) {
    case VMCommand::Install:
        return m_vmManager->beginInstallation(vm);
    case VMCommand::Start:
        return m_vmManager->start(vm);
    case VMCommand::ShutDown:
        return m_vmManager->requestShutDown(vm);
    case VMCommand::Stop:
    case VMCommand::ForceStop:
        return m_vmManager->stop(vm);
    case VMCommand::Pause:
        return m_vmManager->pause(vm);
    case VMCommand::Resume:
        return m_vmManager->resume(vm);
    }
    Q_UNREACHABLE();
}

void AppState::followMachines()
{
    const bool atWork = std::ranges::any_of(m_vmManager->virtualMachines(), isAtWork);
    if (std::exchange(m_isMachineAtWork, atWork) != atWork)
        Q_EMIT machineAtWorkChanged(atWork);
    updateDerivedState();
}

void AppState::updateDerivedState()
{
    if (QPointer<VirtualMachine> vm = selectedVM(); m_notifiedVM != vm) {
        m_notifiedVM = vm;
        Q_EMIT selectedVMChanged();
    }
    if (const DetailContent content = detailContent(); m_notifiedDetailContent != content) {
        m_notifiedDetailContent = content;
        Q_EMIT detailContentChanged();
    }
    if (QList<VirtualMachine *> list = filteredVirtualMachines(); m_notifiedList != list) {
        m_notifiedList = std::move(list);
        Q_EMIT filteredVirtualMachinesChanged();
    }
}
