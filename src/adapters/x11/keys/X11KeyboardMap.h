#pragma once

#include "adapters/x11/keys/X11Keyboards.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace sonvale::adapters::x11 {

/// The meanings of the keyboard's keys at one moment: a copy of the server's map.
class X11KeyboardMap {
public:
    /// A key, and whether Shift must be held for the symbol that was searched for.
    struct Position {
        xcb_keycode_t keycode = 0;
        bool isShifted = false;
    };

    /// The meaning of one key: symbols by group and level, and its bits of the server's modifier map.
    struct Key {
        int groups = 0;
        int levels = 0;
        std::vector<xcb_keysym_t>
            keysyms; ///< `levels` symbols of the first group, then of the second, and so on
        std::uint8_t modifierBits = 0;
    };

    X11KeyboardMap() = default;
    /// `group` is the active layout.
    X11KeyboardMap(std::array<Key, 256> keys, int group)
        : keys_(std::move(keys))
        , group_(group) {}

    /// Sequence numbers of the two requests.
    struct Request {
        unsigned int map = 0;
        unsigned int state = 0;
    };
    static Request request(X11Connection& connection);
    /// Returns nullopt if the server does not answer in time.
    static std::optional<X11KeyboardMap> receive(X11Connection& connection, Request request, double deadline);

    /// Returns the bit of `platform::modifier` for a modifier key, by its present meaning, and 0 for any
    /// other key. AltGr has none, because it types symbols.
    std::uint64_t modifierOf(xcb_keycode_t keycode) const;

    /// Returns whether the key changes the keyboard's state instead of typing: modifiers of all kinds, and
    /// Caps Lock.
    bool isStateKey(xcb_keycode_t keycode) const;

    /// Returns the macOS virtual key code that events of this key carry. It is the code of the key's place,
    /// except for Escape: Escape is the key that now means Escape, such as Caps Lock with the option
    /// caps:escape. Returns -1 if there is no such code, and for a key at Escape's place that means something
    /// else.
    int virtualKeyCodeOf(xcb_keycode_t keycode) const;
    /// Returns the key codes whose events carry a macOS virtual key code.
    std::vector<xcb_keycode_t> keycodesOf(int virtualKeyCode) const;

    /// Returns whether the key is a modifier only while it is down (Alt, AltGr and so on, but no locks).
    bool isHeldModifier(xcb_keycode_t keycode) const;

    /// Returns the server's modifier bits for bits of `platform::modifier`, or nullopt if the keyboard has no
    /// such key.
    std::optional<std::uint8_t> serverModifiers(std::uint64_t flags) const;

    /// Returns the server's modifier bits for every combination of Caps Lock and Num Lock. The first is 0.
    std::vector<std::uint8_t> lockCombinations() const;

    /// Returns the key that types a symbol. The active layout (group) comes before the others, and a key
    /// without Shift before one with it.
    std::optional<Position> find(xcb_keysym_t keysym) const;

    /// Returns a key code that no program gives a meaning to.
    std::optional<xcb_keycode_t> unusedKeycode() const;

    /// Returns another such key code, if there are two. Its release marks the beginning of strokes that this
    /// program sends.
    std::optional<xcb_keycode_t> markerKeycode() const;

private:
    bool isUnused(int keycode) const;
    xcb_keysym_t firstKeysym(xcb_keycode_t keycode) const;
    xcb_keysym_t keysymAt(const Key& key, int group, int level) const;
    std::optional<Position> findIn(xcb_keysym_t keysym, int group) const;

    std::array<Key, 256> keys_{};
    int group_ = 0;
};

/// Selects the events that `isKeyboardChange` recognizes.
void selectKeyboardChanges(X11Connection& connection);

/// Returns whether the event reports that another keyboard is in use or that keys have new meanings.
bool isKeyboardChange(const X11KeyboardExtensions& extensions, const xcb_generic_event_t& event);

} // namespace sonvale::adapters::x11
