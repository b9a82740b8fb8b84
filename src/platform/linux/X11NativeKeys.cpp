#include "platform/linux/X11NativeKeys.h"

#include "platform/linux/X11KeyCodes.h"

#include <limits>

namespace sonvale::platform::linux {

int X11NativeKeys::virtualKeyCode(std::uint32_t scanCode) const {
    if (scanCode > std::numeric_limits<xcb_keycode_t>::max())
        return -1;
    return linux::virtualKeyCode(static_cast<xcb_keycode_t>(scanCode));
}

} // namespace sonvale::platform::linux
