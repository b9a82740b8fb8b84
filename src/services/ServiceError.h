#pragma once

#include "base/TypedError.h"
#include "services/UnderlyingError.h"

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <utility>

namespace sonvale::services {

/// The base of the errors of requests to a service. A network error has the transport's error, an API error
/// has the status and the body of the answer. The other cases have neither.
template <typename CaseType>
class ServiceError : public base::TypedError<CaseType> {
public:
    /// Returns the transport's error of a network error; empty for the other cases.
    const UnderlyingError& underlying() const noexcept { return underlying_; }
    /// Returns the HTTP status of an API error; 0 for the other cases.
    std::int64_t statusCode() const noexcept { return statusCode_; }
    /// Returns the body of an API error; empty for the other cases.
    const std::string& body() const noexcept { return body_; }

protected:
    using Base = base::TypedError<CaseType>;

    ServiceError(CaseType errorCase, std::string description)
        : Base(errorCase, std::move(description)) {}

    /// Makes a network error.
    ServiceError(CaseType errorCase, UnderlyingError underlying)
        : Base(errorCase, "Network error: " + underlying.localizedDescription)
        , underlying_(std::move(underlying)) {}

    /// Makes an API error.
    ServiceError(CaseType errorCase, std::int64_t statusCode, std::string body)
        : Base(errorCase, fmt::format("API error ({}): {}", statusCode, body))
        , statusCode_(statusCode)
        , body_(std::move(body)) {}

private:
    UnderlyingError underlying_;
    std::int64_t statusCode_ = 0;
    std::string body_;
};

} // namespace sonvale::services
