#include "UI/Components/Display/VNCConnection.h"

#include "Platform/LocalizedError.h"

#include <algorithm>
#include <limits>
#include <thread>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

QString describe(rfb::DisplayConversation::Failure failure)
{
    if (failure == rfb::DisplayConversation::Failure::NoSupportedSecurityType)
        return u"No supported VNC security types."_s;
    // A client that only looks takes every other message as it comes.
    return u"VNC authentication failed."_s;
}

/// Returns at the end of the stream, or when the protocol cannot go on.
std::optional<rfb::DisplayConversation::Failure> converse(TCPConnection &stream, VNCMailbox &mailbox,
                                                          rfb::DisplayConversation::Purpose purpose)
{
    rfb::DisplayConversation conversation([&mailbox](std::size_t bytes) { return mailbox.takeBuffer(bytes); },
                                          purpose);
    bool isInputReady = false;
    while (!conversation.failure()) {
        const std::size_t count = stream.receive(conversation.space());
        if (count == 0)
            break;
        conversation.received(count);
        stream.send(conversation.takeOutput());
        if (auto frame = conversation.takeFrame())
            mailbox.post(std::move(*frame));
        if (const auto screen = conversation.takeScreenSize())
            mailbox.post(VNCScreenSize{{screen->width, screen->height}});
        if (!isInputReady && conversation.takesExtendedKeys()) {
            isInputReady = true;
            mailbox.post(VNCInputReady{});
        }
    }
    return conversation.failure();
}

void run(TCPConnection &stream, VNCMailbox &mailbox, rfb::DisplayConversation::Purpose purpose)
{
    bool isExplained = false;
    try {
        if (!stream.open())
            return;
        mailbox.post(VNCConnected{});
        if (const auto failure = converse(stream, mailbox, purpose)) {
            mailbox.post(VNCProtocolFailure{describe(*failure)});
            isExplained = true;
        } else if (purpose == rfb::DisplayConversation::Purpose::Input) {
            return mailbox.post(VNCConnectionFailure{}); // nothing is left to look at
        }
        stream.waitForFailure();
    } catch (const std::exception &error) {
        mailbox.post(VNCConnectionFailure{isExplained ? QString() : localizedDescription(error)});
    }
}

} // namespace

VNCConnection::VNCConnection(const QString &host, qint64 port, rfb::DisplayConversation::Purpose purpose)
    : m_mailbox(std::make_shared<VNCMailbox>())
    , m_stream(std::make_shared<TCPConnection>(
          host, static_cast<quint16>(std::clamp<qint64>(port, 0, std::numeric_limits<quint16>::max()))))
{
    std::thread([stream = m_stream, mailbox = m_mailbox, purpose] {
        run(*stream, *mailbox, purpose);
    }).detach();
}

VNCConnection::~VNCConnection()
{
    m_stream->cancel();
    m_mailbox->close();
}
