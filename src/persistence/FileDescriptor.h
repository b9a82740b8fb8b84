#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace sonvale::persistence {

inline std::error_code lastSystemError() {
    return {errno, std::generic_category()};
}

/// An open file, closed with the object. Repeats interrupted calls.
class FileDescriptor {
public:
    /// On failure the file is not open and `errno` is set. `flags` are the flags of open(2).
    FileDescriptor(const std::filesystem::path& file, int flags, unsigned mode = 0) {
        do
            number_ = ::open(file.c_str(), flags | O_CLOEXEC, mode);
        while (number_ < 0 && errno == EINTR);
    }
    ~FileDescriptor() {
        if (number_ >= 0)
            ::close(number_);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    explicit operator bool() const { return number_ >= 0; }
    int number() const { return number_; }

    /// Writes all of `content`.
    std::error_code write(std::string_view content) const {
        while (!content.empty()) {
            const auto written = ::write(number_, content.data(), content.size());
            if (written < 0) {
                if (errno == EINTR)
                    continue;
                return lastSystemError();
            }
            content.remove_prefix(static_cast<std::size_t>(written));
        }
        return {};
    }

    /// Waits until the file is on the disk.
    std::error_code synchronize() const {
        while (::fsync(number_) != 0) {
            if (errno != EINTR)
                return lastSystemError();
        }
        return {};
    }

private:
    int number_ = -1;
};

} // namespace sonvale::persistence
