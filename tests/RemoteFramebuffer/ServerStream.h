#pragma once

#include "RemoteFramebuffer/PixelFormat.h"

#include <QByteArray>

/// Pieces of what an RFB server sends (RFC 6143, section 7), true or false as a test likes.
namespace serverstream {

/// What QEMU announces: blue first in memory.
inline constexpr rfb::PixelFormat littleEndianFormat{.bitsPerPixel = 32,
                                                     .depth = 24,
                                                     .isBigEndian = false,
                                                     .isTrueColour = true,
                                                     .redMaximum = 255,
                                                     .greenMaximum = 255,
                                                     .blueMaximum = 255,
                                                     .redShift = 16,
                                                     .greenShift = 8,
                                                     .blueShift = 0};

[[nodiscard]] rfb::PixelFormat bigEndianFormat();
/// The format with another number of bits a pixel.
[[nodiscard]] rfb::PixelFormat withBits(rfb::PixelFormat format, std::uint8_t bitsPerPixel);

[[nodiscard]] QByteArray uint16(std::uint16_t value);
[[nodiscard]] QByteArray uint32(std::uint32_t value);

/// Version, the security types 2 and None, and the result; what stands before serverInit().
[[nodiscard]] QByteArray greeting();
[[nodiscard]] QByteArray serverInit(std::uint16_t width, std::uint16_t height, const rfb::PixelFormat &format,
                                    const QByteArray &name = "guest");
/// greeting() and serverInit().
[[nodiscard]] QByteArray handshake(std::uint16_t width, std::uint16_t height,
                                   const rfb::PixelFormat &format = littleEndianFormat);
[[nodiscard]] QByteArray updateHeader(std::uint16_t rectangleCount);
[[nodiscard]] QByteArray rectangleHeader(std::uint16_t width, std::uint16_t height);
/// An update of one rectangle, all of it the same pixel.
[[nodiscard]] QByteArray update(std::uint16_t width, std::uint16_t height, const QByteArray &pixel);

} // namespace serverstream
