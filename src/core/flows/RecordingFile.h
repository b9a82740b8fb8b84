#pragma once

#include "platform/SecureRandom.h"

#include <filesystem>

namespace sonvale::core {

/// The file of a recording that has ended. The destructor of the last owner always overwrites and deletes it.
/// If the file cannot be deleted, the daily cleaning does it. Movable; any thread.
class RecordingFile {
public:
    /// Takes over `path`; `random` must outlive the object.
    RecordingFile(std::filesystem::path path, platform::SecureRandom& random);
    RecordingFile(RecordingFile&& other) noexcept;
    RecordingFile& operator=(RecordingFile&& other) noexcept;
    ~RecordingFile();

    const std::filesystem::path& path() const { return path_; }

private:
    void deleteFile() noexcept;

    std::filesystem::path path_; ///< empty after a move
    platform::SecureRandom* random_;
};

} // namespace sonvale::core
