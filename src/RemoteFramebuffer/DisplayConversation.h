#pragma once

#include "RemoteFramebuffer/ClientConversation.h"
#include "RemoteFramebuffer/Frame.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

namespace rfb {

/// The conversation of a client that only looks, or only operates: each update is asked for whole, and each
/// rectangle becomes a picture of its own.
class DisplayConversation final : public ClientConversation
{
public:
    enum class Purpose : std::uint8_t
    {
        Display, ///< raw encoding, one full update of the whole framebuffer after the other
        Input    ///< no pixels: the framebuffer's size and its changes, and whether the server takes keys
    };
    struct ScreenSize
    {
        std::uint16_t width = 0;
        std::uint16_t height = 0;
    };
    /// Gives memory for a frame of that many bytes, or a buffer without memory: then that frame is dropped.
    using BufferSource = std::function<PixelBuffer(std::size_t bytes)>;

    /// A larger rectangle is read and dropped. Holds a frame of 7680 × 4320 pixels.
    static constexpr std::size_t maxFrameBytes = std::size_t{128} * 1024 * 1024;

    /// `bufferSource` is used for Purpose::Display alone.
    explicit DisplayConversation(BufferSource bufferSource, Purpose purpose = Purpose::Display);

    /// The rectangle that the last call of received() completed, once.
    [[nodiscard]] std::optional<Frame> takeFrame();
    /// For Purpose::Input, once for each size that the last call of received() completed last.
    [[nodiscard]] std::optional<ScreenSize> takeScreenSize();
    /// For Purpose::Input: the server has said that it takes keys by their scan codes.
    [[nodiscard]] bool takesExtendedKeys() const { return m_takesExtendedKeys; }

private:
    void start(const ServerInit &server) override;
    void beginRectangle(const RectangleHeader &header) override;
    void continueRectangle() override;
    void endUpdate() override;

    BufferSource m_bufferSource;
    Purpose m_purpose;
    ServerInit m_server;
    std::uint64_t m_pixelDataRest = 0;
    Frame m_receiving;
    std::optional<Frame> m_finished;
    std::optional<ScreenSize> m_screenSize;
    bool m_takesExtendedKeys = false;
};

} // namespace rfb
