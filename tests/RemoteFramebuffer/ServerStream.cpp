#include "RemoteFramebuffer/ServerStream.h"

#include <QtEndian>

namespace serverstream {

rfb::PixelFormat bigEndianFormat()
{
    rfb::PixelFormat format = littleEndianFormat;
    format.isBigEndian = true;
    return format;
}

rfb::PixelFormat withBits(rfb::PixelFormat format, std::uint8_t bitsPerPixel)
{
    format.bitsPerPixel = bitsPerPixel;
    return format;
}

template<typename Integer>
static QByteArray bigEndian(Integer value)
{
    QByteArray bytes(sizeof value, Qt::Uninitialized);
    qToBigEndian(value, bytes.data());
    return bytes;
}

QByteArray uint16(std::uint16_t value)
{
    return bigEndian(value);
}

QByteArray uint32(std::uint32_t value)
{
    return bigEndian(value);
}

QByteArray greeting()
{
    return QByteArray("RFB 003.008\n") + QByteArray("\x02\x02\x01", 3) + uint32(0);
}

QByteArray serverInit(std::uint16_t width, std::uint16_t height, const rfb::PixelFormat &format,
                      const QByteArray &name)
{
    QByteArray bytes = uint16(width) + uint16(height);
    for (const int value :
         {int{format.bitsPerPixel}, int{format.depth}, int{format.isBigEndian}, int{format.isTrueColour}})
        bytes += static_cast<char>(value);
    bytes += uint16(format.redMaximum) + uint16(format.greenMaximum) + uint16(format.blueMaximum);
    for (const int value : {int{format.redShift}, int{format.greenShift}, int{format.blueShift}})
        bytes += static_cast<char>(value);
    return bytes + QByteArray(3, '\0') + uint32(static_cast<std::uint32_t>(name.size())) + name;
}

QByteArray handshake(std::uint16_t width, std::uint16_t height, const rfb::PixelFormat &format)
{
    return greeting() + serverInit(width, height, format);
}

QByteArray updateHeader(std::uint16_t rectangleCount)
{
    return QByteArray(2, '\0') + uint16(rectangleCount);
}

QByteArray rectangleHeader(std::uint16_t width, std::uint16_t height)
{
    return uint32(0) + uint16(width) + uint16(height) + uint32(0);
}

QByteArray update(std::uint16_t width, std::uint16_t height, const QByteArray &pixel)
{
    return updateHeader(1) + rectangleHeader(width, height) + pixel.repeated(qsizetype{width} * height);
}

} // namespace serverstream
