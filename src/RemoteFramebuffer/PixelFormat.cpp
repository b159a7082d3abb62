#include "RemoteFramebuffer/PixelFormat.h"

#include "RemoteFramebuffer/BigEndian.h"

namespace rfb {

PixelFormat PixelFormat::parse(std::span<const std::byte, 16> bytes)
{
    const auto byteAt = [bytes](std::size_t offset) {
        return std::to_integer<std::uint8_t>(bytes[offset]);
    };
    return {
        .bitsPerPixel = byteAt(0),
        .depth = byteAt(1),
        .isBigEndian = byteAt(2) != 0,
        .isTrueColour = byteAt(3) != 0,
        .redMaximum = readUint16(bytes.subspan<4, 2>()),
        .greenMaximum = readUint16(bytes.subspan<6, 2>()),
        .blueMaximum = readUint16(bytes.subspan<8, 2>()),
        .redShift = byteAt(10),
        .greenShift = byteAt(11),
        .blueShift = byteAt(12),
    };
}

PixelLayout pixelLayout(const PixelFormat &format)
{
    const bool isEightBitsEach = format.bitsPerPixel == 32 && format.isTrueColour &&
                                 format.redMaximum == 255 && format.greenMaximum == 255 &&
                                 format.blueMaximum == 255;
    const auto bitInMemory = [&format](int shift) {
        return format.isBigEndian ? 24 - shift : shift;
    };
    const bool isBlueFirst = bitInMemory(format.blueShift) == 0 && bitInMemory(format.greenShift) == 8 &&
                             bitInMemory(format.redShift) == 16;
    return isEightBitsEach && isBlueFirst ? PixelLayout::BGRX : PixelLayout::XRGB;
}

} // namespace rfb
