#pragma once

#include "RemoteFramebuffer/PixelBuffer.h"
#include "RemoteFramebuffer/Rectangle.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

namespace rfb {

/// A server's screen as far as it is known: rows without gaps of four bytes a pixel, blue, green, red and an
/// unused one that may hold anything. Black at first.
struct Framebuffer
{
    PixelBuffer pixels;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    /// Whoever writes or reads pixels holds it.
    std::mutex mutex;

    [[nodiscard]] std::size_t bytesPerRow() const { return std::size_t{width} * bytesPerPixel; }

    static constexpr std::size_t bytesPerPixel = 4;
};

/// A pointer's picture: rows without gaps of four bytes a pixel, blue, green, red and alpha, which the
/// colours are multiplied by already. One without pixels is invisible.
struct CursorShape
{
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    /// The pixel that points, from the top left corner.
    std::uint16_t hotX = 0;
    std::uint16_t hotY = 0;
    std::vector<std::byte> pixels;

    bool operator==(const CursorShape &) const = default;
};

} // namespace rfb
