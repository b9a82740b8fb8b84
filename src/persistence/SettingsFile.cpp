#include "persistence/SettingsFile.h"

#include "persistence/PrivateFiles.h"

#include <sys/file.h>

#include <array>
#include <cstdio>
#include <utility>

namespace sonvale::persistence {

namespace {

/// A settings file is much smaller; a larger file is not the program's.
constexpr std::size_t maxFileSize = 64U << 20;

bool isSameVersion(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

/// Appends the whole file to `content`. Returns a description of the failure; empty for none.
std::string readAll(const FileDescriptor& descriptor, std::string& content) {
    std::array<char, 65536> buffer{};
    for (;;) {
        const auto got = ::read(descriptor.number(), buffer.data(), buffer.size());
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return lastSystemError().message();
        if (content.size() > maxFileSize)
            return "too large";
        if (got == 0)
            return {};
        content.append(buffer.data(), static_cast<std::size_t>(got));
    }
}

} // namespace

/// The file is absent if there is neither a table nor a failure.
struct SettingsFile::Loaded {
    std::optional<base::Json> table;
    std::string failure;
};

SettingsFile::Lock::Lock(const std::filesystem::path& file)
    : folder_(file.parent_path(), O_RDONLY | O_DIRECTORY) {
    while (folder_ && ::flock(folder_.number(), LOCK_EX) != 0 && errno == EINTR) {
    }
}

SettingsFile::SettingsFile(std::filesystem::path file)
    : file_(std::move(file))
    , durable_(withSuffix(file_, ".durable")) {}

SettingsFile::Loaded SettingsFile::load(const std::filesystem::path& path) {
    // Non-blocking: a pipe in place of the file must not block the start.
    auto descriptor = std::make_unique<FileDescriptor>(path, O_RDONLY | O_NONBLOCK);
    if (!*descriptor && errno == ENOENT)
        return {};
    struct stat status{};
    if (!*descriptor || ::fstat(descriptor->number(), &status) != 0)
        return {.table = {}, .failure = lastSystemError().message()};
    if (!S_ISREG(status.st_mode))
        return {.table = {}, .failure = "not a file"};
    // A user or an earlier version made the file readable for others, and it contains session tokens. If this
    // fails, the next change repairs it.
    if ((status.st_mode & othersRights) != 0)
        static_cast<void>(::fchmod(descriptor->number(), privateFileMode));

    std::string content;
    auto failure = readAll(*descriptor, content);
    remember(std::move(descriptor));
    if (!failure.empty())
        return {.table = {}, .failure = std::move(failure)};
    auto parsed = base::parseJson(content);
    if (!parsed)
        return {.table = {}, .failure = parsed.error().errorDescription()};
    if (!parsed->is_object())
        return {.table = {}, .failure = "not an object"};
    return {.table = *std::move(parsed), .failure = {}};
}

void SettingsFile::remember(std::unique_ptr<FileDescriptor> version) {
    version_ = std::move(version);
    if (::fstat(version_->number(), &status_) != 0)
        version_.reset();
}

bool SettingsFile::isChanged() const {
    struct stat status{};
    return ::stat(file_.c_str(), &status) == 0 && (!version_ || !isSameVersion(status, status_));
}

std::optional<base::Json> SettingsFile::readIfChanged() {
    // Another program may be writing a version that cannot be read; it is not read again.
    return isChanged() ? load(file_).table : std::nullopt;
}

std::optional<base::Json> SettingsFile::readAtStart(const std::function<void(const std::string&)>& report) {
    auto loaded = load(file_);
    if (!loaded.failure.empty())
        report(putAside(loaded.failure));
    if (loaded.table) {
        // The process that wrote this version may have ended before it was flushed.
        if (::access(durable_.c_str(), F_OK) == 0)
            synchronizeSoon();
        return std::move(loaded.table);
    }
    const Lock others(file_);
    auto durable = load(durable_);
    if (durable.table)
        std::rename(durable_.c_str(), file_.c_str());
    return std::move(durable.table);
}

std::string SettingsFile::putAside(std::string_view reason) const {
    std::error_code error;
    for (int number = 1;; ++number) {
        const auto aside = withSuffix(file_, ".broken-" + std::to_string(number));
        if (std::filesystem::exists(std::filesystem::symlink_status(aside, error)))
            continue;
        std::filesystem::rename(file_, aside, error);
        break;
    }
    const auto unreadable = "settings file cannot be read (" + std::string(reason) + ')';
    return error ? unreadable + " and cannot be put aside (" + error.message() + ')'
                 : unreadable + "; it was put aside";
}

/// Returns false if a damaged new version would leave none.
bool SettingsFile::keepDurableVersion() const {
    return ::link(file_.c_str(), durable_.c_str()) == 0 || errno == EEXIST || errno == ENOENT;
}

std::error_code SettingsFile::replace(const base::Json& table) {
    const auto content = table.dump(2, ' ', false, base::Json::error_handler_t::replace) + '\n';
    const auto durability = keepDurableVersion() ? Durability::later : Durability::now;
    if (const auto error = replacePrivateFile(file_, content, durability))
        return error;
    remember(std::make_unique<FileDescriptor>(file_, O_RDONLY));
    synchronizeSoon();
    return {};
}

void SettingsFile::synchronizeSoon() {
    if (!synchronizer_)
        synchronizer_.emplace([this] { synchronize(); });
    synchronizer_->request();
}

void SettingsFile::synchronize() const {
    const FileDescriptor version(file_, O_RDONLY);
    const FileDescriptor folder(file_.parent_path(), O_RDONLY | O_DIRECTORY);
    struct stat synchronized{};
    if (!version || !folder || version.synchronize() || folder.synchronize() ||
        ::fstat(version.number(), &synchronized) != 0)
        return; // the durable version stays until a later one has been flushed

    // A newer version has its own request.
    const Lock others(file_);
    struct stat present{};
    if (::stat(file_.c_str(), &present) == 0 && isSameVersion(present, synchronized))
        ::unlink(durable_.c_str());
}

} // namespace sonvale::persistence
