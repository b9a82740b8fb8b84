#pragma once

#include "base/Json.h"
#include "base/Log.h"
#include "persistence/SettingsKeys.h"

#include <atomic>
#include <filesystem>
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
/// Reading never waits for the disk. A change is on the disk when `set` or `remove` returns, the file being
/// replaced whole, so that an end of the process or of the power at any moment leaves the old or the new one.
/// When it cannot be written, the value counts for this run, the failure is logged without content, and the
/// next change or `synchronize()` tries again. The file is 0600 in a 0700 folder.
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

    void load();
    void putAside(std::string_view reason);
    std::optional<base::Json> rawValue(std::string_view name) const;
    void change(std::string_view name, std::optional<base::Json> value);
    /// Needs `writing_`; returns the failure's description, empty for none.
    std::string write();

    const std::filesystem::path file_;
    const base::Logger logger_{"Settings"};
    std::atomic<bool> defaultsAreRegistered_ = false;

    mutable std::mutex valuesMutex_; ///< guards `values_`
    base::Json values_ = base::Json::object();

    std::mutex writing_; ///< orders changes and guards `isUnwritten_`; taken before `valuesMutex_`
    bool isUnwritten_ = false;
};

} // namespace sonvale::persistence
