#pragma once

#include "Platform/UniqueDescriptor.h"

#include <QByteArray>

/// The emulator's end of a display connection, played by a test.
class DisplayPeer
{
public:
    DisplayPeer();

    /// The other end, once.
    [[nodiscard]] UniqueDescriptor takeClientEnd();
    /// Waits until the client has taken all of it; false when the client is gone.
    bool send(const QByteArray &bytes) const;
    /// What the client has sent up to now, without waiting.
    [[nodiscard]] QByteArray received() const;
    /// Runs the event loop until the client has sent `count` bytes more, and gives these; less at a time-out.
    [[nodiscard]] QByteArray receive(qsizetype count) const;
    void close() { m_socket.reset(); }

private:
    UniqueDescriptor m_socket;
    UniqueDescriptor m_clientEnd;
};
