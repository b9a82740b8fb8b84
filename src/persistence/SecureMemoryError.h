#pragma once

#include "base/TypedError.h"

#include <cstdint>

namespace sonvale::persistence {

enum class SecureMemoryErrorCase {
    randomBytesGenerationFailed, ///< with the status of the random source
    mlockFailed,                 ///< with the error number
};

/// An error of overwriting or locking sensitive bytes.
class SecureMemoryError : public base::TypedError<SecureMemoryErrorCase> {
public:
    SecureMemoryError(Case errorCase, std::int32_t number);

    /// Returns the status or the error number.
    std::int32_t number() const { return number_; }

private:
    std::int32_t number_;
};

} // namespace sonvale::persistence
