#pragma once

namespace sonvale::persistence {
class ModelContext;
class Settings;
} // namespace sonvale::persistence

namespace sonvale::hotkeys {

/// Turns the one shortcut of old versions, kept in the store's legacy settings record, into the push-to-talk
/// binding.
///
/// It happens once: later calls do nothing. With `store` null (not open yet) nothing happens and a later call
/// tries again; a store that cannot be read counts as one without the record. Main actor; never fails.
void migrateHotkeyBindings(persistence::Settings& settings, persistence::ModelContext* store);

} // namespace sonvale::hotkeys
