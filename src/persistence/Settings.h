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

/// The table of settings and session values, kept in one JSON file. Any thread.
///
/// An absent key is kept apart from an empty value. Values are typed strictly: one of another type than its
/// key's (the file can be edited by hand) reads as if nothing of the type were stored, and stays in the file
/// until it is set. Keys that the program does not know stay in the file.
///
/// A change survives an end of the process once `set` or `remove` returns, and is brought to the disk right
/// afterwards on another thread, so that no caller waits for the disk. At any moment an end of the process or
/// of the power leaves the old table or the new one. If the file cannot be written, the value counts for this
/// run, the failure is logged without content, and the next change or `synchronize()` tries again. The file
/// is 0600 in a 0700 folder.
///
/// The user may run the program in several sessions. A write changes only the keys that this process has
/// changed and keeps the others as the file has them. A read takes up what another process has written before
/// it, without a notification.
class Settings {
public:
    /// Loads `file`. Never throws for what it finds there: a file that cannot be read is put aside, in the
    /// same folder under its name and ".broken-1" (the next number that is free), and the settings begin
    /// empty.
    explicit Settings(std::filesystem::path file);

    /// The stored value; nothing when the key is absent or its value of another type.
    std::optional<bool> stored(const SettingKey<bool>& key) const;
    std::optional<std::int64_t> stored(const SettingKey<std::int64_t>& key) const;
    std::optional<std::string> stored(const SettingKey<std::string>& key) const;
    std::optional<Data> stored(const SettingKey<Data>& key) const;

    /// A plain read: the stored value, else the default of a registered key once `registerDefaults()` was
    /// called, else the type's empty value.
    template <class T>
    T read(const SettingKey<T>& key) const {
        if (auto value = stored(key))
            return *std::move(value);
        if (key.given == DefaultGiven::registered && defaultsAreRegistered_.load())
            return defaultOf(key);
        return T{};
    }

    /// What a view that is bound to the key shows: the stored value, else the key's default.
    template <class T>
    T bound(const SettingKey<T>& key) const {
        if (auto value = stored(key))
            return *std::move(value);
        return defaultOf(key);
    }

    /// Whether the key is stored, whatever its type.
    bool has(std::string_view name) const;
    /// What is stored under the key, whatever its type.
    template <class T>
    std::optional<base::Json> rawValue(const SettingKey<T>& key) const {
        return rawValue(key.name);
    }

    /// Stores a value; setting the stored one again does nothing. Text that is not UTF-8 is repaired.
    void set(const SettingKey<bool>& key, bool value);
    void set(const SettingKey<std::int64_t>& key, std::int64_t value);
    void set(const SettingKey<std::string>& key, std::string_view value);
    void set(const SettingKey<Data>& key, const Data& value);

    template <class T>
    void remove(const SettingKey<T>& key) {
        change(key.name, std::nullopt);
    }

    /// From now on plain reads see the defaults of the registered keys. Nothing is stored.
    void registerDefaults();

    /// Writes what an earlier failure left unwritten.
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
    /// Needs `valuesMutex_`.
    void takeUpChangesOfOthers() const;
    /// Needs `writing_`; returns the failure's description, empty for none.
    std::string write();

    const std::filesystem::path folder_;
    const base::Logger logger_{"Settings"};
    std::atomic<bool> defaultsAreRegistered_ = false;

    std::mutex writing_;             ///< orders changes; taken before `valuesMutex_`
    mutable std::mutex valuesMutex_; ///< guards what follows
    mutable base::Json values_ = base::Json::object();
    std::map<std::string, Change, std::less<>> unwritten_; ///< in `values_`, and not yet in the file
    mutable SettingsFile file_;
};

} // namespace sonvale::persistence
