#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sonvale::ui {

/// The texts of the sign-in form.
struct SignInInput {
    std::string email;
    std::string password;
    std::string confirmPassword; ///< used if an account is created
    bool isSignUp = false;
};

/// Returns the e-mail as it is sent: without spaces around it, but with line breaks.
std::string sentEmail(std::string_view email);

/// Returns the first error of the input, or nullopt if the service must decide.
std::optional<std::string> loginCheck(const SignInInput& input);

} // namespace sonvale::ui
