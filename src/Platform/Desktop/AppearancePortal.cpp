#include "Platform/Desktop/AppearancePortal.h"

#include "Platform/Desktop/DesktopPortal.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPointer>
#include <QThreadPool>

#include <optional>

using namespace Qt::StringLiterals;

namespace {

const QString settingsInterface = u"org.freedesktop.portal.Settings"_s;

const QString common = u"org.freedesktop.appearance"_s;
const QString gnome = u"org.gnome.desktop.interface"_s;
const QString kde = u"org.kde.kdeglobals.KDE"_s;
const QString colorSchemeKey = u"color-scheme"_s;
const QString contrastKey = u"contrast"_s;
const QString reducedMotionKey = u"reduced-motion"_s;
const QString enableAnimationsKey = u"enable-animations"_s;
const QString durationFactorKey = u"AnimationDurationFactor"_s;

template<typename Value>
std::optional<Value> as(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    if (value.metaType() != QMetaType::fromType<Value>())
        return std::nullopt;
    return value.value<Value>();
}

} // namespace

void AppearancePortal::start()
{
    const QPointer<AppearancePortal> self(this);
    // The first use of the session bus waits for the daemon's greeting.
    QThreadPool::globalInstance()->start([self] {
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected())
            return;
        QMetaObject::invokeMethod(
            qApp,
            [self] {
                if (self)
                    self->ask();
            },
            Qt::QueuedConnection);
    });
}

void AppearancePortal::ask()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.connect(DesktopPortal::service, DesktopPortal::path, settingsInterface, u"SettingChanged"_s, this,
                SLOT(settingChanged(QDBusMessage)));
    for (const QString &key : {colorSchemeKey, contrastKey, reducedMotionKey})
        ask(common, key);
    ask(gnome, enableAnimationsKey);
    ask(kde, durationFactorKey);
}

void AppearancePortal::ask(const QString &nameSpace, const QString &key)
{
    QDBusMessage read = QDBusMessage::createMethodCall(DesktopPortal::service, DesktopPortal::path,
                                                       settingsInterface, u"Read"_s);
    read.setArguments({nameSpace, key});
    auto *watcher = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher, nameSpace, key] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (!reply.isError())
            take(nameSpace, key, reply.value().variant());
    });
}

void AppearancePortal::settingChanged(const QDBusMessage &message)
{
    const QList<QVariant> arguments = message.arguments();
    take(arguments.value(0).toString(), arguments.value(1).toString(), arguments.value(2));
}

void AppearancePortal::take(const QString &nameSpace, const QString &key, const QVariant &value)
{
    if (nameSpace == common) {
        const std::optional<uint> number = as<uint>(value);
        if (!number)
            return;
        if (key == colorSchemeKey)
            Q_EMIT preferenceTold(*number <= 2 ? static_cast<Preference>(*number) : Preference::none);
        else if (key == contrastKey)
            Q_EMIT contrastTold(*number == 1);
        else if (key == reducedMotionKey)
            setStill(key, *number == 1);
    } else if (nameSpace == gnome && key == enableAnimationsKey) {
        if (const auto isEnabled = as<bool>(value))
            setStill(key, !*isEnabled);
    } else if (nameSpace == kde && key == durationFactorKey) {
        bool isNumber = false;
        const double factor = as<QString>(value).value_or(QString()).toDouble(&isNumber);
        if (isNumber)
            setStill(key, factor <= 0);
    }
}

void AppearancePortal::setStill(const QString &key, bool isStill)
{
    if (isStill)
        m_stillKeys.insert(key);
    else
        m_stillKeys.remove(key);
    Q_EMIT animationTold(m_stillKeys.isEmpty());
}
