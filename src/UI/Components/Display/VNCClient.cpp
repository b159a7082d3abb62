#include "UI/Components/Display/VNCClient.h"

#include "Platform/LocalizedError.h"
#include "UI/Components/Display/VNCConnection.h"

#include <QPointer>
#include <QSocketNotifier>

#include <utility>

namespace {

template<typename... Handlers>
struct Overloaded : Handlers...
{
    using Handlers::operator()...;
};
template<typename... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

} // namespace

VNCClient::VNCClient(QObject *parent)
    : QObject(parent)
{}

VNCClient::~VNCClient() = default;

void VNCClient::connect(const QString &host, qint64 port)
{
    const QPointer<VNCClient> self(this);
    disconnect();
    if (!self)
        return;
    m_notifier.reset();
    try {
        m_connection = std::make_unique<VNCConnection>(host, port);
    } catch (const std::exception &error) {
        setErrorMessage(localizedDescription(error));
        return;
    }
    // One event a turn of the event loop, so that no server can keep the loop from its other work.
    m_notifier =
        std::make_unique<QSocketNotifier>(m_connection->mailbox()->descriptor(), QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, this, &VNCClient::handleEvent);
}

void VNCClient::disconnect()
{
    m_notifier.reset();
    m_connection.reset();
    const QPointer<VNCClient> self(this);
    setConnected(false);
    if (self)
        setImage({});
}

void VNCClient::handleEvent()
{
    // Whoever is notified may disconnect or delete the client.
    const QPointer<VNCClient> self(this);
    const std::shared_ptr<VNCMailbox> mailbox = m_connection->mailbox();
    std::optional<VNCEvent> event = mailbox->nextEvent();
    if (!event)
        return;
    std::visit(Overloaded{
                   [this](VNCConnected) { setConnected(true); },
                   [this](QImage &image) { setImage(std::move(image)); },
                   [](VNCScreenSize) {},
                   [](VNCInputReady) {},
                   [this](const VNCProtocolFailure &failure) { setErrorMessage(failure.message); },
                   [this, &self](const VNCConnectionFailure &failure) {
                       if (!failure.message.isEmpty())
                           setErrorMessage(failure.message);
                       if (self)
                           setConnected(false);
                   },
               },
               *event);
    mailbox->finishEvent();
}

void VNCClient::setImage(QImage image)
{
    if (image.cacheKey() == m_image.cacheKey())
        return;
    m_image = std::move(image);
    Q_EMIT imageChanged();
}

void VNCClient::setConnected(bool isConnected)
{
    if (isConnected == m_isConnected)
        return;
    m_isConnected = isConnected;
    Q_EMIT isConnectedChanged();
}

void VNCClient::setErrorMessage(const QString &message)
{
    if (message == m_errorMessage)
        return;
    m_errorMessage = message;
    Q_EMIT errorMessageChanged();
}
