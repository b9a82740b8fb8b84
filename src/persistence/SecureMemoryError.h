#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace sonvale::persistence {

/// Failure of overwriting or locking sensitive bytes.
class SecureMemoryError : public std::runtime_error {
public:
    enum class Case {
        randomBytesGenerationFailed, ///< with the random source's status
        mlockFailed,                 ///< with the error number
    };

    SecureMemoryError(Case which, std::int32_t number);

    Case which() const { return case_; }
    std::int32_t number() const { return number_; }
    std::string errorDescription() const { return what(); }

private:
    Case case_;
    std::int32_t number_;
};

} // namespace sonvale::persistence
