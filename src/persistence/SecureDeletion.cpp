#include "persistence/SecureDeletion.h"

#include "persistence/FileDescriptor.h"

#include <sys/stat.h>

#include <algorithm>
#include <vector>

namespace sonvale::persistence {

namespace {

/// Random bytes are written in pieces, so that a long recording does not need its size in memory.
constexpr std::size_t pieceSize = 1U << 20;

[[noreturn]] void fail(const char* what, const std::filesystem::path& file, std::error_code error) {
    throw std::filesystem::filesystem_error(what, file, error);
}

struct stat statusOf(const std::filesystem::path& file) {
    struct stat status{};
    if (::lstat(file.c_str(), &status) != 0)
        fail("cannot read the attributes", file, lastSystemError());
    return status;
}

void overwrite(const std::filesystem::path& file, platform::SecureRandom& random) {
    // Opened without truncation, because the random bytes must overwrite the blocks of the old ones.
    const FileDescriptor descriptor(file, O_WRONLY | O_NOFOLLOW | O_NONBLOCK);
    struct stat status{};
    if (!descriptor || ::fstat(descriptor.number(), &status) != 0)
        fail("cannot open for overwriting", file, lastSystemError());

    auto left = static_cast<std::size_t>(status.st_size);
    std::vector<std::byte> buffer(std::min(left, pieceSize));
    while (left > 0) {
        const auto piece = std::span(buffer).first(std::min(left, buffer.size()));
        if (const auto failure = random.fill(piece); failure != 0)
            throw SecureMemoryError(SecureMemoryError::Case::randomBytesGenerationFailed, failure);
        if (const auto error = descriptor.write({reinterpret_cast<const char*>(piece.data()), piece.size()}))
            fail("cannot overwrite", file, error);
        left -= piece.size();
    }
    // Without the flush, a removal right afterwards would discard the new bytes before they are written.
    if (const auto error = descriptor.synchronize())
        fail("cannot overwrite", file, error);
}

} // namespace

void secureDelete(const std::filesystem::path& file, platform::SecureRandom& random) {
    const auto status = statusOf(file);
    if (S_ISDIR(status.st_mode))
        fail("cannot delete", file, std::make_error_code(std::errc::is_a_directory));
    if (S_ISREG(status.st_mode) && status.st_size >= 1)
        overwrite(file, random);
    if (::unlink(file.c_str()) != 0)
        fail("cannot delete", file, lastSystemError());
}

} // namespace sonvale::persistence
