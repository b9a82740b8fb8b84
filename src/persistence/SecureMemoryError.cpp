#include "persistence/SecureMemoryError.h"

#include <fmt/format.h>

namespace sonvale::persistence {

namespace {

std::string describe(SecureMemoryError::Case which, std::int32_t number) {
    switch (which) {
    case SecureMemoryError::Case::randomBytesGenerationFailed:
        return fmt::format("SecRandomCopyBytes failed with status {}", number);
    case SecureMemoryError::Case::mlockFailed:
        return fmt::format("mlock failed with errno {}", number);
    }
    return {};
}

} // namespace

SecureMemoryError::SecureMemoryError(Case which, std::int32_t number)
    : std::runtime_error(describe(which, number))
    , case_(which)
    , number_(number) {}

} // namespace sonvale::persistence
