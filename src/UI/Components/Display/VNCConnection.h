#pragma once

#include "Platform/TCPConnection.h"
#include "RemoteFramebuffer/DisplayConversation.h"
#include "UI/Components/Display/VNCMailbox.h"

#include <QString>

#include <memory>
#include <span>

/// One connection to a VNC server, with a thread that receives and answers on its own and hands all it learns
/// to the main thread. The thread keeps what it needs alive, so that letting go of a connection never waits
/// for it.
class VNCConnection
{
public:
    /// Starts connecting; `port` is clamped to 0…65535. Throws a LocalizedError or std::system_error when the
    /// process has no descriptors or threads left.
    VNCConnection(const QString &host, qint64 port,
                  rfb::DisplayConversation::Purpose purpose = rfb::DisplayConversation::Purpose::Display);
    /// Closes the connection; no event comes any more.
    ~VNCConnection();
    Q_DISABLE_COPY_MOVE(VNCConnection)

    /// Sends whole client messages, or nothing of them when too many wait already. Never waits.
    [[nodiscard]] bool post(std::span<const std::byte> messages) { return m_stream->post(messages); }

    [[nodiscard]] const std::shared_ptr<VNCMailbox> &mailbox() const { return m_mailbox; }

private:
    std::shared_ptr<VNCMailbox> m_mailbox;
    std::shared_ptr<TCPConnection> m_stream;
};
