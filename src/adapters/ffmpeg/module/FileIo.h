#pragma once

#include "adapters/ffmpeg/FileDescriptor.h"
#include "adapters/ffmpeg/module/FfmpegPointers.h"

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
    /// Writes into an empty file.
    static std::unique_ptr<FileIo> forWriting(FileDescriptor file);
    /// Opens an existing file. Throws `AudioFileError`, for pipes and devices too: a read from those might
    /// never end.
    static std::unique_ptr<FileIo> open(const std::filesystem::path& path);

    FileIo(const FileIo&) = delete;
    FileIo& operator=(const FileIo&) = delete;
    ~FileIo() = default;

    AVIOContext* context() const { return context_.get(); }

    /// Returns the error of the first failed write as FFmpeg's number, or 0.
    int writeError() const { return writeError_; }

    // Writes that the disk refuses are kept in memory and tried again at each later write, so that a disk
    // that was full for a while loses nothing. FFmpeg does not get the error, because it would then write
    // nothing more.

    /// Tries the refused writes once more. Returns whether everything is on the disk.
    bool writeRest();

    /// Drops the writes that the disk still refuses. They become holes in the file.
    void dropRest();

    /// Keeps all later writes in memory.
    void hold();

    /// Writes what was held. If the disk refuses, shortens the earlier part of the file at its first hole, or
    /// at its end, by as much as the held writes need. Returns whether all held writes are on the disk.
    bool writeHeld();

private:
    enum class Direction { reading, writing };
    FileIo(FileDescriptor file, Direction direction);

    static int read(void* self, std::uint8_t* bytes, int count);
    static int write(void* self, const std::uint8_t* bytes, int count);
    static std::int64_t seek(void* self, std::int64_t offset, int whence);
    static std::int64_t seekInWritten(void* self, std::int64_t offset, int whence);

    /// Bytes that the disk has refused, with their place.
    struct Rest {
        std::int64_t offset = 0;
        base::WipedVector<std::uint8_t> bytes;
    };
    std::size_t writeAt(std::int64_t offset, std::span<const std::uint8_t> bytes);

    FileDescriptor file_;
    int writeError_ = 0;
    std::int64_t position_ = 0; ///< the place of the next write
    std::int64_t size_ = 0;     ///< including what the disk has refused
    std::deque<Rest> rest_;     ///< in the order of the writes
    std::optional<std::int64_t> firstHole_;
    std::optional<std::int64_t> heldFrom_; ///< the size at the start of `hold`
    FfmpegPointer<AVIOContext> context_;
};

} // namespace sonvale::adapters::ffmpeg
