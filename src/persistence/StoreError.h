#pragma once

#include <stdexcept>
#include <string>

namespace sonvale::persistence {

/// The object store could not be opened, read or written. Its description names the cause, never a record's
/// content.
class StoreError : public std::runtime_error {
public:
    enum class Case {
        openFailed,
        /// The cause lies outside the file, which may be intact: a full disk, no free file descriptor, a lock
        /// of another process.
        unavailable,
        schemaMismatch,
        fetchFailed,
        saveFailed,
    };

    StoreError(Case which, const std::string& description)
        : std::runtime_error(description)
        , case_(which) {}

    Case which() const { return case_; }
    std::string errorDescription() const { return what(); }

private:
    Case case_;
};

} // namespace sonvale::persistence
