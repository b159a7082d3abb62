#pragma once

#include "RemoteFramebuffer/PixelBuffer.h"
#include "RemoteFramebuffer/PixelFormat.h"

#include <cstddef>
#include <cstdint>

namespace rfb {

/// One received rectangle: width × height pixels of four bytes each, row by row without gaps.
struct Frame
{
    PixelBuffer buffer;
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    PixelLayout layout = PixelLayout::XRGB;

    /// The bytes that a buffer for such a frame has.
    [[nodiscard]] static constexpr std::size_t bufferSize(std::uint16_t width, std::uint16_t height)
    {
        return leadingBytes + std::size_t{width} * height * bytesPerPixel;
    }
    /// Where the pixels stand as they are received.
    [[nodiscard]] std::byte *pixels() const
    {
        return buffer.data() + leadingBytes - (layout == PixelLayout::XRGB ? 1 : 0);
    }
    /// The first pixel's first colour byte, aligned to four bytes: red of an XRGB frame, blue of a BGRX
    /// frame. Every pixel is three colour bytes and an unused one from here on, the last unused byte
    /// included.
    [[nodiscard]] std::byte *colours() const { return buffer.data() + leadingBytes; }

    static constexpr std::size_t bytesPerPixel = 4;
    static constexpr std::size_t leadingBytes = 4;
};

} // namespace rfb
