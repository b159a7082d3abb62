#pragma once

#include <cstdint>
#include <optional>

class QKeyEvent;

/// The scan code (rfb::scanCodeOfKeyCode()) of the key that was pressed or released. X11 and Wayland tell the
/// key itself; of an event without it, such as one made by a program, the key is guessed on a US keyboard.
[[nodiscard]] std::optional<std::uint8_t> scanCodeOf(const QKeyEvent &event);
