#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace sonvale::tests {

/// Returns the whole content of a file, or an empty text if it cannot be read.
std::string contentOf(const std::filesystem::path& file);
void writeFile(const std::filesystem::path& file, std::string_view content);
/// Returns the permission bits of the file itself, without following links; 0 if there is none.
unsigned modeOf(const std::filesystem::path& file);

/// Prevents files from growing beyond `bytes` in a scope, like a full disk. Applies to the whole process.
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
