#include "tests/support/Files.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace sonvale::tests {

std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void writeFile(const std::filesystem::path& file, std::string_view content) {
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(content.data(), static_cast<std::streamsize>(content.size()));
    stream.flush();
    if (!stream)
        throw std::runtime_error("cannot write " + file.string());
}

unsigned modeOf(const std::filesystem::path& file) {
    struct stat status{};
    return ::lstat(file.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

FileSizeLimit::FileSizeLimit(std::size_t bytes) {
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    formerLimit_ = limit.rlim_cur;
    // Without the signal, a write beyond the limit fails with an error instead of ending the process.
    formerHandler_ = std::signal(SIGXFSZ, SIG_IGN);
    limit.rlim_cur = bytes;
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0)
        throw std::runtime_error("cannot limit the size of files");
}

FileSizeLimit::~FileSizeLimit() {
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = formerLimit_;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, formerHandler_);
}

} // namespace sonvale::tests
