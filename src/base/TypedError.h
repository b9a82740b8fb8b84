#pragma once

#include <exception>
#include <string>
#include <utility>

namespace sonvale::base {

/// The base of the errors of the subsystems. An error has a case, for code that handles it, and a
/// description. `CaseType` is the enumeration of the cases of one subsystem.
template <typename CaseType>
class TypedError : public std::exception {
public:
    using Case = CaseType;

    Case errorCase() const noexcept { return case_; }

    /// Returns the text that describes the error, which `what()` returns too. Where the user sees the error,
    /// it is the text for the user.
    const std::string& errorDescription() const noexcept { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }

protected:
    TypedError(Case errorCase, std::string description)
        : case_(errorCase)
        , description_(std::move(description)) {}

private:
    Case case_;
    std::string description_;
};

} // namespace sonvale::base
