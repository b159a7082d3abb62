#pragma once

#include "App/DocumentOpener.h"
#include "App/State/AppState.h"
#include "App/WindowMemory.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

#include <memory>

/// The application's windows: the main one, the settings, and one console for each machine. It reacts to what
/// the shared state asks to be shown. Main thread.
class KelvoApp : public QObject
{
    Q_OBJECT

public:
    /// `windowFile`: where the windows' sizes are kept, see WindowMemory.
    KelvoApp(std::unique_ptr<AppState> state, const QString &windowFile, QObject *parent = nullptr);
    ~KelvoApp() override;

    /// Loads the machines and shows the main window; false when it could not be made.
    [[nodiscard]] bool start();

    [[nodiscard]] AppState &state() { return *m_state; }
    [[nodiscard]] QQuickWindow *mainWindow() const { return m_mainWindow; }
    [[nodiscard]] QQuickWindow *settingsWindow() const { return m_settingsWindow; }
    /// Null unless it is open.
    [[nodiscard]] QQuickWindow *consoleWindow(const QUuid &id) const { return m_consoleWindows.value(id); }

    /// Raises the main window and opens what is handed in, as DocumentOpener does. `activationToken` comes
    /// with what another process asks for, see WindowActivation.
    void open(const QList<QUrl> &documents, const std::optional<QString> &activationToken = std::nullopt);
    /// A window that is open already is raised.
    void showConsole(const QUuid &id, const std::optional<QString> &activationToken = std::nullopt);
    void showSettings(const std::optional<QString> &activationToken = std::nullopt);
    /// Ends the application; while machines run only once that has been confirmed.
    void quit();
    /// From now on nobody is asked.
    void endWithTheSession() { m_quitsWithoutAsking = true; }
    /// One of the desktop entry's actions: "new-machine" or "settings"; others are ignored.
    void perform(const QString &action, const QString &activationToken);

    /// The last open window's closing is a way to quit.
    bool eventFilter(QObject *object, QEvent *event) override;

Q_SIGNALS:
    /// A guest has ended or come to a standstill, and no window in front shows it; `subject`: the machine's
    /// identifier.
    void newsArrived(const QString &subject, const QString &title, const QString &text);
    /// Somebody has done something about it since.
    void newsOutdated(const QString &subject);

private:
    /// `name`: for the window's memory.
    [[nodiscard]] QQuickWindow *makeWindow(const QString &type, const QString &name,
                                           const QVariantMap &properties = {});
    [[nodiscard]] bool mayQuit() const;
    [[nodiscard]] bool isLastOpen(const QWindow *window) const;
    void quitWithoutAsking();
    void forgetConsole(const QUuid &id);
    void handleConsoleRequest();
    void handleSettingsRequest();
    void updateConsoleMachines();
    void noteStandstill(VirtualMachine *vm, const QString &reason, bool wasAsked);
    void askToStop(VirtualMachine *vm, QQuickWindow *window, bool isOverdue);
    void raise(QQuickWindow *window, const std::optional<QString> &activationToken = std::nullopt) const;

    std::unique_ptr<AppState> m_state;
    DocumentOpener m_opener;
    WindowMemory m_windowMemory;
    QQmlApplicationEngine m_engine;
    QPointer<QQuickWindow> m_mainWindow;
    QPointer<QQuickWindow> m_settingsWindow;
    QHash<QUuid, QQuickWindow *> m_consoleWindows;
    bool m_quitsWithoutAsking = false;
};
