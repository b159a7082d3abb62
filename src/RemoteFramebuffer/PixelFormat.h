#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace rfb {

/// How a server packs its pixels (RFC 6143, section 7.4).
struct PixelFormat
{
    std::uint8_t bitsPerPixel = 0;
    std::uint8_t depth = 0;
    bool isBigEndian = false;
    bool isTrueColour = false;
    std::uint16_t redMaximum = 0;
    std::uint16_t greenMaximum = 0;
    std::uint16_t blueMaximum = 0;
    std::uint8_t redShift = 0;
    std::uint8_t greenShift = 0;
    std::uint8_t blueShift = 0;

    [[nodiscard]] static PixelFormat parse(std::span<const std::byte, 16> bytes);

    bool operator==(const PixelFormat &) const = default;
};

/// The order in memory of a 32-bit pixel's four bytes; X is unused and may hold anything.
enum class PixelLayout : std::uint8_t
{
    XRGB,
    BGRX
};

/// The layout of `format`'s pixels; XRGB for every format that is none of the two.
[[nodiscard]] PixelLayout pixelLayout(const PixelFormat &format);

} // namespace rfb
