#pragma once

#include "RemoteFramebuffer/BlockReader.h"
#include "RemoteFramebuffer/Frame.h"
#include "RemoteFramebuffer/ServerMessages.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace rfb {

/// A client's side of one RFB 3.8 conversation (RFC 6143) that only looks: security type None, whatever the
/// protocol version the server names. The owner of the stream receives into space(), reports with received(),
/// and then sends takeOutput() and takes what there is.
class DisplayConversation
{
public:
    enum class Purpose : std::uint8_t
    {
        Display,  ///< raw encoding, one full update of the whole framebuffer after the other
        SizeWatch ///< no pixels: only the framebuffer's size, at first and whenever it changes
    };
    enum class Failure : std::uint8_t
    {
        NoSupportedSecurityType,
        AuthenticationFailed
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

    /// Where the server's next bytes belong; empty only after a failure.
    [[nodiscard]] std::span<std::byte> space() { return m_reader.space(); }
    /// `count` bytes were put at the start of space().
    void received(std::size_t count);
    /// What is to be sent to the server now; may be empty.
    [[nodiscard]] std::vector<std::byte> takeOutput();
    /// The rectangle that the last call of received() completed.
    [[nodiscard]] std::optional<Frame> takeFrame();
    /// For Purpose::SizeWatch, once for each size that the last call of received() completed last.
    [[nodiscard]] std::optional<ScreenSize> takeScreenSize();
    /// Why the conversation is over.
    [[nodiscard]] std::optional<Failure> failure() const { return m_failure; }

private:
    enum class State : std::uint8_t
    {
        ProtocolVersion,
        SecurityTypeCount,
        SecurityTypes,
        SecurityResult,
        ServerInit,
        DesktopName,
        MessageType,
        MessageHeader,
        SkippedBody,
        RectangleHeader,
        PixelData,
        PixelDataRest,
    };

    void advance();
    void expect(State state, std::size_t count);
    void skip(State state, std::uint64_t count);
    void send(std::span<const std::byte> message);
    void fail(Failure failure);

    void chooseSecurityType();
    void readServerInit();
    void startUpdates();
    void awaitUpdate();
    void readMessageType();
    void readMessageHeader();
    void readRectangleHeader();
    void finishRectangle();

    BufferSource m_bufferSource;
    Purpose m_purpose;
    BlockReader m_reader;
    State m_state = State::ProtocolVersion;
    std::vector<std::byte> m_output;
    std::optional<Failure> m_failure;

    ServerInit m_init;
    ServerMessage m_message = ServerMessage::Bell;
    std::uint16_t m_rectanglesLeft = 0;
    std::uint64_t m_pixelDataRest = 0;
    Frame m_receiving;
    std::optional<Frame> m_finished;
    std::optional<ScreenSize> m_screenSize;
};

} // namespace rfb
