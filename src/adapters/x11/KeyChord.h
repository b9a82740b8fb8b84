#pragma once

#include "adapters/x11/SyntheticKeyLedger.h"
#include "adapters/x11/X11KeyboardMap.h"

#include <bitset>
#include <cstdint>
#include <vector>

namespace sonvale::adapters::x11 {

/// A key with modifiers as a program expects it.
struct KeyChord {
    xcb_keysym_t keysym = 0;
    xcb_keycode_t usualKeycode = 0; ///< where the key is on a keyboard whose map has no such sign
    std::uint64_t modifiers = 0;    ///< bits of `platform::modifier`, Control and Shift only
    /// Whether Shift goes with the sign: pressed when the keyboard has it on the upper level.
    bool takesShiftFromMap = false;
};

/// The strokes that make a program see the chord while the keys of `down` are held, and after which nothing
/// is held that was not before.
///
/// Modifiers that do not belong to the chord are let go and not pressed again: one that is pressed by a
/// program sticks when the user lets his own go. The chord's own come first, because a bare Alt that goes up
/// opens the menu bar of Qt.
std::vector<KeyStroke> strokesFor(const KeyChord& chord, const X11KeyboardMap& map,
                                  const std::bitset<256>& down);

} // namespace sonvale::adapters::x11
