#pragma once

#include <unistd.h>

#include <filesystem>
#include <utility>

namespace sonvale::adapters::ffmpeg {

/// An open file, closed with the object.
class FileDescriptor {
public:
    /// Creates a new file, mode 0600, for reading and writing. Throws `AudioFileError` if it exists, cannot
    /// be created, or if the disk has no room for its first block. Then leaves no new file.
    static FileDescriptor create(const std::filesystem::path& path);

    /// Takes over an open file. A negative number stands for none.
    explicit FileDescriptor(int number)
        : number_(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : number_(std::exchange(other.number_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&&) = delete;
    ~FileDescriptor() {
        if (number_ >= 0)
            ::close(number_);
    }

    int number() const { return number_; }

private:
    int number_;
};

} // namespace sonvale::adapters::ffmpeg
