#include "platform/linux/FileIo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <string>

namespace sonvale::platform::linux {

namespace {

constexpr int blockBytes = 32 * 1024;

std::string systemErrorText(int error) {
    return ffmpegErrorText(AVERROR(error));
}

} // namespace

std::unique_ptr<FileIo> FileIo::create(const std::filesystem::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0)
        throw AudioFileError("The recording's file cannot be made: " + systemErrorText(errno));
    return std::unique_ptr<FileIo>(new FileIo(descriptor, Direction::writing));
}

std::unique_ptr<FileIo> FileIo::open(const std::filesystem::path& path) {
    // Without O_NONBLOCK opening a pipe would wait for a writer.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0)
        throw AudioFileError("The audio file cannot be opened: " + systemErrorText(errno));
    auto file = std::unique_ptr<FileIo>(new FileIo(descriptor, Direction::reading));
    struct stat status{};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        throw AudioFileError("The audio file cannot be opened: it is not a file");
    return file;
}

FileIo::FileIo(int descriptor, Direction direction)
    : descriptor_(descriptor) {
    auto* buffer = static_cast<unsigned char*>(av_malloc(blockBytes));
    const bool isWriting = direction == Direction::writing;
    if (buffer)
        context_.reset(avio_alloc_context(buffer, blockBytes, isWriting ? 1 : 0, this,
                                          isWriting ? nullptr : read, isWriting ? write : nullptr, seek));
    if (!context_) {
        av_free(buffer);
        close(descriptor_);
        throw std::bad_alloc();
    }
}

FileIo::~FileIo() {
    close(descriptor_);
}

int FileIo::read(void* self, std::uint8_t* bytes, int count) {
    ssize_t got = 0;
    do {
        got = ::read(static_cast<FileIo*>(self)->descriptor_, bytes, static_cast<std::size_t>(count));
    } while (got < 0 && errno == EINTR);
    if (got < 0)
        return AVERROR(errno);
    return got == 0 ? AVERROR_EOF : static_cast<int>(got);
}

int FileIo::write(void* self, std::uint8_t* bytes, int count) {
    auto* file = static_cast<FileIo*>(self);
    int done = 0;
    while (done < count) {
        const auto put = ::write(file->descriptor_, bytes + done, static_cast<std::size_t>(count - done));
        if (put < 0 && errno == EINTR)
            continue;
        if (put < 0) {
            if (file->writeError_ == 0)
                file->writeError_ = AVERROR(errno);
            return AVERROR(errno);
        }
        done += static_cast<int>(put);
    }
    return count;
}

std::int64_t FileIo::seek(void* self, std::int64_t offset, int whence) {
    const int descriptor = static_cast<FileIo*>(self)->descriptor_;
    if ((whence & AVSEEK_SIZE) != 0) {
        struct stat status{};
        return fstat(descriptor, &status) == 0 ? status.st_size : AVERROR(errno);
    }
    const auto position = lseek(descriptor, offset, whence & ~AVSEEK_FORCE);
    return position < 0 ? AVERROR(errno) : position;
}

} // namespace sonvale::platform::linux
