#pragma once

#include "adapters/x11/keys/SyntheticKeyLedger.h"
#include "adapters/x11/keys/X11KeyboardMap.h"

#include <bitset>
#include <cstdint>
#include <vector>

namespace sonvale::adapters::x11 {

/// A key with modifiers, as a program expects it.
struct KeyChord {
    xcb_keysym_t keysym = 0;
    xcb_keycode_t fallbackKeycode = 0; ///< the key code on a keyboard whose map lacks the symbol
    std::uint64_t modifiers = 0;       ///< bits of `platform::modifier`; only Control and Shift
    /// Whether Shift depends on the map: it is pressed if the keyboard has the symbol on the upper level.
    bool takesShiftFromMap = false;
};

/// Returns the strokes that make a program see the chord while the keys of `down` are held. After them no key
/// is held that was not held before.
///
/// Modifiers that do not belong to the chord are released and not pressed again: one that a program presses
/// stays down after the user has released his own. The chord's modifiers are pressed before that, because the
/// release of Alt alone opens the menu bar of Qt.
std::vector<KeyStroke> strokesFor(const KeyChord& chord, const X11KeyboardMap& map,
                                  const std::bitset<256>& down);

} // namespace sonvale::adapters::x11
