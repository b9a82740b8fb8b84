#pragma once

#include <QColor>

namespace sonvale::ui {

// The colors of the states in the light theme and in the tray icon.
inline constexpr QColor restingColor(0x5B, 0x64, 0x72);
inline constexpr QColor listeningColor(0x2A, 0x63, 0xF0);
inline constexpr QColor workingColor(0x17, 0x78, 0x43);

} // namespace sonvale::ui
