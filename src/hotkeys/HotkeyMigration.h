#pragma once

namespace sonvale::persistence {
class ModelContext;
class Settings;
} // namespace sonvale::persistence

namespace sonvale::hotkeys {

/// Converts the single hotkey of old versions, stored in the legacy settings record, to the push-to-talk
/// binding.
///
/// Converts once: later calls do nothing. Does nothing if `store` is null (not open yet); a later call tries
/// again. A store that cannot be read counts as one without the record. Main actor; never fails.
void migrateHotkeyBindings(persistence::Settings& settings, persistence::ModelContext* store);

} // namespace sonvale::hotkeys
