#pragma once

#include "base/Json.h"
#include "base/Log.h"
#include "persistence/SettingsFile.h"
#include "persistence/SettingsKeys.h"

#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::persistence {

/// The table of settings and session values, stored in one JSON file. Any thread.
///
/// An absent key differs from an empty value. Types are strict: a value of another type than its key's (a
/// user can edit the file) reads as absent, and stays in the file until the key is set. Unknown keys stay in
/// the file.
///
/// A change survives an end of the process when `set` or `remove` returns. Another thread flushes it to the
/// disk right afterwards, so that no caller waits for the disk. An end of the process or a loss of power at
/// any time leaves the old table or the new one. If the file cannot be written, the value is valid for this
/// run, the failure is logged without content, and the next change or `synchronize()` tries again. The file
/// is 0600 in a 0700 folder.
///
/// The user may run the program in several sessions. A write changes only the keys that this process has
/// changed and keeps the others as they are in the file. A read includes earlier writes of other processes,
/// without a notification.
class Settings {
public:
    /// Loads `file`. Never throws because of its content: a file that cannot be read is put aside in the same
    /// folder, with ".broken-1" (the next free number) appended to its name, and the settings start empty.
    explicit Settings(std::filesystem::path file);

    /// Returns the stored value; nullopt if the key is absent or its value has another type.
    std::optional<bool> stored(const SettingKey<bool>& key) const;
    std::optional<std::int64_t> stored(const SettingKey<std::int64_t>& key) const;
    std::optional<std::string> stored(const SettingKey<std::string>& key) const;
    std::optional<Data> stored(const SettingKey<Data>& key) const;

    /// Returns the stored value, else the default of a registered key after `registerDefaults()`, else the
    /// type's empty value.
    template <class T>
    T read(const SettingKey<T>& key) const {
        if (auto value = stored(key))
            return *std::move(value);
        if (key.given == DefaultGiven::registered && defaultsAreRegistered_.load())
            return defaultOf(key);
        return T{};
    }

    /// Returns the value for a view that is bound to the key: the stored value, else the key's default.
    template <class T>
    T bound(const SettingKey<T>& key) const {
        if (auto value = stored(key))
            return *std::move(value);
        return defaultOf(key);
    }

    /// Returns whether the key is stored, with any type.
    bool has(std::string_view name) const;
    /// Returns the stored value of any type.
    template <class T>
    std::optional<base::Json> rawValue(const SettingKey<T>& key) const {
        return rawValue(key.name);
    }

    /// Stores a value. Does nothing if it is equal to the stored one. Repairs text that is not UTF-8.
    void set(const SettingKey<bool>& key, bool value);
    void set(const SettingKey<std::int64_t>& key, std::int64_t value);
    void set(const SettingKey<std::string>& key, std::string_view value);
    void set(const SettingKey<Data>& key, const Data& value);

    template <class T>
    void remove(const SettingKey<T>& key) {
        change(key.name, std::nullopt);
    }

    /// Makes plain reads return the defaults of the registered keys. Stores nothing.
    void registerDefaults();

    /// Writes changes that could not be written earlier.
    void synchronize();

private:
    template <class T>
    static T defaultOf(const SettingKey<T>& key) {
        if constexpr (std::is_same_v<T, Data>)
            return Data{};
        else
            return key.defaultValue ? T(*key.defaultValue) : T{};
    }

    std::optional<base::Json> rawValue(std::string_view name) const;
    using Change = std::optional<base::Json>; ///< nullopt removes the key

    void change(std::string_view name, Change value);
    static void apply(base::Json& table, std::string_view name, const Change& change);
    /// Reads changes of other processes. The caller holds `valuesMutex_`.
    void readChangesOfOthers() const;
    /// Writes the file. The caller holds `writing_`. Returns a description of the failure; empty for none.
    std::string write();

    const std::filesystem::path folder_;
    const base::Logger logger_{"Settings"};
    std::atomic<bool> defaultsAreRegistered_ = false;

    std::mutex writing_;             ///< orders changes; taken before `valuesMutex_`
    mutable std::mutex valuesMutex_; ///< guards the next members
    mutable base::Json values_ = base::Json::object();
    std::map<std::string, Change, std::less<>> unwritten_; ///< in `values_` but not yet in the file
    mutable SettingsFile file_;
};

} // namespace sonvale::persistence
