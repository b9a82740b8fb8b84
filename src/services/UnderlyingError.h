#pragma once

#include <exception>
#include <string>

namespace sonvale::services {

/// The error that caused a failure, from another part of the system.
struct UnderlyingError {
    std::string domain;
    int code = 0;
    std::string localizedDescription;
    bool operator==(const UnderlyingError&) const = default;

    /// Returns a transport's error with its own domain and code, and any other error with the catching part's
    /// `domain` and -1.
    static UnderlyingError from(const std::exception& error, std::string domain);
};

} // namespace sonvale::services
