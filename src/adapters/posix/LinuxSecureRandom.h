#pragma once

#include "platform/SecureRandom.h"

namespace sonvale::adapters::posix {

/// The kernel's random source, getrandom(2). Waits only in the first moments after the machine has started.
class LinuxSecureRandom final : public platform::SecureRandom {
public:
    std::int32_t fill(std::span<std::byte> bytes) override;
};

} // namespace sonvale::adapters::posix
