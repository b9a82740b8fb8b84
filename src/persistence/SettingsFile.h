#pragma once

#include "base/Json.h"
#include "persistence/DiskSynchronizer.h"
#include "persistence/FileDescriptor.h"

#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace sonvale::persistence {

/// The JSON file of the settings. Other processes of the user read and write it too, one for each of the
/// user's sessions.
///
/// Each version of the file is a new file that replaces the previous one, so a reader always sees a whole
/// version. A new version is flushed to the disk later. Until then the last flushed version stays beside it,
/// with ".durable" appended to the name; it is read if a loss of power has damaged the new version. One call
/// at a time.
class SettingsFile {
public:
    explicit SettingsFile(std::filesystem::path file);

    /// Excludes other writers, also of other processes, while it lives. Writers hold it for some
    /// milliseconds. Does nothing if the folder cannot be locked.
    class Lock {
    public:
        explicit Lock(const std::filesystem::path& file);

    private:
        const FileDescriptor folder_;
    };
    [[nodiscard]] Lock lock() const { return Lock(file_); }

    /// Returns the table if the file exists, can be read and is another version than the one this object read
    /// or wrote last.
    std::optional<base::Json> readIfChanged();

    /// Works as `readIfChanged` at the start of the program. Puts a file that cannot be read aside in the
    /// same folder, with ".broken-1" (the next free number) appended to its name, and calls `report` with a
    /// reason without content.
    std::optional<base::Json> readAtStart(const std::function<void(const std::string&)>& report);

    /// Replaces the file, 0600 in a 0700 folder. The caller holds the lock. A later end of the process does
    /// not undo it. It is flushed to the disk soon, at the latest when this object is destroyed.
    std::error_code replace(const base::Json& table);

private:
    struct Loaded;
    /// Reads the file at `path`. Remembers its version if it exists.
    Loaded load(const std::filesystem::path& path);
    std::string putAside(std::string_view reason) const;
    bool isChanged() const;
    void remember(std::unique_ptr<FileDescriptor> version);
    bool keepDurableVersion() const;
    void synchronizeSoon();
    void synchronize() const;

    const std::filesystem::path file_;
    const std::filesystem::path durable_;
    /// The version that was read or written last. While it is open, no other file has its inode number.
    std::unique_ptr<FileDescriptor> version_;
    struct stat status_{};
    std::optional<DiskSynchronizer> synchronizer_; ///< made at the first request
};

} // namespace sonvale::persistence
