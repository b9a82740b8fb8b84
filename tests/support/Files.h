#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace sonvale::tests {

/// The whole content of a file; empty when it cannot be read.
std::string contentOf(const std::filesystem::path& file);
void writeFile(const std::filesystem::path& file, std::string_view content);
/// Permission bits of the file itself, links not followed; 0 when there is none.
unsigned modeOf(const std::filesystem::path& file);

/// While it lives, no file can grow beyond `bytes`, as on a full disk. For the whole process.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::size_t bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    unsigned long long formerLimit_;
    void (*formerHandler_)(int);
};

} // namespace sonvale::tests
