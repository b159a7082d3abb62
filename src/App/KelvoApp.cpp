#include "App/KelvoApp.h"

#include "Platform/Desktop/WindowActivation.h"
#include "Virtualization/VMManager.h"

#include <QEvent>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlFileSelector>
#include <QQuickWindow>

#include <algorithm>
#include <utility>

using namespace Qt::StringLiterals;

KelvoApp::KelvoApp(std::unique_ptr<AppState> state, const QString &windowFile, QObject *parent)
    : QObject(parent)
    , m_state(std::move(state))
    , m_opener(*m_state)
    , m_windowMemory(windowFile)
{
    new QQmlFileSelector(&m_engine, &m_engine); // for the library's panels, which are in files of a style
    m_state->showTo(m_engine);
    connect(&m_engine, &QQmlEngine::quit, this, &KelvoApp::quit, Qt::QueuedConnection);
    connect(m_state.get(), &AppState::quitConfirmed, this, &KelvoApp::quitWithoutAsking,
            Qt::QueuedConnection);
    // The session's end has asked already, and does not wait for people.
    connect(qGuiApp, &QGuiApplication::commitDataRequest, this, &KelvoApp::endWithTheSession);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState activity) {
        if (activity != Qt::ApplicationActive || !m_state->isLoaded())
            return;
        m_state->vmManager()->listNewBundles();
        m_state->vmManager()->lookForGuests();
    });
    connect(m_state.get(), &AppState::consoleRequested, this, [this](const QUuid &id) { showConsole(id); });
    connect(m_state.get(), &AppState::stopQuestioned, this, [this](VirtualMachine *vm, bool inConsole) {
        askToStop(vm, inConsole ? consoleWindow(vm->id()) : nullptr, false);
    });
    connect(m_state->vmManager(), &VMManager::shutDownOverdue, this,
            [this](VirtualMachine *vm) { askToStop(vm, consoleWindow(vm->id()), true); });
    connect(m_state.get(), &AppState::showingConsoleChanged, this, &KelvoApp::handleConsoleRequest);
    connect(m_state.get(), &AppState::showingAppSettingsChanged, this, &KelvoApp::handleSettingsRequest);
    connect(m_state->vmManager(), &VMManager::guestStoodStill, this, &KelvoApp::noteStandstill);
    connect(m_state->vmManager(), &VMManager::machineStateChanged, this, [this](VirtualMachine *vm) {
        if (vm->operationInProgress() || vm->state() == VMState::running)
            Q_EMIT newsOutdated(vm->id().toString());
    });
    connect(m_state->vmManager(), &VMManager::virtualMachinesChanged, this, &KelvoApp::updateConsoleMachines);
}

KelvoApp::~KelvoApp()
{
    // Views hold machines and the state, so they go first.
    qDeleteAll(std::exchange(m_consoleWindows, {}));
    delete m_settingsWindow;
    delete m_mainWindow;
}

bool KelvoApp::start()
{
    m_state->load();
    m_mainWindow = makeWindow(u"MainWindow"_s, u"Main"_s);
    if (!m_mainWindow)
        return false;
    raise(m_mainWindow);
    return true;
}

void KelvoApp::open(const QList<QUrl> &documents, const std::optional<QString> &activationToken)
{
    raise(m_mainWindow, activationToken);
    m_opener.open(documents);
}

void KelvoApp::showConsole(const QUuid &id, const std::optional<QString> &activationToken)
{
    QQuickWindow *window = m_consoleWindows.value(id);
    if (!window) {
        VirtualMachine *vm = m_state->vmManager()->virtualMachine(id);
        window = makeWindow(u"ConsoleWindow"_s, u"Console-"_s + id.toString(QUuid::WithoutBraces),
                            {{u"vm"_s, QVariant::fromValue(vm)}});
        if (!window)
            return;
        m_consoleWindows.insert(id, window);
        connect(window, &QWindow::visibleChanged, this, [this, id](bool isVisible) {
            if (!isVisible)
                forgetConsole(id);
        });
    }
    raise(window, activationToken);
}

/// A closed console goes, with its picture and the connection that brought it.
void KelvoApp::forgetConsole(const QUuid &id)
{
    if (QQuickWindow *window = m_consoleWindows.take(id))
        window->deleteLater();
}

