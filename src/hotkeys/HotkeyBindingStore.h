#pragma once

#include "hotkeys/HotkeyBinding.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::persistence {
class Settings;
}

namespace sonvale::hotkeys {

/// The user's bindings as stored in the settings: the JSON text `{"bindings": ["pushToTalk", {"action",
/// "configs", "isEnabled"}, ...]}`. Actions and their bindings alternate in one array; the actions may have
/// any order.
struct HotkeyBindingStore {
    HotkeyBindings bindings;

    /// Returns one hotkey for each action, all enabled.
    static HotkeyBindings defaults();

    /// Returns the stored bindings, with the default of every action that is not stored; all defaults if
    /// nothing is stored or it cannot be read. Never fails and never writes. Main actor.
    static HotkeyBindings load(const persistence::Settings& settings);

    /// Stores `bindings` unchanged. Main actor.
    static void save(persistence::Settings& settings, const HotkeyBindings& bindings);

    /// Returns the first other action, in the order of the actions, that has an enabled binding with exactly
    /// this key and these modifiers (all bits compared). Returns nullopt if the combination is free for the
    /// edited action.
    static std::optional<HotkeyAction> conflictingAction(std::int64_t keyCode, std::uint64_t modifiers,
                                                         HotkeyAction editing,
                                                         const HotkeyBindings& bindings);

    /// Parses the stored form, without adding actions that are not listed. Returns nullopt unless the text
    /// has exactly that form: every key present and of its type, whole numbers in range. Ignores further
    /// keys.
    static std::optional<HotkeyBindingStore> decode(std::string_view json);

    /// Returns the stored form. Writes bytes of a name that are not UTF-8 as U+FFFD.
    std::string encode() const;
};

} // namespace sonvale::hotkeys
