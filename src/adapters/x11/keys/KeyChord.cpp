#include "adapters/x11/keys/KeyChord.h"

#include "platform/EventTap.h"

#include <X11/keysym.h>

namespace sonvale::adapters::x11 {

namespace {

constexpr xcb_keycode_t fallbackControl = 37;
constexpr xcb_keycode_t fallbackShift = 50;

xcb_keycode_t keycodeOf(const X11KeyboardMap& map, xcb_keysym_t keysym, xcb_keycode_t fallback) {
    const auto position = map.find(keysym);
    return position ? position->keycode : fallback;
}

} // namespace

std::vector<KeyStroke> strokesFor(const KeyChord& chord, const X11KeyboardMap& map,
                                  const std::bitset<256>& down) {
    const auto position = map.find(chord.keysym);
    const xcb_keycode_t key = position ? position->keycode : chord.fallbackKeycode;
    std::uint64_t wanted = chord.modifiers;
    if (chord.takesShiftFromMap && (!position || position->isShifted))
        wanted |= platform::modifier::shift;

    std::uint64_t held = 0;
    std::vector<xcb_keycode_t> unwanted;
    for (unsigned int code = 0; code < down.size(); ++code) {
        const auto keycode = static_cast<xcb_keycode_t>(code);
        if (!down.test(code))
            continue;
        const auto flag = map.modifierOf(keycode);
        held |= flag;
        const bool belongs = flag != 0 && (wanted & flag) == flag;
        if ((map.isHeldModifier(keycode) && !belongs) || keycode == key)
            unwanted.push_back(keycode);
    }

    std::vector<xcb_keycode_t> pressed;
    if ((wanted & platform::modifier::control) && !(held & platform::modifier::control))
        pressed.push_back(keycodeOf(map, XK_Control_L, fallbackControl));
    if ((wanted & platform::modifier::shift) && !(held & platform::modifier::shift))
        pressed.push_back(keycodeOf(map, XK_Shift_L, fallbackShift));

    std::vector<KeyStroke> strokes;
    for (const auto keycode : pressed)
        strokes.push_back({keycode, true});
    for (const auto keycode : unwanted)
        strokes.push_back({keycode, false});
    strokes.push_back({key, true});
    strokes.push_back({key, false});
    for (auto keycode = pressed.rbegin(); keycode != pressed.rend(); ++keycode)
        strokes.push_back({*keycode, false});
    return strokes;
}

} // namespace sonvale::adapters::x11
