#pragma once

#include "hotkeys/HotkeyConfiguration.h"
#include "platform/EventTap.h"

#include <variant>

namespace sonvale::hotkeys {

/// The user cancels the recording of a hotkey.
struct CaptureCancelled {
    bool operator==(const CaptureCancelled&) const = default;
};

/// The meaning of one keyboard event while the user records a hotkey: none, cancelled, or a hotkey.
using KeyCapture = std::variant<std::monostate, CaptureCancelled, HotkeyConfiguration>;

/// Returns the meaning of one event, independent of earlier events. Escape cancels, with any modifiers. Any
/// other key that goes down is a hotkey with the held modifiers. A modifier that goes down alone is a hotkey
/// at once.
KeyCapture captureKey(const platform::KeyEvent& event);

} // namespace sonvale::hotkeys
