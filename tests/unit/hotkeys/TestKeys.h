#pragma once

#include "hotkeys/HotkeyEventType.h"

// Short names of virtual key codes and event types, for tests with long sequences of events.

namespace sonvale::hotkeys {

inline constexpr auto down = HotkeyEventType::down;
inline constexpr auto up = HotkeyEventType::up;
inline constexpr auto discarded = HotkeyEventType::discarded;

inline constexpr int letterX = 7;
inline constexpr int letterV = 9;
inline constexpr int tab = 48;
inline constexpr int space = 49;
inline constexpr int escape = 53;
inline constexpr int optionKey = 58;
inline constexpr int f5 = 96;
inline constexpr int f4 = 118;

} // namespace sonvale::hotkeys
