#include "persistence/Settings.h"

#include "base/Base64.h"
#include "base/Text.h"
#include "persistence/FileDescriptor.h"
#include "persistence/PrivateFiles.h"

#include <sys/stat.h>

#include <array>
#include <utility>

namespace sonvale::persistence {

namespace {

/// The member that marks an object as bytes, which JSON has no type for.
constexpr std::string_view dataMember = "base64";

/// No settings file comes near it; more is not ours.
constexpr std::size_t maximumFileSize = 64U << 20;

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

struct Loaded {
    enum class Outcome { content, absent, failed };
    Outcome outcome = Outcome::failed;
    std::string content;
    std::string failure;
};

Loaded readFile(const std::filesystem::path& file) {
    // Not blocking: a pipe in place of the file must not hold up the start.
    const FileDescriptor descriptor(file, O_RDONLY | O_NONBLOCK);
    if (!descriptor && errno == ENOENT)
        return {Loaded::Outcome::absent, {}, {}};
    Loaded loaded;
    struct stat status{};
    if (!descriptor || ::fstat(descriptor.number(), &status) != 0) {
        loaded.failure = lastSystemError().message();
        return loaded;
    }
    if (!S_ISREG(status.st_mode)) {
        loaded.failure = "not a file";
        return loaded;
    }
    // Written by hand or by an earlier version; session tokens are inside. When this fails, the next change
    // mends it.
    if ((status.st_mode & 0077) != 0)
        static_cast<void>(::fchmod(descriptor.number(), 0600));
    std::array<char, 65536> buffer{};
    for (;;) {
        const auto got = ::read(descriptor.number(), buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 || loaded.content.size() > maximumFileSize) {
            loaded.failure = got < 0 ? lastSystemError().message() : "too large";
            return loaded;
        }
        if (got == 0)
            break;
        loaded.content.append(buffer.data(), static_cast<std::size_t>(got));
    }
    loaded.outcome = Loaded::Outcome::content;
    return loaded;
}

} // namespace

Settings::Settings(std::filesystem::path file)
    : file_(std::move(file)) {
    load();
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
    return values_.contains(name);
}

std::optional<base::Json> Settings::rawValue(std::string_view name) const {
    const std::lock_guard lock(valuesMutex_);
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
        if (!isUnwritten_)
            return;
        failure = write();
    }
    if (!failure.empty())
        logger_.error("settings could not be written: {}", failure);
}

void Settings::change(std::string_view name, std::optional<base::Json> value) {
    std::string failure;
    {
        const std::lock_guard order(writing_);
        {
            const std::lock_guard lock(valuesMutex_);
            const auto found = values_.find(name);
            const bool isStored = found != values_.end();
            const bool isSame =
                value ? isStored && *found == *value && found->type() == value->type() : !isStored;
            if (isSame && !isUnwritten_)
                return;
            if (value)
                values_[std::string(name)] = *std::move(value);
            else if (isStored)
                values_.erase(found);
        }
        failure = write();
    }
    if (!failure.empty())
        logger_.error("settings could not be written: {}", failure);
}

std::string Settings::write() {
    isUnwritten_ = true;
    std::string content;
    {
        const std::lock_guard lock(valuesMutex_);
        content = values_.dump(2, ' ', false, base::Json::error_handler_t::replace);
    }
    content += '\n';
    if (const auto error = makePrivateDirectory(file_.parent_path()))
        return error.message();
    if (const auto error = replacePrivateFile(file_, content))
        return error.message();
    isUnwritten_ = false;
    return {};
}

void Settings::load() {
    auto loaded = readFile(file_);
    if (loaded.outcome == Loaded::Outcome::absent)
        return;
    if (loaded.outcome == Loaded::Outcome::failed) {
        putAside(loaded.failure);
        return;
    }
    auto parsed = base::parseJson(loaded.content);
    if (!parsed) {
        putAside(parsed.error().errorDescription());
        return;
    }
    if (!parsed->is_object()) {
        putAside("not an object");
        return;
    }
    values_ = *std::move(parsed);
}

void Settings::putAside(std::string_view reason) {
    std::error_code error;
    for (int number = 1;; ++number) {
        auto aside = file_;
        aside += ".broken-" + std::to_string(number);
        if (std::filesystem::exists(std::filesystem::symlink_status(aside, error)))
            continue;
        std::filesystem::rename(file_, aside, error);
        break;
    }
    if (error)
        logger_.error("settings file cannot be read ({}) and cannot be put aside ({})", reason,
                      error.message());
    else
        logger_.error("settings file cannot be read ({}); it was put aside", reason);
}

} // namespace sonvale::persistence
