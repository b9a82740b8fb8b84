#pragma once

#include "platform/linux/FfmpegPointers.h"

#include <filesystem>

namespace sonvale::platform::linux {

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

private:
    enum class Direction { reading, writing };
    FileIo(int descriptor, Direction direction);

    static int read(void* self, std::uint8_t* bytes, int count);
    static int write(void* self, std::uint8_t* bytes, int count);
    static std::int64_t seek(void* self, std::int64_t offset, int whence);

    int descriptor_;
    int writeError_ = 0;
    FfmpegPointer<AVIOContext> context_;
};

} // namespace sonvale::platform::linux
