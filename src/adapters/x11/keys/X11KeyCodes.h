#pragma once

#include <xcb/xproto.h>

#include <vector>

namespace sonvale::adapters::x11 {

/// Returns the macOS virtual key code (Carbon's kVK_ constants) of the key at the same place of the keyboard,
/// or -1 if macOS has none. The X key codes follow the evdev rules, which every current server uses.
int virtualKeyCode(xcb_keycode_t keycode);

/// Returns the X key codes at the place of a macOS virtual key code. There are several if PC keyboards have
/// two keys for it.
std::vector<xcb_keycode_t> keycodesOf(int virtualKeyCode);

} // namespace sonvale::adapters::x11
