#pragma once

#include "base/TypedError.h"

#include <string>
#include <utility>

namespace sonvale::persistence {

enum class StoreErrorCase {
    openFailed,
    /// The cause lies outside the file, which may be intact: a full disk, no free file descriptor, a lock of
    /// another process.
    unavailable,
    schemaMismatch,
    fetchFailed,
    saveFailed,
};

/// An error of opening, reading or writing the object store. The description names the cause and never
/// contains a record's content.
class StoreError : public base::TypedError<StoreErrorCase> {
public:
    StoreError(Case errorCase, std::string description)
        : TypedError(errorCase, std::move(description)) {}
};

} // namespace sonvale::persistence
