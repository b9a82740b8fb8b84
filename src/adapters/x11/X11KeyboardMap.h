#pragma once

#include "adapters/x11/X11Keyboards.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace sonvale::adapters::x11 {

/// What the keys of the keyboard mean at one moment: a copy of the server's map.
class X11KeyboardMap {
public:
    /// A key and whether Shift has to be held for the sign that was looked for.
    struct Position {
        xcb_keycode_t keycode = 0;
        bool isShifted = false;
    };

    /// The meaning of one key: signs by group and level, and its bits of the server's modifier map.
    struct Key {
        int groups = 0;
        int levels = 0;
        std::vector<xcb_keysym_t> keysyms; ///< `levels` of the first group, then of the second...
        std::uint8_t modifierBits = 0;
    };

    X11KeyboardMap() = default;
    /// `group` is the layout in use.
    X11KeyboardMap(std::array<Key, 256> keys, int group)
        : keys_(std::move(keys))
        , group_(group) {}

    /// Sequence numbers of two requests on their way.
    struct Request {
        unsigned int map = 0;
        unsigned int state = 0;
    };
    static Request request(X11Connection& connection);
    /// Absent when the server does not tell in time.
    static std::optional<X11KeyboardMap> receive(X11Connection& connection, Request request, double deadline);

    /// The bit of `platform::modifier` that the key holds, by what it means now; 0 for all others. AltGr is
    /// none: it types signs.
    std::uint64_t modifierOf(xcb_keycode_t keycode) const;

    /// Whether the key changes the keyboard's state instead of typing: modifiers of all kinds, Caps Lock too.
    bool isStateKey(xcb_keycode_t keycode) const;

    /// The macOS virtual key code that events of this key carry: that of its place, except for Escape. Escape
    /// is the key that means Escape now, such as Caps Lock with the option caps:escape. Returns -1 if there
    /// is no such code, and for a key at Escape's place that means something else.
    int virtualKeyCodeOf(xcb_keycode_t keycode) const;
    /// The key codes whose events carry a macOS virtual key code.
    std::vector<xcb_keycode_t> keycodesOf(int virtualKeyCode) const;

    /// Whether the key holds a modifier only as long as it is down (Alt, AltGr..., and no locks).
    bool isHeldModifier(xcb_keycode_t keycode) const;

    /// The server's modifier bits for bits of `platform::modifier`; absent when the keyboard has no such key.
    std::optional<std::uint8_t> serverModifiers(std::uint64_t flags) const;

    /// The server's modifier bits of every combination of Caps Lock and Num Lock; the first is 0.
    std::vector<std::uint8_t> lockCombinations() const;

    /// The key that types a sign, first in the layout (group) in use, then in the others, unshifted before
    /// shifted.
    std::optional<Position> find(xcb_keysym_t keysym) const;

    /// A key code that means nothing to anybody.
    std::optional<xcb_keycode_t> unusedKeycode() const;

    /// Another such key code, if there are two: its release marks the beginning of strokes that the program
    /// sends.
    std::optional<xcb_keycode_t> markerKeycode() const;

private:
    bool isUnused(int keycode) const;
    xcb_keysym_t firstKeysym(xcb_keycode_t keycode) const;
    xcb_keysym_t keysymAt(const Key& key, int group, int level) const;
    std::optional<Position> findIn(xcb_keysym_t keysym, int group) const;

    std::array<Key, 256> keys_{};
    int group_ = 0;
};

/// Asks for `isKeyboardChange` events.
void selectKeyboardChanges(X11Connection& connection);

/// Whether the event tells that another keyboard is in use or that keys have got other meanings.
bool isKeyboardChange(const X11KeyboardExtensions& extensions, const xcb_generic_event_t& event);

} // namespace sonvale::adapters::x11
