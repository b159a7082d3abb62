#pragma once

#include "RemoteFramebuffer/ScreenConversation.h"

#include <cstddef>
#include <vector>

/// Reads a display connection's bytes to where they belong, many rows with one call. Any one thread.
class DisplayReceiver
{
public:
    /// A connected stream socket that does not block, which the caller keeps.
    explicit DisplayReceiver(int socket);

    [[nodiscard]] rfb::ScreenConversation &conversation() { return m_conversation; }
    /// Takes what has arrived, up to the end of an update. False at the end of the stream or of the
    /// conversation. Throws PlatformError.
    [[nodiscard]] bool receive();
    /// Whether receive() has something to take, whatever there is at the socket.
    [[nodiscard]] bool hasReadAhead() const { return m_aheadBegin < m_aheadEnd; }

private:
    void consumeReadAhead();

    int m_socket;
    rfb::ScreenConversation m_conversation;
    /// What came behind the places that were known.
    std::vector<std::byte> m_ahead;
    std::size_t m_aheadBegin = 0;
    std::size_t m_aheadEnd = 0;
};
