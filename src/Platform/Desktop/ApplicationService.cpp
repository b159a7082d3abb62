#include "Platform/Desktop/ApplicationService.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDeadlineTimer>

using namespace Qt::StringLiterals;

namespace {

const QString interface = u"org.freedesktop.Application"_s;
const QString tokenKey = u"activation-token"_s;
const QString startupKey = u"desktop-startup-id"_s;

QString pathOf(QString identifier)
{
    return u'/' + identifier.replace(u'.', u'/').replace(u'-', u'_');
}

QString tokenOf(const QVariantMap &platformData)
{
    return platformData.value(tokenKey, platformData.value(startupKey)).toString();
}

} // namespace

ApplicationService::ApplicationService(const QString &identifier, const QDBusConnection &bus, QObject *parent)
    : QObject(parent)
    , m_identifier(identifier)
    , m_path(pathOf(identifier))
    , m_bus(bus)
{}

ApplicationService::~ApplicationService()
{
    if (!m_hasPlace)
        return;
    m_bus.unregisterService(m_identifier);
    m_bus.unregisterObject(m_path);
}

ApplicationService::Start ApplicationService::start(const QList<QUrl> &documents,
                                                    const QString &activationToken)
{
    QVariantMap platformData;
    if (!activationToken.isEmpty())
        platformData = {{tokenKey, activationToken}, {startupKey, activationToken}};
    const bool opens = !documents.isEmpty();
    QDBusMessage call =
        QDBusMessage::createMethodCall(m_identifier, m_path, interface, opens ? u"Open"_s : u"Activate"_s);
    if (opens)
        call << QUrl::toStringList(documents, QUrl::FullyEncoded);
    call << platformData;
    call.setAutoStartService(false);

    // The first process may end between the two questions or instead of an answer, and then the place is
    // free.
    const QDeadlineTimer deadline(answerTimeout);
    while (!takePlace()) {
        const QDBusMessage answer =
            m_bus.call(call, QDBus::Block, static_cast<int>(deadline.remainingTime()));
        if (answer.type() == QDBusMessage::ReplyMessage)
            return Start::handedOver;
        const QDBusError::ErrorType error = QDBusError(answer).type();
        const bool hasEnded = error == QDBusError::ServiceUnknown || error == QDBusError::NoReply;
        if (!hasEnded || deadline.hasExpired())
            return Start::unanswered;
    }
    return Start::first;
}

bool ApplicationService::takePlace()
{
    QDBusConnectionInterface *daemon = m_bus.isConnected() ? m_bus.interface() : nullptr;
    if (!daemon)
        return true;
    // What the name is for has to be there when the name is.
    if (!m_bus.registerObject(m_path, this, QDBusConnection::ExportScriptableSlots))
        return true;
    const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply =
        daemon->registerService(m_identifier);
    m_hasPlace = reply.isValid() && reply.value() == QDBusConnectionInterface::ServiceRegistered;
    if (m_hasPlace)
        return true;
    m_bus.unregisterObject(m_path);
    // A bus that grants nobody the name is none to be found on.
    return !reply.isValid();
}

void ApplicationService::Activate(const QVariantMap &platformData)
{
    Q_EMIT activated(tokenOf(platformData));
}

void ApplicationService::Open(const QStringList &uris, const QVariantMap &platformData)
{
    Q_EMIT openRequested(QUrl::fromStringList(uris), tokenOf(platformData));
}

void ApplicationService::ActivateAction(const QString &name, const QVariantList &,
                                        const QVariantMap &platformData)
{
    Q_EMIT actionRequested(name, tokenOf(platformData));
}
