#pragma once

#include <QDBusMessage>
#include <QObject>
#include <QSet>

/// What the desktop's settings portal says of the looks (org.freedesktop.portal.Settings, versions 1 and 2):
/// its color scheme, its contrast and whether things move, for which GNOME and KDE have keys of their own
/// besides the common one. Connecting and asking happen off the main thread; without a session bus or a
/// portal nothing happens.
class AppearancePortal : public QObject
{
    Q_OBJECT

public:
    /// "org.freedesktop.appearance", "color-scheme".
    enum class Preference
    {
        none = 0,
        dark = 1,
        light = 2
    };

    using QObject::QObject;

    void start();

    /// Takes the value of one setting, also one that is wrapped in variants. Unknown settings and values of
    /// another type change nothing.
    void take(const QString &nameSpace, const QString &key, const QVariant &value);

Q_SIGNALS:
    void preferenceTold(Preference preference);
    void contrastTold(bool isHigh);
    void animationTold(bool isWanted);

private Q_SLOTS:
    void settingChanged(const QDBusMessage &message);

private:
    void ask();
    void ask(const QString &nameSpace, const QString &key);
    void setStill(const QString &key, bool isStill);

    QSet<QString> m_stillKeys; ///< which of the keys want nothing to move
};
