#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

/// Integers in network byte order (RFC 6143, section 7).
namespace rfb {

[[nodiscard]] constexpr std::uint16_t readUint16(std::span<const std::byte, 2> bytes)
{
    return static_cast<std::uint16_t>(std::to_integer<unsigned>(bytes[0]) << 8 |
                                      std::to_integer<unsigned>(bytes[1]));
}

[[nodiscard]] constexpr std::uint32_t readUint32(std::span<const std::byte, 4> bytes)
{
    return std::uint32_t{readUint16(bytes.first<2>())} << 16 | readUint16(bytes.last<2>());
}

constexpr void writeUint16(std::span<std::byte, 2> bytes, std::uint16_t value)
{
    bytes[0] = static_cast<std::byte>(value >> 8);
    bytes[1] = static_cast<std::byte>(value);
}

constexpr void writeUint32(std::span<std::byte, 4> bytes, std::uint32_t value)
{
    writeUint16(bytes.first<2>(), static_cast<std::uint16_t>(value >> 16));
    writeUint16(bytes.last<2>(), static_cast<std::uint16_t>(value));
}

} // namespace rfb
