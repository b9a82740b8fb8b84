#pragma once

#include <exception>
#include <string>

namespace sonvale::services {

/// An error of another part of the system that lies behind a failure.
struct UnderlyingError {
    std::string domain;
    int code = 0;
    std::string localizedDescription;
    bool operator==(const UnderlyingError&) const = default;

    /// A transport's error with its own domain and code; any other with the `domain` of who caught it and -1.
    static UnderlyingError from(const std::exception& error, std::string domain);
};

} // namespace sonvale::services
