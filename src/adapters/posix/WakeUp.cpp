#include "adapters/posix/WakeUp.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace sonvale::adapters::posix {

WakeUp::WakeUp()
    : descriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (descriptor_ < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
}

WakeUp::~WakeUp() {
    close(descriptor_);
}

void WakeUp::signal() const {
    const std::uint64_t one = 1;
    // Fails only if the counter is full, and then the descriptor can be read.
    [[maybe_unused]] const auto size = write(descriptor_, &one, sizeof one);
}

void WakeUp::clear() const {
    std::uint64_t count = 0;
    // Fails if there was no signal, and then there is nothing to clear.
    [[maybe_unused]] const auto size = read(descriptor_, &count, sizeof count);
}

} // namespace sonvale::adapters::posix
