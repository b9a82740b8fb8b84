#pragma once

#include <cstdint>
#include <string>

namespace sonvale::hotkeys {

/// One hotkey: a key with modifiers, a plain key, or modifiers alone.
struct HotkeyConfiguration {
    /// The key code of a hotkey that consists of modifiers only.
    static constexpr std::int64_t modifiersOnly = -1;

    std::int64_t keyCode = modifiersOnly; ///< macOS virtual key code, or `modifiersOnly`
    std::uint64_t modifiers = 0;          ///< bits of `platform::modifier`, as stored
    std::string displayName;              ///< as stored; made by `formatDisplayName`

    bool operator==(const HotkeyConfiguration&) const = default;

    /// Returns the names of the modifiers in the order Control, Option, Shift, Command, then the key's name
    /// unless `keyCode` is negative, joined by " + ". Ignores bits that are not modifiers.
    static std::string formatDisplayName(std::int64_t keyCode, std::uint64_t modifiers);

    /// Returns the key's name on the US layout, independent of the active layout; "Key " and the number if it
    /// has none.
    static std::string keyName(std::int64_t keyCode);
};

} // namespace sonvale::hotkeys
