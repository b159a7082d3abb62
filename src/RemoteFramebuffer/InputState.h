#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <span>
#include <vector>

namespace rfb {

/// A place on the guest's screen, in pixels from its top left corner.
struct Point
{
    std::uint16_t x = 0;
    std::uint16_t y = 0;

    bool operator==(const Point &) const = default;
};

/// What of a guest's keyboard and pointer is down. Each call gives the messages for the server that follow
/// from it, none when nothing changes.
class InputState
{
public:
    using Messages = std::vector<std::byte>;

    enum class Button : std::uint8_t
    {
        Left = 1,
        Middle = 2,
        Right = 4
    };
    enum class Wheel : std::uint8_t
    {
        Up = 8,
        Down = 16
    };

    [[nodiscard]] Messages press(std::uint8_t scanCode);
    [[nodiscard]] Messages release(std::uint8_t scanCode);
    [[nodiscard]] Messages movePointer(Point to);
    [[nodiscard]] Messages press(Button button, Point at);
    [[nodiscard]] Messages release(Button button, Point at);
    [[nodiscard]] Messages turn(Wheel direction, int steps, Point at);
    /// Of all keys and buttons.
    [[nodiscard]] Messages releaseAll();

    [[nodiscard]] const std::set<std::uint8_t> &pressedKeys() const { return m_keys; }
    [[nodiscard]] bool hasPressedButtons() const { return m_buttons != 0; }

private:
    [[nodiscard]] Messages pointerMessage() const;

    std::set<std::uint8_t> m_keys;
    std::uint8_t m_buttons = 0;
    Point m_pointer;
};

} // namespace rfb
