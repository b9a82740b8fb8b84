#pragma once

#include "adapters/x11/X11KeyboardMap.h"

#include <cstdint>
#include <vector>

namespace sonvale::adapters::x11 {

/// The keys that are down, on which keyboard each.
class HeldKeys {
public:
    /// For keys of which only the server's word is known that they are down.
    static constexpr std::uint16_t anyKeyboard = 0;

    void press(std::uint16_t keyboard, xcb_keycode_t keycode);

    /// A key that is let go on hardware is let go on the keyboards of programs too: the server sees it so,
    /// and a program that pressed it for its own ends and never let go would else hold it for ever.
    void release(std::uint16_t keyboard, xcb_keycode_t keycode, const X11Keyboards& keyboards);

    /// Lets go all keys of a keyboard; true when there were any.
    bool dropKeyboard(std::uint16_t keyboard);

    bool isHeld(std::uint16_t keyboard, xcb_keycode_t keycode) const;

    /// Bits of `platform::modifier`.
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
