#pragma once

#include "adapters/ffmpeg/FfmpegPointers.h"

#include "base/WipingAllocator.h"

#include <cstdint>
#include <deque>
#include <filesystem>
#include <optional>
#include <span>

namespace sonvale::adapters::ffmpeg {

/// A regular file as FFmpeg reads or writes it. FFmpeg's own file protocol cannot set the mode of a new file.
class FileIo {
public:
    /// A new file, mode 0600. Throws `AudioFileError` when it exists or cannot be made.
    static std::unique_ptr<FileIo> create(const std::filesystem::path& path);
    /// An existing file. Throws `AudioFileError`, for pipes and devices too: reading them might never end.
    static std::unique_ptr<FileIo> open(const std::filesystem::path& path);

    FileIo(const FileIo&) = delete;
    FileIo& operator=(const FileIo&) = delete;
    ~FileIo();

    AVIOContext* context() const { return context_.get(); }

    /// The number of the first failed write, as FFmpeg's error; 0 when none has failed.
    int writeError() const { return writeError_; }

    // A write that the disk refuses is kept in memory, and tried again with each later one: a disk that was
    // full for a while costs nothing. FFmpeg does not learn of it, because it would write nothing more.

    /// Tries what the disk has refused once more. Returns whether everything is on the disk.
    bool writeRest();

    /// Gives up what the disk still refuses. In the file it is a hole.
    void dropRest();

    /// Keeps all writes from here on in memory.
    void hold();

    /// Writes what was held. If the disk refuses, shortens what the file had before at its first hole, or at
    /// its end, by so much that this finds room. Returns whether everything that was held is on the disk.
    bool writeHeld();

private:
    enum class Direction { reading, writing };
    FileIo(int descriptor, Direction direction);

    static int read(void* self, std::uint8_t* bytes, int count);
    static int write(void* self, const std::uint8_t* bytes, int count);
    static std::int64_t seek(void* self, std::int64_t offset, int whence);
    static std::int64_t seekInWritten(void* self, std::int64_t offset, int whence);

    /// Bytes that the disk has refused, and their place.
    struct Rest {
        std::int64_t offset = 0;
        base::WipedVector<std::uint8_t> bytes;
    };
    std::size_t writeAt(std::int64_t offset, std::span<const std::uint8_t> bytes);

    int descriptor_;
    int writeError_ = 0;
    std::int64_t position_ = 0; ///< of the next write, as all below
    std::int64_t size_ = 0;     ///< with what the disk has refused
    std::deque<Rest> rest_;     ///< in the order of the writes
    std::optional<std::int64_t> firstHole_;
    std::optional<std::int64_t> heldFrom_; ///< the size when holding began
    FfmpegPointer<AVIOContext> context_;
};

} // namespace sonvale::adapters::ffmpeg
