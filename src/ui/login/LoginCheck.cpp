#include "ui/login/LoginCheck.h"

#include "base/Text.h"

#include <QtGlobal>

namespace sonvale::ui {

namespace {

constexpr std::size_t minPasswordLength = 8;

} // namespace

std::string sentEmail(std::string_view email) {
    return base::trimmed(email, base::TrimmingSet::blanks);
}

std::optional<std::string> loginCheck(const SignInInput& input) {
    const auto email = sentEmail(input.email);
    if (email.empty())
        return QT_TRANSLATE_NOOP("Texts", "Please enter your email address.");
    if (!base::contains(email, "@"))
        return QT_TRANSLATE_NOOP("Texts", "Please enter a valid email address.");
    if (base::characterCount(input.password) < minPasswordLength)
        return QT_TRANSLATE_NOOP("Texts", "Password must be at least 8 characters.");
    if (input.isSignUp && !base::isEqual(input.password, input.confirmPassword))
        return QT_TRANSLATE_NOOP("Texts", "Passwords do not match.");
    return std::nullopt;
}

} // namespace sonvale::ui
