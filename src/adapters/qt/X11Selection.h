#pragma once

#include <cstdint>
#include <string>

namespace sonvale::adapters::qt {

/// Whether the application shows its windows on an X server.
bool isOnX11();

/// The atom of a name; 0 when not on X11.
std::uint32_t x11Atom(const std::string& name);

/// Whether a manager selection (ICCCM 2.8), such as "_NET_SYSTEM_TRAY_S0", has an owner; false when not on
/// X11. Waits for the X server's answer. The screen is number 0: servers with several separate ones have died
/// out.
bool hasX11Owner(const std::string& selection);

} // namespace sonvale::adapters::qt
