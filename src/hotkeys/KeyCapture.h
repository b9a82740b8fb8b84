#pragma once

#include "hotkeys/HotkeyConfiguration.h"
#include "platform/EventTap.h"

#include <variant>

namespace sonvale::hotkeys {

/// The user does not want to record a shortcut after all.
struct CaptureCancelled {
    bool operator==(const CaptureCancelled&) const = default;
};

/// What one event of the keyboard means to somebody who records a shortcut: nothing, the end, or a shortcut.
using KeyCapture = std::variant<std::monostate, CaptureCancelled, HotkeyConfiguration>;

/// Each event is judged alone. Escape cancels, whatever is held with it; any other key that goes down is a
/// shortcut with the modifiers that are held, and a modifier that goes down alone is one at once.
KeyCapture captureKey(const platform::KeyEvent& event);

} // namespace sonvale::hotkeys
