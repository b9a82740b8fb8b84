#include "persistence/Settings.h"

#include "base/Base64.h"
#include "base/Text.h"
#include "persistence/PrivateFiles.h"

#include <utility>

namespace sonvale::persistence {

namespace {

/// The member that marks an object as bytes, which have no JSON type.
constexpr std::string_view dataMember = "base64";

base::Json encoded(const Data& data) {
    return base::Json{{std::string(dataMember), base::encodeBase64(data.bytes)}};
}

std::optional<Data> decodedData(const base::Json& value) {
    if (value.size() != 1)
        return std::nullopt;
    const auto text = base::jsonString(value, dataMember);
    auto bytes = text ? base::decodeBase64(*text) : std::nullopt;
    return bytes ? std::optional(Data{*std::move(bytes)}) : std::nullopt;
}

} // namespace

Settings::Settings(std::filesystem::path file)
    : folder_(file.parent_path())
    , file_(std::move(file)) {
    const auto report = [this](const std::string& line) { logger_.error("{}", line); };
    if (auto table = file_.readAtStart(report))
        values_ = *std::move(table);
}

std::optional<bool> Settings::stored(const SettingKey<bool>& key) const {
    const auto value = rawValue(key.name);
    return value && value->is_boolean() ? std::optional(value->get<bool>()) : std::nullopt;
}

std::optional<std::int64_t> Settings::stored(const SettingKey<std::int64_t>& key) const {
    const auto value = rawValue(key.name);
    return value ? base::asInteger(*value) : std::nullopt;
}

std::optional<std::string> Settings::stored(const SettingKey<std::string>& key) const {
    const auto value = rawValue(key.name);
    return value && value->is_string() ? std::optional(value->get<std::string>()) : std::nullopt;
}

std::optional<Data> Settings::stored(const SettingKey<Data>& key) const {
    const auto value = rawValue(key.name);
    return value ? decodedData(*value) : std::nullopt;
}

bool Settings::has(std::string_view name) const {
    const std::lock_guard lock(valuesMutex_);
    readChangesOfOthers();
    return values_.contains(name);
}

std::optional<base::Json> Settings::rawValue(std::string_view name) const {
    const std::lock_guard lock(valuesMutex_);
    readChangesOfOthers();
    const auto found = values_.find(name);
    return found == values_.end() ? std::nullopt : std::optional(*found);
}

void Settings::set(const SettingKey<bool>& key, bool value) {
    change(key.name, base::Json(value));
}

void Settings::set(const SettingKey<std::int64_t>& key, std::int64_t value) {
    change(key.name, base::Json(value));
}

void Settings::set(const SettingKey<std::string>& key, std::string_view value) {
    change(key.name, base::Json(base::repairedUtf8(value)));
}

void Settings::set(const SettingKey<Data>& key, const Data& value) {
    change(key.name, encoded(value));
}

void Settings::registerDefaults() {
    defaultsAreRegistered_ = true;
}

void Settings::synchronize() {
    std::string failure;
    {
        const std::lock_guard order(writing_);
        failure = write();
    }
    if (!failure.empty())
        logger_.error("settings could not be written: {}", failure);
}

void Settings::change(std::string_view name, Change value) {
    std::string failure;
    {
        const std::lock_guard order(writing_);
        {
            const std::lock_guard lock(valuesMutex_);
            readChangesOfOthers();
            const auto found = values_.find(name);
            const bool isStored = found != values_.end();
            const bool isSame =
                value ? isStored && *found == *value && found->type() == value->type() : !isStored;
            if (!isSame) {
                apply(values_, name, value);
                unwritten_.insert_or_assign(std::string(name), std::move(value));
            }
        }
        failure = write();
    }
    if (!failure.empty())
        logger_.error("settings could not be written: {}", failure);
}

void Settings::apply(base::Json& table, std::string_view name, const Change& change) {
    if (change)
        table[std::string(name)] = *change;
    else
        table.erase(name);
}

void Settings::readChangesOfOthers() const {
    auto table = file_.readIfChanged();
    if (!table)
        return;
    values_ = *std::move(table);
    for (const auto& [name, change] : unwritten_)
        apply(values_, name, change);
}

std::string Settings::write() {
    const std::lock_guard lock(valuesMutex_);
    if (unwritten_.empty())
        return {};
    if (const auto error = makePrivateDirectory(folder_))
        return error.message();
    const auto others = file_.lock();
    readChangesOfOthers();
    if (const auto error = file_.replace(values_))
        return error.message();
    unwritten_.clear();
    return {};
}

} // namespace sonvale::persistence
