#pragma once

#include "hotkeys/HotkeyAction.h"
#include "hotkeys/HotkeyConfiguration.h"

#include <map>
#include <vector>

namespace sonvale::hotkeys {

/// All hotkeys of one action.
struct HotkeyBinding {
    HotkeyAction action = HotkeyAction::pushToTalk;
    std::vector<HotkeyConfiguration> configs; ///< alternatives, in the user's order
    bool isEnabled = true;                    ///< a disabled binding is not active and has no conflicts

    bool operator==(const HotkeyBinding&) const = default;
};

/// The bindings of a user, ordered by action.
using HotkeyBindings = std::map<HotkeyAction, HotkeyBinding>;

} // namespace sonvale::hotkeys
