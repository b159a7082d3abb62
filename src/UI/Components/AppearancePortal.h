#pragma once

#include "UI/Components/Appearance.h"

#include <QDBusMessage>
#include <QObject>
#include <QSet>

/// Keeps the Appearance at what the desktop's settings portal says (org.freedesktop.portal.Settings, versions
/// 1 and 2): its color scheme, its contrast and whether things move, for which GNOME and KDE have keys of
/// their own besides the common one. Connecting and asking happen off the main thread; without a session bus
/// or a portal nothing happens.
class AppearancePortal : public QObject
{
    Q_OBJECT

public:
    explicit AppearancePortal(Appearance &appearance, QObject *parent = nullptr);
    ~AppearancePortal() override;

    void start();

    /// Takes the value of one setting, also one that is wrapped in variants. Unknown settings and values of
    /// another type change nothing.
    void take(const QString &nameSpace, const QString &key, const QVariant &value);

private Q_SLOTS:
    void settingChanged(const QDBusMessage &message);

private:
    void ask();
    void ask(const QString &nameSpace, const QString &key);
    void setStill(const QString &key, bool isStill);

    Appearance &m_appearance;
    QSet<QString> m_stillKeys; ///< which of the keys want nothing to move
};
