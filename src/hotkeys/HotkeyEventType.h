#pragma once

namespace sonvale::hotkeys {

/// The two ends of a press.
enum class HotkeyEventType { down, up };

} // namespace sonvale::hotkeys