void KelvoApp::showSettings(const std::optional<QString> &activationToken)
{
    if (!m_settingsWindow)
        m_settingsWindow = makeWindow(u"SettingsWindow"_s, u"Settings"_s);
    raise(m_settingsWindow, activationToken);
}

bool KelvoApp::mayQuit() const
{
    return m_quitsWithoutAsking || m_state->quitNotice().isEmpty();
}

bool KelvoApp::isLastOpen(const QWindow *window) const
{
    return std::ranges::none_of(QGuiApplication::topLevelWindows(), [window](const QWindow *other) {
        return other != window && other->isVisible() && !other->transientParent();
    });
}

void KelvoApp::quit()
{
    if (mayQuit()) {
        quitWithoutAsking();
        return;
    }
    auto *window = qobject_cast<QQuickWindow *>(QGuiApplication::focusWindow());
    if (!window || !window->property("asksToQuit").isValid())
        window = m_mainWindow;
    raise(window);
    window->setProperty("asksToQuit", true);
}

void KelvoApp::quitWithoutAsking()
{
    m_quitsWithoutAsking = true;
    QCoreApplication::quit();
}

bool KelvoApp::eventFilter(QObject *object, QEvent *event)
{
    if (event->type() != QEvent::Close || mayQuit() || !isLastOpen(qobject_cast<QWindow *>(object)))
        return QObject::eventFilter(object, event);
    event->ignore();
    object->setProperty("asksToQuit", true);
    return true;
}

void KelvoApp::perform(const QString &action, const QString &activationToken)
{
    if (action == "new-machine"_L1) {
        raise(m_mainWindow, activationToken);
        m_state->setShowingCreateVM(true);
    } else if (action == "settings"_L1) {
        showSettings(activationToken);
    }
}

QQuickWindow *KelvoApp::makeWindow(const QString &type, const QString &name, const QVariantMap &properties)
{
    const QUrl file(u"qrc:/qt-project.org/imports/Kelvo/UI/"_s + type + u".qml"_s);
    QQmlComponent component(&m_engine, file);
    if (!component.isReady()) {
        qCritical("%s", qUtf8Printable(component.errorString()));
        return nullptr;
    }
    auto *window = qobject_cast<QQuickWindow *>(component.createWithInitialProperties(properties));
    if (!window)
        return nullptr;
    m_windowMemory.follow(window, name);
    window->installEventFilter(this);
    return window;
}

void KelvoApp::handleConsoleRequest()
{
    if (!m_state->showingConsole())
        return;
    if (const std::optional<QUuid> id = m_state->consoleVMID())
        showConsole(*id);
    m_state->setShowingConsole(false);
}

void KelvoApp::handleSettingsRequest()
{
    if (!m_state->showingAppSettings())
        return;
    showSettings();
    m_state->setShowingAppSettings(false);
}

void KelvoApp::updateConsoleMachines()
{
    for (auto console = m_consoleWindows.cbegin(); console != m_consoleWindows.cend(); ++console)
        console.value()->setProperty(
            "vm", QVariant::fromValue(m_state->vmManager()->virtualMachine(console.key())));
}

/// Who has asked for it watches, in whatever window.
void KelvoApp::noteStandstill(VirtualMachine *vm, const QString &reason, bool wasAsked)
{
    const QWindow *front = QGuiApplication::focusWindow();
    if (!front || (front != consoleWindow(vm->id()) && !(wasAsked && reason.isEmpty())))
        Q_EMIT newsArrived(vm->id().toString(), vm->name(),
                           reason.isEmpty() ? tr("The virtual machine has shut down.") : reason);
}

/// In the main window where the given one is not open.
void KelvoApp::askToStop(VirtualMachine *vm, QQuickWindow *window, bool isOverdue)
{
    if (!window)
        window = m_mainWindow;
    if (!window->isVisible())
        raise(window);
    QMetaObject::invokeMethod(window, "askToStop", Q_ARG(VirtualMachine *, vm), Q_ARG(bool, isOverdue));
    window->alert(0);
}

void KelvoApp::raise(QQuickWindow *window, const std::optional<QString> &activationToken) const
{
    if (!window)
        return;
    m_windowMemory.show(window);
    if (activationToken)
        WindowActivation::activate(window, *activationToken);
    else
        window->requestActivate();
}
