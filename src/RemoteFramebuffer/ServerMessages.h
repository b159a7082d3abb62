#pragma once

#include "RemoteFramebuffer/PixelFormat.h"
#include "RemoteFramebuffer/Rectangle.h"

#include <cstddef>
#include <cstdint>
#include <span>

/// The fixed-size blocks of an RFB server's stream (RFC 6143, sections 7.3.2, 7.6 and 7.7).
namespace rfb {

enum class ServerMessage : std::uint8_t
{
    FramebufferUpdate = 0,
    SetColourMapEntries = 1,
    Bell = 2,
    ServerCutText = 3,
};

/// ServerInit without the name that follows it (section 7.3.2).
struct ServerInit
{
    static constexpr std::size_t size = 24;

    std::uint16_t width = 0;
    std::uint16_t height = 0;
    PixelFormat format;
    /// Bytes of the desktop's name, up to 4 GiB by a server's claim.
    std::uint32_t nameLength = 0;

    [[nodiscard]] static ServerInit parse(std::span<const std::byte, size> bytes);
};

/// What stands before every rectangle's data (section 7.6.1).
struct RectangleHeader
{
    static constexpr std::size_t size = 12;

    Rectangle area;
    std::int32_t encoding = 0;

    [[nodiscard]] static RectangleHeader parse(std::span<const std::byte, size> bytes);
};

/// The bytes that follow a message's type and tell how long the rest of it is; 0 for Bell and unknown types.
[[nodiscard]] std::size_t headerSize(ServerMessage type);
/// The number of rectangles of a FramebufferUpdate (section 7.6.1).
[[nodiscard]] std::uint16_t rectangleCount(std::span<const std::byte, 3> header);
/// The bytes of SetColourMapEntries after its header, at most 393,210 (section 7.6.2).
[[nodiscard]] std::uint32_t colourMapSize(std::span<const std::byte, 5> header);
/// The bytes of ServerCutText after its header (section 7.6.4).
[[nodiscard]] std::uint32_t cutTextSize(std::span<const std::byte, 7> header);

} // namespace rfb
