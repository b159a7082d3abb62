#include "Platform/Desktop/SleepInhibitor.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>

using namespace Qt::StringLiterals;

namespace {

constexpr uint suspendFlag = 4; ///< the same for the session manager and the portal

struct Way
{
    QString service;
    QString path;
    QString interface;
    QString releaseMethod;
    bool isStartedOnDemand;
};

const std::array ways = {
    Way{u"org.gnome.SessionManager"_s, u"/org/gnome/SessionManager"_s, u"org.gnome.SessionManager"_s,
        u"Uninhibit"_s, false},
    Way{u"org.freedesktop.PowerManagement"_s, u"/org/freedesktop/PowerManagement/Inhibit"_s,
        u"org.freedesktop.PowerManagement.Inhibit"_s, u"UnInhibit"_s, false},
    // Last: it tells applications apart by how they were launched, and some desktops then ignore the
    // nameless.
    Way{u"org.freedesktop.portal.Desktop"_s,
        u"/org/freedesktop/portal/desktop"_s,
        u"org.freedesktop.portal.Inhibit"_s,
        {},
        true},
};

} // namespace

SleepInhibitor::SleepInhibitor(const QString &identifier, const QString &reason, const QDBusConnection &bus,
                               QObject *parent)
    : QObject(parent)
    , m_identifier(identifier)
    , m_reason(reason)
    , m_bus(bus)
{
    if (!m_bus.isConnected())
        return;
    m_services.setConnection(m_bus);
    for (const Way &way : ways)
        m_services.addWatchedService(way.service);
    connect(&m_services, &QDBusServiceWatcher::serviceUnregistered, this, &SleepInhibitor::forget);
    connect(&m_services, &QDBusServiceWatcher::serviceRegistered, this, &SleepInhibitor::update);
}

SleepInhibitor::~SleepInhibitor()
{
    setActive(false);
}

void SleepInhibitor::setActive(bool active)
{
    m_isWanted = active;
    update();
}

void SleepInhibitor::update()
{
    if (m_isAsking || !m_bus.isConnected())
        return;
    if (m_isWanted && m_way < 0)
        ask(0);
    else if (!m_isWanted && m_way >= 0)
        release();
}

void SleepInhibitor::ask(int way)
{
    const Way &asked = ways.at(static_cast<std::size_t>(way));
    QDBusMessage call =
        QDBusMessage::createMethodCall(asked.service, asked.path, asked.interface, u"Inhibit"_s);
    call.setAutoStartService(asked.isStartedOnDemand);
    switch (way) {
    case 0:
        call << m_identifier << 0U << m_reason << suspendFlag;
        break;
    case 1:
        call << m_identifier << m_reason;
        break;
    default:
        call << QString() << suspendFlag << QVariantMap{{u"reason"_s, m_reason}};
    }
    m_isAsking = true;
    auto *watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, way](QDBusPendingCallWatcher *finished) { handleAnswer(way, finished); });
}

void SleepInhibitor::handleAnswer(int way, QDBusPendingCallWatcher *watcher)
{
    watcher->deleteLater();
    m_isAsking = false;
    const QList<QVariant> answer = watcher->reply().arguments();
    if (!watcher->isError() && !answer.isEmpty()) {
        m_way = way;
        m_handle = answer.constFirst();
        update();
    } else if (m_isWanted && way + 1 < static_cast<int>(ways.size())) {
        ask(way + 1);
    }
}

void SleepInhibitor::release()
{
    const Way &way = ways.at(static_cast<std::size_t>(m_way));
    const auto request = m_handle.value<QDBusObjectPath>();
    QDBusMessage call =
        request.path().isEmpty()
            ? QDBusMessage::createMethodCall(way.service, way.path, way.interface, way.releaseMethod)
                  << m_handle
            : QDBusMessage::createMethodCall(way.service, request.path(), u"org.freedesktop.portal.Request"_s,
                                             u"Close"_s);
    call.setAutoStartService(false);
    m_bus.send(call);
    m_way = -1;
    m_handle.clear();
}

void SleepInhibitor::forget(const QString &service)
{
    if (m_way < 0 || ways.at(static_cast<std::size_t>(m_way)).service != service)
        return;
    m_way = -1;
    m_handle.clear();
}
