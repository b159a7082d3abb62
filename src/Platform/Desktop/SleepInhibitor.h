#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

class QDBusPendingCallWatcher;

/// Asks the session not to suspend by itself, in the way that the running desktop knows:
/// org.gnome.SessionManager, org.freedesktop.PowerManagement.Inhibit or org.freedesktop.portal.Inhibit. Asks
/// anew when that service starts anew. Nothing waits; without a bus or such a service nothing happens. The
/// wish ends with the process. Main thread.
class SleepInhibitor : public QObject
{
    Q_OBJECT

public:
    /// `identifier`: of the desktop entry. `reason`: for people.
    SleepInhibitor(const QString &identifier, const QString &reason, const QDBusConnection &bus,
                   QObject *parent = nullptr);
    ~SleepInhibitor() override;

    void setActive(bool active);

private:
    void update();
    void ask(int way);
    void handleAnswer(int way, QDBusPendingCallWatcher *watcher);
    void release();
    void forget(const QString &service);

    const QString m_identifier;
    const QString m_reason;
    QDBusConnection m_bus;
    QDBusServiceWatcher m_services;
    bool m_isWanted = false;
    bool m_isAsking = false;
    int m_way = -1;    ///< where we are held back; −1 for nowhere
    QVariant m_handle; ///< what that gave us to let go with
};
