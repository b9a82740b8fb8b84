#pragma once

#include "adapters/x11/keys/X11KeyboardMap.h"

#include <cstdint>
#include <vector>

namespace sonvale::adapters::x11 {

/// The keys that are down, with the keyboard of each.
class HeldKeys {
public:
    /// For keys that the server reports as down without their keyboard.
    static constexpr std::uint16_t anyKeyboard = 0;

    void press(std::uint16_t keyboard, xcb_keycode_t keycode);

    /// Removes the key. A release on hardware also releases the key on the keyboards of programs: the server
    /// sees it so, and otherwise a program that pressed it and never released it would hold it indefinitely.
    void release(std::uint16_t keyboard, xcb_keycode_t keycode, const X11Keyboards& keyboards);

    /// Removes all keys of a keyboard. Returns whether there were any.
    bool dropKeyboard(std::uint16_t keyboard);

    bool isHeld(std::uint16_t keyboard, xcb_keycode_t keycode) const;

    /// Returns the bits of `platform::modifier` for the keys that are down.
    std::uint64_t flags(const X11KeyboardMap& map) const;

private:
    struct Held {
        std::uint16_t keyboard;
        xcb_keycode_t keycode;
        bool operator==(const Held&) const = default;
    };
    std::vector<Held> held_;
};

} // namespace sonvale::adapters::x11
