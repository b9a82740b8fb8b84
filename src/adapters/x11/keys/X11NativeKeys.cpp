#include "adapters/x11/keys/X11NativeKeys.h"

#include "adapters/x11/keys/X11KeyCodes.h"

#include <limits>

namespace sonvale::adapters::x11 {

int X11NativeKeys::virtualKeyCode(std::uint32_t scanCode) const {
    if (scanCode > std::numeric_limits<xcb_keycode_t>::max())
        return -1;
    return x11::virtualKeyCode(static_cast<xcb_keycode_t>(scanCode));
}

} // namespace sonvale::adapters::x11
