#include "hotkeys/KeyCapture.h"

#include "platform/KeyCodes.h"

#include <bit>

namespace sonvale::hotkeys {

namespace {

/// Returns the modifier of a key on either side of the keyboard; 0 for other keys, including caps lock.
std::uint64_t modifierOf(int keyCode) {
    switch (keyCode) {
    case 54:
    case 55:
        return platform::modifier::command;
    case 56:
    case 60:
        return platform::modifier::shift;
    case 58:
    case 61:
        return platform::modifier::option;
    case 59:
    case 62:
        return platform::modifier::control;
    default:
        return 0;
    }
}

HotkeyConfiguration configuration(std::int64_t keyCode, std::uint64_t modifiers) {
    return {keyCode, modifiers, HotkeyConfiguration::formatDisplayName(keyCode, modifiers)};
}

} // namespace

KeyCapture captureKey(const platform::KeyEvent& event) {
    const auto modifiers = event.flags & platform::modifier::mask;
    if (event.type == platform::KeyEvent::Type::keyDown) {
        if (event.keyCode == platform::key_code::escape)
            return CaptureCancelled{};
        if (event.keyCode < 0) // as a hotkey it would mean modifiers only
            return std::monostate{};
        return configuration(event.keyCode, modifiers);
    }
    if (event.type != platform::KeyEvent::Type::flagsChanged || std::popcount(modifiers) != 1)
        return std::monostate{};
    const auto own = modifierOf(event.keyCode);
    if (own == 0 || (event.flags & own) == 0) // not a modifier, or one that went up
        return std::monostate{};
    return configuration(HotkeyConfiguration::modifiersOnly, modifiers);
}

} // namespace sonvale::hotkeys
