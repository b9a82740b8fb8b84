#pragma once

namespace sonvale::hotkeys {

/// What happens to a press of a hotkey.
enum class HotkeyEventType {
    down,
    up,
    /// A press of modifiers alone that went down belongs to something else: what it began is to be thrown
    /// away. Takes the place of `up`. Only the guard of such hotkeys reports it.
    discarded,
};

} // namespace sonvale::hotkeys
