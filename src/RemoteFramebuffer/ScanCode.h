#pragma once

#include <cstdint>
#include <optional>

/// Keys by their place on the keyboard, as QEMU numbers them: the scan code of an AT keyboard's set 1, with
/// the highest bit in place of the prefix E0 (QEMU's "qnum").
namespace rfb {

/// The scan code of a Linux key code (linux/input-event-codes.h); no value for a key that no AT keyboard has.
[[nodiscard]] std::optional<std::uint8_t> scanCodeOfKeyCode(std::uint32_t keyCode);

} // namespace rfb
