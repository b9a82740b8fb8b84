#pragma once

#include "platform/SecureRandom.h"

namespace sonvale::platform::linux {

/// The kernel's random source, getrandom(2). Waits for it only in the first moments after the machine's
/// start.
class LinuxSecureRandom final : public SecureRandom {
public:
    std::int32_t fill(std::span<std::byte> bytes) override;
};

} // namespace sonvale::platform::linux
