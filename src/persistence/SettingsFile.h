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

/// The JSON file of the settings, which other processes of the user read and write too: there is one program
/// for each of the user's sessions.
///
/// Each version of the file is a file of its own that replaces the one before, so a reader finds a whole one.
/// A version is not on the disk yet when it is there; until it is, the last one that is stays beside it under
/// the name with ".durable" appended. After a loss of power that has damaged the new version, the durable one
/// is read. One call at a time.
class SettingsFile {
public:
    explicit SettingsFile(std::filesystem::path file);

    /// Holds other writers off, those of other processes too, while it lives. Writers hold it for some
    /// milliseconds. Does nothing if the folder cannot be locked.
    class Lock {
    public:
        explicit Lock(const std::filesystem::path& file);

    private:
        const FileDescriptor folder_;
    };
    [[nodiscard]] Lock lock() const { return Lock(file_); }

    /// Returns the table if the file is there, can be read and is another version than the one that this
    /// object has read or written last.
    std::optional<base::Json> readIfChanged();

    /// As `readIfChanged`, when the program starts. Puts a file that cannot be read aside, in the same folder
    /// under its name and ".broken-1" (the next number that is free), and calls `report` with a reason
    /// without content.
    std::optional<base::Json> readAtStart(const std::function<void(const std::string&)>& report);

    /// Replaces the file, 0600 in a 0700 folder, while the caller holds the lock. An end of the process
    /// afterwards does not undo it; it is brought to the disk soon, at the latest when this object is
    /// destroyed.
    std::error_code replace(const base::Json& table);

private:
    struct Loaded;
    /// Reads the file at `path` and remembers its version if it is there.
    Loaded load(const std::filesystem::path& path);
    std::string putAside(std::string_view reason) const;
    bool isChanged() const;
    void remember(std::unique_ptr<FileDescriptor> version);
    bool keepDurableVersion() const;
    void synchronizeSoon();
    void synchronize() const;

    const std::filesystem::path file_;
    const std::filesystem::path durable_;
    /// The version that was read or written last. While it is open, no other file has its number.
    std::unique_ptr<FileDescriptor> version_;
    struct stat status_{};
    std::optional<DiskSynchronizer> synchronizer_; ///< made for the first request
};

} // namespace sonvale::persistence
