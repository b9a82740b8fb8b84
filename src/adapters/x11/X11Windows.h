#pragma once

#include "adapters/x11/X11Client.h"

#include <cstdint>
#include <optional>
#include <string>

namespace sonvale::adapters::x11 {

/// The window that the user works in, as the window manager tells it (EWMH: _NET_ACTIVE_WINDOW); absent when
/// there is none, and when nobody tells in time.
std::optional<xcb_window_t> activeWindow(X11Client& client, double deadline);

/// The process that a top-level window belongs to, as its program says (EWMH: _NET_WM_PID).
std::optional<std::int32_t> processOf(X11Client& client, xcb_window_t window, double deadline);

/// The class of WM_CLASS (ICCCM 4.1.2.5) in the bytes of that property; empty when there is none.
std::string windowClassIn(const xcb_get_property_reply_t* property);

/// Whether both were made through one connection to the server, and so by one program.
bool isSameClient(xcb_connection_t* connection, xcb_window_t one, xcb_window_t other);

} // namespace sonvale::adapters::x11
