#include "adapters/x11/keys/HeldKeys.h"

#include <algorithm>

namespace sonvale::adapters::x11 {

void HeldKeys::press(std::uint16_t keyboard, xcb_keycode_t keycode) {
    const Held key{keyboard, keycode};
    if (std::find(held_.begin(), held_.end(), key) == held_.end())
        held_.push_back(key);
}

void HeldKeys::release(std::uint16_t keyboard, xcb_keycode_t keycode, const X11Keyboards& keyboards) {
    const bool isHardware = keyboards.isHardware(keyboard);
    std::erase_if(held_, [&](const Held& key) {
        const bool isReleased = key.keyboard == keyboard || key.keyboard == anyKeyboard ||
                                (isHardware && !keyboards.isHardware(key.keyboard));
        return key.keycode == keycode && isReleased;
    });
}

bool HeldKeys::dropKeyboard(std::uint16_t keyboard) {
    return std::erase_if(held_, [&](const Held& key) { return key.keyboard == keyboard; }) > 0;
}

bool HeldKeys::isHeld(std::uint16_t keyboard, xcb_keycode_t keycode) const {
    return std::find(held_.begin(), held_.end(), Held{keyboard, keycode}) != held_.end();
}

std::uint64_t HeldKeys::flags(const X11KeyboardMap& map) const {
    std::uint64_t result = 0;
    for (const auto& key : held_)
        result |= map.modifierOf(key.keycode);
    return result;
}

} // namespace sonvale::adapters::x11
