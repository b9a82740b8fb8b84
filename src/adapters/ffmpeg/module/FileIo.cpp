#include "adapters/ffmpeg/module/FileIo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <string>
#include <utility>

namespace sonvale::adapters::ffmpeg {

namespace {

constexpr int blockBytes = 32 * 1024;
constexpr std::int64_t diskBlockBytes = 4096;

std::string systemErrorText(int error) {
    return ffmpegErrorText(AVERROR(error));
}

} // namespace

std::unique_ptr<FileIo> FileIo::forWriting(FileDescriptor file) {
    return std::unique_ptr<FileIo>(new FileIo(std::move(file), Direction::writing));
}

std::unique_ptr<FileIo> FileIo::open(const std::filesystem::path& path) {
    // Without O_NONBLOCK the opening of a pipe would wait for a writer.
    FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (file.number() < 0)
        throw platform::AudioFileError("The audio file cannot be opened: " + systemErrorText(errno));
    struct stat status{};
    if (fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode))
        throw platform::AudioFileError("The audio file cannot be opened: it is not a file");
    return std::unique_ptr<FileIo>(new FileIo(std::move(file), Direction::reading));
}

FileIo::FileIo(FileDescriptor file, Direction direction)
    : file_(std::move(file)) {
    auto* buffer = static_cast<unsigned char*>(av_malloc(blockBytes));
    const bool isWriting = direction == Direction::writing;
    // The bytes are const since FFmpeg 7.
    const decltype(AVIOContext::write_packet) writer = [](void* self, auto* bytes, int count) {
        return write(self, bytes, count);
    };
    if (buffer)
        context_.reset(avio_alloc_context(buffer, blockBytes, isWriting ? 1 : 0, this,
                                          isWriting ? nullptr : read, isWriting ? writer : nullptr,
                                          isWriting ? seekInWritten : seek));
    if (!context_) {
        av_free(buffer);
        throw std::bad_alloc();
    }
}

int FileIo::read(void* self, std::uint8_t* bytes, int count) {
    ssize_t got = 0;
    do {
        got = ::read(static_cast<FileIo*>(self)->file_.number(), bytes, static_cast<std::size_t>(count));
    } while (got < 0 && errno == EINTR);
    if (got < 0)
        return AVERROR(errno);
    return got == 0 ? AVERROR_EOF : static_cast<int>(got);
}

int FileIo::write(void* self, const std::uint8_t* bytes, int count) {
    auto& file = *static_cast<FileIo*>(self);
    std::span left(bytes, static_cast<std::size_t>(count));
    // Later bytes must not be written before earlier ones for the same place.
    if (!file.heldFrom_ && file.writeRest())
        left = left.subspan(file.writeAt(file.position_, left));
    if (!left.empty())
        file.rest_.push_back(
            {file.position_ + count - static_cast<std::int64_t>(left.size()), {left.begin(), left.end()}});
    file.position_ += count;
    file.size_ = std::max(file.size_, file.position_);
    return count;
}

/// Returns how many of the bytes were taken.
std::size_t FileIo::writeAt(std::int64_t offset, std::span<const std::uint8_t> bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const auto put = pwrite(file_.number(), bytes.data() + done, bytes.size() - done,
                                offset + static_cast<std::int64_t>(done));
        if (put < 0 && errno == EINTR)
            continue;
        if (put <= 0) {
            if (writeError_ == 0)
                writeError_ = AVERROR(put < 0 ? errno : ENOSPC);
            break;
        }
        done += static_cast<std::size_t>(put);
    }
    return done;
}

bool FileIo::writeRest() {
    while (!rest_.empty()) {
        auto& first = rest_.front();
        const auto done = writeAt(first.offset, first.bytes);
        if (done < first.bytes.size()) {
            first.bytes.erase(first.bytes.begin(), first.bytes.begin() + static_cast<std::ptrdiff_t>(done));
            first.offset += static_cast<std::int64_t>(done);
            return false;
        }
        rest_.pop_front();
    }
    return true;
}

void FileIo::dropRest() {
    if (!rest_.empty() && !firstHole_)
        firstHole_ = rest_.front().offset;
    rest_.clear();
}

void FileIo::hold() {
    heldFrom_ = size_;
}

bool FileIo::writeHeld() {
    const auto held = rest_;
    if (writeRest())
        return true;
    std::int64_t needed = 0;
    for (const auto& each : held)
        // Each one begins and ends inside a block of the disk.
        needed += static_cast<std::int64_t>(each.bytes.size()) + 2 * diskBlockBytes;
    const auto end = firstHole_.value_or(*heldFrom_) - needed;
    // The beginning of the file refers to the rest.
    if (end < diskBlockBytes || ftruncate(file_.number(), end) != 0)
        return false;
    rest_ = held;
    return writeRest();
}

std::int64_t FileIo::seekInWritten(void* self, std::int64_t offset, int whence) {
    auto& file = *static_cast<FileIo*>(self);
    switch (whence & ~AVSEEK_FORCE) {
    case AVSEEK_SIZE:
        return file.size_;
    case SEEK_CUR:
        offset += file.position_;
        break;
    case SEEK_END:
        offset += file.size_;
        break;
    default:
        break;
    }
    if (offset < 0)
        return AVERROR(EINVAL);
    return file.position_ = offset;
}

std::int64_t FileIo::seek(void* self, std::int64_t offset, int whence) {
    const int descriptor = static_cast<FileIo*>(self)->file_.number();
    if ((whence & AVSEEK_SIZE) != 0) {
        struct stat status{};
        return fstat(descriptor, &status) == 0 ? status.st_size : AVERROR(errno);
    }
    const auto position = lseek(descriptor, offset, whence & ~AVSEEK_FORCE);
    return position < 0 ? AVERROR(errno) : position;
}

} // namespace sonvale::adapters::ffmpeg
