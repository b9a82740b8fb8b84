#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace sonvale::platform {

/// The system's cryptographic random source. Any thread.
class SecureRandom {
public:
    SecureRandom() = default;
    SecureRandom(const SecureRandom&) = delete;
    SecureRandom& operator=(const SecureRandom&) = delete;
    virtual ~SecureRandom() = default;

    /// Fills all of `bytes`. Returns 0, or the system's error number; the bytes are then undefined.
    virtual std::int32_t fill(std::span<std::byte> bytes) = 0;
};

} // namespace sonvale::platform
