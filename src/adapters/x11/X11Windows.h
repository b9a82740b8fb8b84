#pragma once

#include "adapters/x11/X11Connection.h"

#include <cstdint>
#include <optional>
#include <string>

namespace sonvale::adapters::x11 {

/// Returns the active window by the window manager (EWMH: _NET_ACTIVE_WINDOW), or nullopt if there is none or
/// there is no answer in time.
std::optional<xcb_window_t> activeWindow(X11Connection& connection, double deadline);

/// Returns the process of a top-level window, as its program says (EWMH: _NET_WM_PID).
std::optional<std::int32_t> processOf(X11Connection& connection, xcb_window_t window, double deadline);

/// The two names of a program in WM_CLASS (ICCCM 4.1.2.5), as the program wrote them.
struct WindowClass {
    std::string instance;
    std::string name;
};
/// Returns the names in that property, empty where there is none.
WindowClass windowClassIn(const XcbProperty& property);
/// Reads the names of a window. Empty if it has none, and if the server does not answer.
WindowClass windowClassOf(X11Connection& connection, xcb_window_t window, double deadline);

/// Returns whether both were made through one connection to the server, and so by one program.
bool isSameClient(const X11Connection& connection, xcb_window_t one, xcb_window_t other);

} // namespace sonvale::adapters::x11
