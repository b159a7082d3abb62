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
    m_service.setConnection(m_bus);
    m_service.addWatchedService(service);
    // Another one counts anew.
    connect(&m_service, &QDBusServiceWatcher::serviceUnregistered, this, [this] { m_notifications.clear(); });
    m_bus.connect(service, path, service, u"ActivationToken"_s, this, SLOT(noteToken(uint, QString)));
    m_bus.connect(service, path, service, u"ActionInvoked"_s, this, SLOT(noteAction(uint, QString)));
    m_bus.connect(service, path, service, u"NotificationClosed"_s, this, SLOT(noteClosed(uint, uint)));
}

void Notifications::show(const QString &subject, const QString &title, const QString &text)
{
    if (!m_bus.isConnected())
        return;
    m_notifications[subject].wanted = Content{title, text};
    update(subject);
}

void Notifications::withdraw(const QString &subject)
{
    if (!m_notifications.contains(subject))
        return;
    m_notifications[subject].wanted.reset();
    update(subject);
}

/// One call after the other, since only the answer to the first one tells how to replace it.
void Notifications::update(const QString &subject)
{
    Notification &notification = m_notifications[subject];
    if (notification.isBeingSent)
        return;
    if (!notification.wanted) {
        QDBusMessage call = callOf(u"CloseNotification"_s);
        call.setAutoStartService(false);
        call << m_notifications.take(subject).number;
        m_bus.send(call);
        return;
    }
    const Content content = *notification.wanted;
    // The text may have markup, the title never.
    QDBusMessage call = callOf(u"Notify"_s);
    call << QGuiApplication::applicationDisplayName() << notification.number << m_identifier << content.title
         << content.text.toHtmlEscaped() << QStringList{u"default"_s, QString()}
         << QVariantMap{{u"desktop-entry"_s, m_identifier}} << usualTimeout;
    notification.isBeingSent = true;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, subject, content](QDBusPendingCallWatcher *finished) {
                noteShown(subject, content, finished);
            });
}

void Notifications::noteShown(const QString &subject, const Content &content,
                              QDBusPendingCallWatcher *watcher)
{
    watcher->deleteLater();
    Notification &notification = m_notifications[subject];
    notification.isBeingSent = false;
    if (!watcher->isError())
        notification.number = watcher->reply().arguments().value(0).toUInt();
    if (notification.number == 0 && (!notification.wanted || notification.wanted == content))
        m_notifications.remove(subject); // nothing has been shown
    else if (notification.wanted != content)
        update(subject);
}

QString Notifications::subjectOf(uint number) const
{
    for (auto entry = m_notifications.cbegin(); entry != m_notifications.cend(); ++entry)
        if (number != 0 && entry->number == number)
            return entry.key();
    return {};
}

void Notifications::noteToken(uint number, const QString &token)
{
    if (const QString subject = subjectOf(number); !subject.isEmpty())
        m_notifications[subject].activationToken = token;
}

void Notifications::noteAction(uint number, const QString &action)
{
    const QString subject = subjectOf(number);
    if (!subject.isEmpty() && action == "default"_L1)
        Q_EMIT chosen(subject, m_notifications[subject].activationToken);
}

void Notifications::noteClosed(uint number, uint)
{
    const QString subject = subjectOf(number);
    if (m_notifications.value(subject).isBeingSent)
        m_notifications[subject].number = 0;
    else
        m_notifications.remove(subject);
}
