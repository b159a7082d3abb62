#include "Platform/Desktop/Notifications.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QGuiApplication>

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.freedesktop.Notifications"_s;
const QString path = u"/org/freedesktop/Notifications"_s;

constexpr int usualTimeout = -1; ///< the desktop's own

QDBusMessage callOf(const QString &method)
{
    return QDBusMessage::createMethodCall(service, path, service, method);
}

} // namespace

Notifications::Notifications(const QString &identifier, const QDBusConnection &bus, QObject *parent)
    : QObject(parent)
    , m_identifier(identifier)
    , m_bus(bus)
{
    if (!m_bus.isConnected())
        return;
    m_bus.connect(service, path, service, u"ActivationToken"_s, this, SLOT(noteToken(uint, QString)));
    m_bus.connect(service, path, service, u"ActionInvoked"_s, this, SLOT(noteAction(uint, QString)));
    m_bus.connect(service, path, service, u"NotificationClosed"_s, this, SLOT(noteClosed(uint, uint)));
}

void Notifications::show(const QString &subject, const QString &title, const QString &text)
{
    if (!m_bus.isConnected())
        return;
    // The text may have markup, the title never.
    QDBusMessage call = callOf(u"Notify"_s);
    call << QGuiApplication::applicationDisplayName() << m_shown.value(subject) << m_identifier << title
         << text.toHtmlEscaped() << QStringList{u"default"_s, QString()}
         << QVariantMap{{u"desktop-entry"_s, m_identifier}} << usualTimeout;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, subject](QDBusPendingCallWatcher *finished) { noteShown(subject, finished); });
}

void Notifications::noteShown(const QString &subject, QDBusPendingCallWatcher *watcher)
{
    watcher->deleteLater();
    if (!watcher->isError())
        m_shown.insert(subject, watcher->reply().arguments().value(0).toUInt());
}

void Notifications::withdraw(const QString &subject)
{
    const uint number = m_shown.take(subject);
    if (number == 0)
        return;
    QDBusMessage call = callOf(u"CloseNotification"_s);
    call.setAutoStartService(false);
    call << number;
    m_bus.send(call);
}

void Notifications::noteToken(uint number, const QString &token)
{
    if (!m_shown.key(number).isEmpty())
        m_tokens.insert(number, token);
}

void Notifications::noteAction(uint number, const QString &action)
{
    const QString subject = m_shown.key(number);
    if (!subject.isEmpty() && action == "default"_L1)
        Q_EMIT chosen(subject, m_tokens.take(number));
}

void Notifications::noteClosed(uint number, uint)
{
    m_shown.remove(m_shown.key(number));
    m_tokens.remove(number);
}
