#include "RemoteFramebuffer/ServerMessages.h"

#include "RemoteFramebuffer/BigEndian.h"

namespace rfb {

ServerInit ServerInit::parse(std::span<const std::byte, size> bytes)
{
    return {
        .width = readUint16(bytes.subspan<0, 2>()),
        .height = readUint16(bytes.subspan<2, 2>()),
        .format = PixelFormat::parse(bytes.subspan<4, 16>()),
        .nameLength = readUint32(bytes.subspan<20, 4>()),
    };
}

RectangleHeader RectangleHeader::parse(std::span<const std::byte, size> bytes)
{
    return {
        .area =
            {
                .x = readUint16(bytes.subspan<0, 2>()),
                .y = readUint16(bytes.subspan<2, 2>()),
                .width = readUint16(bytes.subspan<4, 2>()),
                .height = readUint16(bytes.subspan<6, 2>()),
            },
        .encoding = static_cast<std::int32_t>(readUint32(bytes.subspan<8, 4>())),
    };
}

std::size_t headerSize(ServerMessage type)
{
    switch (type) {
    case ServerMessage::FramebufferUpdate:
        return 3;
    case ServerMessage::SetColourMapEntries:
        return 5;
    case ServerMessage::ServerCutText:
        return 7;
    case ServerMessage::Bell:
        break;
    }
    return 0;
}

std::uint16_t rectangleCount(std::span<const std::byte, 3> header)
{
    return readUint16(header.last<2>());
}

std::uint32_t colourMapSize(std::span<const std::byte, 5> header)
{
    constexpr std::uint32_t entrySize = 6;
    return readUint16(header.last<2>()) * entrySize;
}

std::uint32_t cutTextSize(std::span<const std::byte, 7> header)
{
    return readUint32(header.last<4>());
}

} // namespace rfb
