#include "adapters/ffmpeg/FileDescriptor.h"

#include "platform/AudioFile.h"

#include <fcntl.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>

namespace sonvale::adapters::ffmpeg {

namespace {

/// Returns 0 if the disk has room for the first block of an empty file, else the number of its error. The
/// file stays empty.
int probeDisk(int file) {
    // Written and not reserved by posix_fallocate, because some file systems cannot reserve.
    static constexpr std::array<char, 4096> block{};
    ssize_t written = 0;
    do {
        written = pwrite(file, block.data(), block.size(), 0);
    } while (written < 0 && errno == EINTR);
    if (written < 0)
        return errno;
    if (static_cast<std::size_t>(written) < block.size())
        return ENOSPC;
    return ftruncate(file, 0) == 0 ? 0 : errno;
}

std::string textOf(int error) {
    return std::generic_category().message(error);
}

} // namespace

FileDescriptor FileDescriptor::create(const std::filesystem::path& path) {
    FileDescriptor file(::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (file.number() < 0)
        throw platform::AudioFileError("The recording's file cannot be made: " + textOf(errno));
    // A full disk is noticed here and not at the end of the dictation.
    if (const int error = probeDisk(file.number())) {
        std::error_code ignored; // the first failure is the one to report
        std::filesystem::remove(path, ignored);
        throw platform::AudioFileError("The recording cannot be written: " + textOf(error));
    }
    return file;
}

} // namespace sonvale::adapters::ffmpeg
