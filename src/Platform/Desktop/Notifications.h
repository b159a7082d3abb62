#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QHash>
#include <QObject>

#include <optional>

class QDBusPendingCallWatcher;

/// Tells people something wherever they are, by way of their desktop (Desktop Notifications Specification
/// 1.2), which also lets them turn that off. Nothing waits; without a bus or such a service nothing happens.
/// Main thread.
class Notifications : public QObject
{
    Q_OBJECT

public:
    /// `identifier`: of the desktop entry.
    Notifications(const QString &identifier, const QDBusConnection &bus, QObject *parent = nullptr);

    /// In the place of what was shown for the same `subject`.
    void show(const QString &subject, const QString &title, const QString &text);
    /// It is no news any more.
    void withdraw(const QString &subject);

Q_SIGNALS:
    /// A person has chosen the notification. `activationToken`: see WindowActivation; empty where the desktop
    /// gives none.
    void chosen(const QString &subject, const QString &activationToken);

private Q_SLOTS:
    void noteToken(uint number, const QString &token);
    void noteAction(uint number, const QString &action);
    void noteClosed(uint number, uint reason);

private:
    struct Content
    {
        QString title;
        QString text;

        bool operator==(const Content &) const = default;
    };
    struct Notification
    {
        std::optional<Content> wanted; ///< none: nothing is to be shown (any more)
        uint number = 0;               ///< the service's; 0 for none
        bool isBeingSent = false;
        QString activationToken;
    };

    void update(const QString &subject);
    void noteShown(const QString &subject, const Content &content, QDBusPendingCallWatcher *watcher);
    [[nodiscard]] QString subjectOf(uint number) const;

    const QString m_identifier;
    QDBusConnection m_bus;
    QDBusServiceWatcher m_service;
    QHash<QString, Notification> m_notifications; ///< by subject
};
