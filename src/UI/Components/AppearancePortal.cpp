#include "UI/Components/AppearancePortal.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QPointer>
#include <QThreadPool>

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.freedesktop.portal.Desktop"_s;
const QString path = u"/org/freedesktop/portal/desktop"_s;
const QString interface = u"org.freedesktop.portal.Settings"_s;
const QString appearanceNamespace = u"org.freedesktop.appearance"_s;
const QString colorSchemeKey = u"color-scheme"_s;

} // namespace

AppearancePortal::AppearancePortal(Appearance &appearance, QObject *parent)
    : QObject(parent)
    , m_appearance(appearance)
{}

AppearancePortal::~AppearancePortal() = default;

std::optional<Appearance::PortalPreference> AppearancePortal::preference(const QVariant &value)
{
    QVariant inner = value;
    while (inner.metaType() == QMetaType::fromType<QDBusVariant>())
        inner = inner.value<QDBusVariant>().variant();
    if (inner.metaType() != QMetaType::fromType<uint>())
        return std::nullopt;
    switch (inner.toUInt()) {
    case 1:
        return Appearance::PortalPreference::dark;
    case 2:
        return Appearance::PortalPreference::light;
    default:
        return Appearance::PortalPreference::none;
    }
}

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
    bus.connect(service, path, interface, u"SettingChanged"_s, this, SLOT(settingChanged(QDBusMessage)));
    QDBusMessage read = QDBusMessage::createMethodCall(service, path, interface, u"Read"_s);
    read.setArguments({appearanceNamespace, colorSchemeKey});
    auto *watcher = new QDBusPendingCallWatcher(bus.asyncCall(read), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (!reply.isError())
            take(reply.value().variant());
    });
}

void AppearancePortal::settingChanged(const QDBusMessage &message)
{
    const QList<QVariant> arguments = message.arguments();
    if (arguments.value(0) == appearanceNamespace && arguments.value(1) == colorSchemeKey)
        take(arguments.value(2));
}

void AppearancePortal::take(const QVariant &value)
{
    if (const auto chosen = preference(value))
        m_appearance.setPortalPreference(*chosen);
}
