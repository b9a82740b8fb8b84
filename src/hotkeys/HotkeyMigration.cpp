#include "hotkeys/HotkeyMigration.h"

#include "hotkeys/HotkeyBindingStore.h"
#include "persistence/ModelContext.h"
#include "persistence/Settings.h"
#include "platform/EventTap.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace sonvale::hotkeys {

namespace {

struct SingleHotkey {
    std::int64_t keyCode = 0;
    std::uint64_t modifiers = 0;
    bool operator==(const SingleHotkey&) const = default;
};

/// The default of old versions: the D key with Option.
constexpr SingleHotkey oldDefault{2, platform::modifier::option};

std::optional<SingleHotkey> fetchSingleHotkey(const persistence::ModelContext& store) {
    try {
        const auto records = store.fetch<persistence::AppSettings>();
        if (records.empty())
            return std::nullopt;
        const auto& record = records.front();
        return SingleHotkey{record.hotkeyKeyCode, static_cast<std::uint64_t>(record.hotkeyModifiers)};
    } catch (const persistence::StoreError&) {
        // An old hotkey that cannot be read must not prevent the new ones.
        return std::nullopt;
    }
}

} // namespace

void migrateHotkeyBindings(persistence::Settings& settings, persistence::ModelContext* store) {
    if (settings.read(persistence::keys::hotkeyBindingsMigrated) || store == nullptr)
        return;

    const auto hotkey = fetchSingleHotkey(*store);
    if (hotkey && *hotkey != oldDefault) {
        auto bindings = HotkeyBindingStore::load(settings);
        HotkeyConfiguration config{
            hotkey->keyCode, hotkey->modifiers,
            HotkeyConfiguration::formatDisplayName(hotkey->keyCode, hotkey->modifiers)};
        bindings[HotkeyAction::pushToTalk] = {HotkeyAction::pushToTalk, {std::move(config)}, true};
        HotkeyBindingStore::save(settings, bindings);
    }
    settings.set(persistence::keys::hotkeyBindingsMigrated, true);
}

} // namespace sonvale::hotkeys
