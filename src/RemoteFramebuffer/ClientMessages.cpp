#include "RemoteFramebuffer/ClientMessages.h"

#include "RemoteFramebuffer/BigEndian.h"

#include <algorithm>
#include <cassert>
#include <string_view>

namespace rfb {

namespace {

enum class ClientMessage : std::uint8_t
{
    SetEncodings = 2,
    FramebufferUpdateRequest = 3,
    PointerEvent = 5,
    ClientCutText = 6,
    QEMU = 255
};

} // namespace

std::array<std::byte, 12> protocolVersion()
{
    constexpr std::string_view text = "RFB 003.008\n";
    std::array<std::byte, 12> message{};
    static_assert(text.size() == 12);
    std::ranges::transform(text, message.begin(), [](char c) { return static_cast<std::byte>(c); });
    return message;
}

std::array<std::byte, 1> securityChoice(SecurityType type)
{
    return {static_cast<std::byte>(type)};
}

std::array<std::byte, 1> clientInit(DesktopSharing sharing)
{
    return {static_cast<std::byte>(sharing)};
}

std::vector<std::byte> setEncodings(std::span<const Encoding> encodings)
{
    assert(encodings.size() <= 0xffff);
    std::vector<std::byte> message(4 + encodings.size() * 4);
    const std::span<std::byte> bytes(message);
    bytes[0] = static_cast<std::byte>(ClientMessage::SetEncodings);
    writeUint16(bytes.subspan<2, 2>(), static_cast<std::uint16_t>(encodings.size()));
    for (std::size_t i = 0; i < encodings.size(); ++i)
        writeUint32(bytes.subspan(4 + i * 4).first<4>(), static_cast<std::uint32_t>(encodings[i]));
    return message;
}

std::array<std::byte, 10> framebufferUpdateRequest(UpdateKind kind, const Rectangle &area)
{
    std::array<std::byte, 10> message{};
    const std::span<std::byte, 10> bytes(message);
    bytes[0] = static_cast<std::byte>(ClientMessage::FramebufferUpdateRequest);
    bytes[1] = static_cast<std::byte>(kind);
    writeUint16(bytes.subspan<2, 2>(), area.x);
    writeUint16(bytes.subspan<4, 2>(), area.y);
    writeUint16(bytes.subspan<6, 2>(), area.width);
    writeUint16(bytes.subspan<8, 2>(), area.height);
    return message;
}

std::array<std::byte, 6> pointerEvent(std::uint8_t buttons, std::uint16_t x, std::uint16_t y)
{
    std::array<std::byte, 6> message{static_cast<std::byte>(ClientMessage::PointerEvent),
                                     static_cast<std::byte>(buttons)};
    const std::span<std::byte, 6> bytes(message);
    writeUint16(bytes.subspan<2, 2>(), x);
    writeUint16(bytes.subspan<4, 2>(), y);
    return message;
}

std::array<std::byte, 8> emptyCutText()
{
    return {static_cast<std::byte>(ClientMessage::ClientCutText)};
}

std::array<std::byte, 12> extendedKeyEvent(KeyMove move, std::uint8_t scanCode)
{
    // Submessage 0, and 0 for the keysym.
    std::array<std::byte, 12> message{static_cast<std::byte>(ClientMessage::QEMU)};
    const std::span<std::byte, 12> bytes(message);
    writeUint16(bytes.subspan<2, 2>(), static_cast<std::uint16_t>(move));
    writeUint32(bytes.subspan<8, 4>(), scanCode);
    return message;
}

} // namespace rfb
