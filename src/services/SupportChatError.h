#pragma once

#include <exception>
#include <string>

namespace sonvale::services {

/// Why the support assistant gave no answer.
class SupportChatError : public std::exception {
public:
    enum class Case { serverError, invalidResponse };

    static SupportChatError serverError(int status);
    static SupportChatError invalidResponse();

    Case errorCase() const { return case_; }
    /// Of `serverError`; 0 for the other.
    int status() const { return status_; }
    /// Words for the user.
    const std::string& errorDescription() const { return description_; }
    const char* what() const noexcept override { return description_.c_str(); }

private:
    SupportChatError(Case errorCase, int status, std::string description);

    Case case_;
    int status_;
    std::string description_;
};

} // namespace sonvale::services
