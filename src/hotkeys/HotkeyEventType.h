#pragma once

namespace sonvale::hotkeys {

/// The events of a hotkey.
enum class HotkeyEventType {
    down,
    up,
    /// Replaces `up` if a press of modifiers alone turns out to belong to another shortcut: the receiver
    /// discards what the press began. Only the guard of such hotkeys reports it.
    discarded,
};

} // namespace sonvale::hotkeys
