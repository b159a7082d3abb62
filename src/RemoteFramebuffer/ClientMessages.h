#pragma once

#include "RemoteFramebuffer/Rectangle.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// What an RFB client sends, byte for byte (RFC 6143, sections 7.1 to 7.5).
namespace rfb {

enum class SecurityType : std::uint8_t
{
    None = 1
};
enum class Encoding : std::int32_t
{
    Raw = 0,
    /// No pixels: the rectangle's size is the framebuffer's new one (section 7.8.2).
    DesktopSize = -223,
    /// The pointer's picture, the rectangle's corner is its hot spot (section 7.8.1).
    Cursor = -239,
    /// The rectangle's x says whether the server takes positions (1) or movements (0) of the pointer. This
    /// and the next are registered to QEMU (section 8.4.2).
    PointerType = -257,
    /// The server takes keys by their scan codes.
    ExtendedKey = -258,
    /// Like Cursor, with alpha in place of a mask.
    AlphaCursor = -314
};
/// Whether the server may leave out what did not change since its last update.
enum class UpdateKind : std::uint8_t
{
    Full = 0,
    Incremental = 1
};
/// Whether other clients of the server stay connected.
enum class DesktopSharing : std::uint8_t
{
    Exclusive = 0,
    Shared = 1
};

enum class KeyMove : std::uint16_t
{
    Release = 0,
    Press = 1
};

/// "RFB 003.008\n" (section 7.1.1).
[[nodiscard]] std::array<std::byte, 12> protocolVersion();
/// Section 7.1.2.
[[nodiscard]] std::array<std::byte, 1> securityChoice(SecurityType type);
/// Section 7.3.1.
[[nodiscard]] std::array<std::byte, 1> clientInit(DesktopSharing sharing);
/// Section 7.5.2; at most 65535 encodings, the preferred one first.
[[nodiscard]] std::vector<std::byte> setEncodings(std::span<const Encoding> encodings);
/// Section 7.5.3.
[[nodiscard]] std::array<std::byte, 10> framebufferUpdateRequest(UpdateKind kind, const Rectangle &area);
/// The lowest bit is the left button; a turn of the wheel is a press and release of bit 3 (up) or 4 (down)
/// (section 7.5.5).
[[nodiscard]] std::array<std::byte, 6> pointerEvent(std::uint8_t buttons, std::uint16_t x, std::uint16_t y);
/// ClientCutText without text (section 7.5.6).
[[nodiscard]] std::array<std::byte, 8> emptyCutText();
/// QEMU's own, for servers that take ExtendedKey: a key by its place on the keyboard, without a keysym, so
/// that the guest's layout decides what it means.
[[nodiscard]] std::array<std::byte, 12> extendedKeyEvent(KeyMove move, std::uint8_t scanCode);

} // namespace rfb
