#include "RemoteFramebuffer/ScanCode.h"

#include <algorithm>
#include <array>
#include <utility>

namespace rfb {

namespace {

struct Pair
{
    std::uint32_t keyCode;
    std::uint8_t scanCode;
};

/// The rest has the same number in both.
constexpr std::array differing = {
    Pair{89, 0x73},  // Ro
    Pair{90, 0x78},  // Katakana
    Pair{91, 0x77},  // Hiragana
    Pair{92, 0x79},  // Henkan
    Pair{93, 0x70},  // Katakana, Hiragana
    Pair{94, 0x7b},  // Muhenkan
    Pair{95, 0x5c},  // keypad comma, Japanese
    Pair{96, 0x9c},  // keypad Enter
    Pair{97, 0x9d},  // right Control
    Pair{98, 0xb5},  // keypad slash
    Pair{99, 0x54},  // System Request
    Pair{100, 0xb8}, // right Alt
    Pair{102, 0xc7}, // Home
    Pair{103, 0xc8}, // Up
    Pair{104, 0xc9}, // Page Up
    Pair{105, 0xcb}, // Left
    Pair{106, 0xcd}, // Right
    Pair{107, 0xcf}, // End
    Pair{108, 0xd0}, // Down
    Pair{109, 0xd1}, // Page Down
    Pair{110, 0xd2}, // Insert
    Pair{111, 0xd3}, // Delete
    Pair{113, 0xa0}, // Mute
    Pair{114, 0xae}, // Volume down
    Pair{115, 0xb0}, // Volume up
    Pair{117, 0x59}, // keypad equals
    Pair{119, 0xc6}, // Pause
    Pair{121, 0x7e}, // keypad comma
    Pair{122, 0x72}, // Hangul
    Pair{123, 0x71}, // Hanja
    Pair{124, 0x7d}, // Yen
    Pair{125, 0xdb}, // left Meta
    Pair{126, 0xdc}, // right Meta
    Pair{127, 0xdd}, // Menu
};

} // namespace

std::optional<std::uint8_t> scanCodeOfKeyCode(std::uint32_t keyCode)
{
    if ((keyCode >= 1 && keyCode <= 83) || (keyCode >= 86 && keyCode <= 88))
        return static_cast<std::uint8_t>(keyCode);
    const auto found = std::ranges::find(differing, keyCode, &Pair::keyCode);
    if (found == differing.end())
        return std::nullopt;
    return found->scanCode;
}

} // namespace rfb
