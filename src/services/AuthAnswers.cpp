#include "services/AuthAnswers.h"

#include "base/Base64.h"
#include "base/Json.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

namespace sonvale::services {

namespace {

/// A token this close to its end may have expired when it arrives.
constexpr double expiryMargin = 60;

bool isAbsent(const base::Json* member) {
    return member == nullptr || member->is_null();
}

} // namespace

std::optional<AuthTokenResponse> authTokenResponse(std::string_view body) {
    const auto answer = base::parseJson(body);
    if (!answer)
        return std::nullopt;
    auto accessToken = base::jsonString(*answer, "access_token");
    auto refreshToken = base::jsonString(*answer, "refresh_token");
    if (!accessToken || !refreshToken)
        return std::nullopt;
    AuthTokenResponse response{*std::move(accessToken), *std::move(refreshToken), std::nullopt};

    const auto* user = base::jsonMember(*answer, "user");
    if (isAbsent(user))
        return response;
    if (!user->is_object())
        return std::nullopt;
    if (const auto* email = base::jsonMember(*user, "email"); !isAbsent(email)) {
        if (!email->is_string())
            return std::nullopt;
        response.email = email->get<std::string>();
    }
    return response;
}

std::string authErrorText(int status, std::string_view body) {
    if (const auto answer = base::parseJson(body)) {
        if (base::jsonString(*answer, "error_code") == "email_not_confirmed")
            return "Please confirm your account using the link sent to your email.";
        constexpr std::array<std::string_view, 3> keys = {"msg", "message", "error"};
        for (const auto key : keys) {
            if (auto text = base::jsonString(*answer, key))
                return *std::move(text);
        }
    }
    return fmt::format("Server error ({}).", status);
}

bool isTokenExpired(std::string_view token, double now) {
    if (std::ranges::count(token, '.') != 2)
        return true;
    const auto first = token.find('.') + 1;
    std::string payload(token.substr(first, token.rfind('.') - first));
    std::ranges::replace(payload, '-', '+');
    std::ranges::replace(payload, '_', '/');
    payload.append((4 - payload.size() % 4) % 4, '=');

    const auto bytes = base::decodeBase64(payload);
    if (!bytes)
        return true;
    const auto claims = base::parseJson(*bytes);
    if (!claims)
        return true;
    const auto expiry = base::jsonNumber(*claims, "exp");
    return !expiry || *expiry - expiryMargin <= now;
}

} // namespace sonvale::services
