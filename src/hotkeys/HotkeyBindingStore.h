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

/// The user's bindings in the form in which they are kept in the settings: the JSON text
/// `{"bindings": ["pushToTalk", {"action", "configs", "isEnabled"}, ...]}`, actions and their bindings taking
/// turns in one array, in any order.
struct HotkeyBindingStore {
    HotkeyBindings bindings;

    /// One shortcut for each action, all enabled.
    static HotkeyBindings defaults();

    /// The stored bindings, with the default of every action that is not stored; all defaults when nothing
    /// is stored or it cannot be read. Never fails and never writes. Main actor.
    static HotkeyBindings load(const persistence::Settings& settings);

    /// Stores `bindings` as they are. Main actor.
    static void save(persistence::Settings& settings, const HotkeyBindings& bindings);

    /// The first other action, in the order of the actions, that has an enabled binding with exactly this key
    /// and these modifiers (all bits compared). Absent when the combination is free for the action being
    /// edited.
    static std::optional<HotkeyAction> conflictingAction(std::int64_t keyCode, std::uint64_t modifiers,
                                                         HotkeyAction editing,
                                                         const HotkeyBindings& bindings);

    /// Reads the stored form, actions that are not listed being left out. Absent unless the text is exactly
    /// of that form: every key there and of its type, whole numbers in range. Keys beyond
    /// those are passed over.
    static std::optional<HotkeyBindingStore> decode(std::string_view json);

    /// The stored form. Bytes of a name that are no UTF-8 are written as U+FFFD.
    std::string encode() const;
};

} // namespace sonvale::hotkeys
