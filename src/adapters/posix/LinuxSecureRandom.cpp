#include "adapters/posix/LinuxSecureRandom.h"

#include <sys/random.h>

#include <cerrno>

namespace sonvale::adapters::posix {

std::int32_t LinuxSecureRandom::fill(std::span<std::byte> bytes) {
    // One call gives up to 32 MiB, and a signal may end it early.
    while (!bytes.empty()) {
        const auto got = ::getrandom(bytes.data(), bytes.size(), 0);
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return errno;
        }
        bytes = bytes.subspan(static_cast<std::size_t>(got));
    }
    return 0;
}

} // namespace sonvale::adapters::posix
