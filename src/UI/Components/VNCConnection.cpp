#include "UI/Components/VNCConnection.h"

#include "Platform/LocalizedError.h"
#include "RemoteFramebuffer/DisplayConversation.h"

#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

QString describe(rfb::DisplayConversation::Failure failure)
{
    switch (failure) {
    case rfb::DisplayConversation::Failure::NoSupportedSecurityType:
        return u"No supported VNC security types."_s;
    case rfb::DisplayConversation::Failure::AuthenticationFailed:
        break;
    }
    return u"VNC authentication failed."_s;
}

/// Returns at the end of the stream, or when the protocol cannot go on.
std::optional<rfb::DisplayConversation::Failure> converse(TCPConnection &stream, VNCMailbox &mailbox)
{
    rfb::DisplayConversation conversation(
        [&mailbox](std::size_t bytes) { return mailbox.takeBuffer(bytes); });
    while (!conversation.failure()) {
        const std::size_t count = stream.receive(conversation.space());
        if (count == 0)
            break;
        conversation.received(count);
        stream.send(conversation.takeOutput());
        if (auto frame = conversation.takeFrame())
            mailbox.post(std::move(*frame));
    }
    return conversation.failure();
}

void run(TCPConnection &stream, VNCMailbox &mailbox)
{
    bool isExplained = false;
    try {
        if (!stream.open())
            return;
        mailbox.post(VNCConnected{});
        if (const auto failure = converse(stream, mailbox)) {
            mailbox.post(VNCProtocolFailure{describe(*failure)});
            isExplained = true;
        }
        stream.waitForFailure();
    } catch (const std::exception &error) {
        mailbox.post(VNCConnectionFailure{isExplained ? QString() : localizedDescription(error)});
    }
}

} // namespace

VNCConnection::VNCConnection(const QString &host, quint16 port)
    : m_mailbox(std::make_shared<VNCMailbox>())
    , m_stream(std::make_shared<TCPConnection>(host, port))
{
    std::thread([stream = m_stream, mailbox = m_mailbox] { run(*stream, *mailbox); }).detach();
}

VNCConnection::~VNCConnection()
{
    m_stream->cancel();
    m_mailbox->close();
}
