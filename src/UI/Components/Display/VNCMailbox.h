#pragma once

#include "Platform/UniqueDescriptor.h"
#include "RemoteFramebuffer/Frame.h"

#include <QImage>
#include <QSize>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <variant>
#include <vector>

/// The TCP connection is there.
struct VNCConnected
{};

/// The server's screen has this size, at first or from now on.
struct VNCScreenSize
{
    QSize size;
};

/// The server takes keys and pointer.
struct VNCInputReady
{};

/// The protocol cannot go on, for the reason that `message` says.
struct VNCProtocolFailure
{
    QString message;
};

/// The connection is not there, or not any more. Without a message where one was given before.
struct VNCConnectionFailure
{
    QString message;
};

using VNCEvent = std::variant<VNCConnected, QImage, VNCScreenSize, VNCInputReady, VNCProtocolFailure,
                              VNCConnectionFailure>;

/// What one connection's reader thread hands to the main thread, and the memory that goes round between them:
/// the images stand on the buffers that were received into, and give them back when their last copy goes, on
/// any thread.
class VNCMailbox : public std::enable_shared_from_this<VNCMailbox>
{
public:
    static constexpr std::size_t maxFramesUnderway = 2;
    /// One shown, one being received, and one that a renderer may not have let go of.
    static constexpr std::size_t maxKeptBuffers = 3;

    VNCMailbox();

    /// A buffer for the next frame. Waits while the main thread lags behind, so that neither frames nor
    /// memory pile up. Without memory when closed or when the host has none. Reader thread.
    [[nodiscard]] rfb::PixelBuffer takeBuffer(std::size_t bytes);
    /// Reader thread.
    void post(rfb::Frame frame);
    /// Of several sizes that wait only the last one counts.
    void post(VNCEvent event);

    /// Readable as long as an event waits.
    [[nodiscard]] int descriptor() const { return m_eventCount.get(); }
    /// The oldest event, which counts as being underway until finishEvent(). Main thread.
    [[nodiscard]] std::optional<VNCEvent> nextEvent();
    void finishEvent();
    /// Drops what waits and wakes the reader; whatever is posted later is dropped too. Main thread.
    void close();

private:
    struct Loan;

    [[nodiscard]] QImage wrap(rfb::Frame frame);
    [[nodiscard]] std::optional<rfb::PixelBuffer> reuse(std::size_t bytes);
    void giveBack(rfb::PixelBuffer buffer);

    UniqueDescriptor m_eventCount;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isClosed = false;
    std::deque<VNCEvent> m_events;
    std::size_t m_framesUnderway = 0;
    bool m_isFrameWithMain = false;
    /// The last one given back comes last and is taken first, for the processor's caches may still hold it.
    std::vector<rfb::PixelBuffer> m_freeBuffers;
    std::size_t m_bufferCount = 0;
};
