#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sonvale::ui {

/// What the user types to get in.
struct LoginInput {
    std::string email;
    std::string password;
    std::string confirmPassword; ///< counts when an account is created
    bool isSignUp = false;
};

/// Without the blanks around it, as it is sent; line breaks stay.
std::string sentEmail(std::string_view email);

/// What is wrong with the input, the first thing only; absent when the service is to decide.
std::optional<std::string> loginCheck(const LoginInput& input);

} // namespace sonvale::ui
