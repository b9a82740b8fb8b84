#include "persistence/SecureMemoryError.h"

#include <fmt/format.h>

namespace sonvale::persistence {

namespace {

std::string describe(SecureMemoryError::Case errorCase, std::int32_t number) {
    switch (errorCase) {
    case SecureMemoryError::Case::randomBytesGenerationFailed:
        return fmt::format("SecRandomCopyBytes failed with status {}", number);
    case SecureMemoryError::Case::mlockFailed:
        return fmt::format("mlock failed with errno {}", number);
    }
    return {};
}

} // namespace

SecureMemoryError::SecureMemoryError(Case errorCase, std::int32_t number)
    : TypedError(errorCase, describe(errorCase, number))
    , number_(number) {}

} // namespace sonvale::persistence
