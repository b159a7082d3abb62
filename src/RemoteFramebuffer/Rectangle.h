#pragma once

#include <cstdint>

namespace rfb {

/// A part of the framebuffer, in pixels from its top left corner.
struct Rectangle
{
    std::uint16_t x = 0;
    std::uint16_t y = 0;
    std::uint16_t width = 0;
    std::uint16_t height = 0;

    bool operator==(const Rectangle &) const = default;
};

} // namespace rfb
