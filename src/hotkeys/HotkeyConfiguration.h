#pragma once

#include <cstdint>
#include <string>

namespace sonvale::hotkeys {

/// One shortcut: a key with modifiers, a plain key, or modifiers alone.
struct HotkeyConfiguration {
    /// The key code of a shortcut that is made of modifiers alone.
    static constexpr std::int64_t modifiersOnly = -1;

    std::int64_t keyCode = modifiersOnly; ///< macOS virtual key code, or `modifiersOnly`
    std::uint64_t modifiers = 0;          ///< bits of `platform::modifier`, as they were stored
    std::string displayName;              ///< as it was stored; made by `formatDisplayName`

    bool operator==(const HotkeyConfiguration&) const = default;

    /// The names of the modifiers in the order Control, Option, Shift, Command, then the key's name unless
    /// `keyCode` is negative, joined by " + ". Bits that are no modifier do not count.
    static std::string formatDisplayName(std::int64_t keyCode, std::uint64_t modifiers);

    /// The key's name on the US layout, whatever layout is in use; "Key " and the number where it has none.
    static std::string keyName(std::int64_t keyCode);
};

} // namespace sonvale::hotkeys
