#include "base/Base64.h"
#include "base/Text.h"
#include "services/AuthAnswers.h"
#include "tests/fuzz/Quiet.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

/// Returns a token with that payload, in the URL alphabet and without padding, as tokens are.
std::string tokenWith(std::string_view payload) {
    auto text = sonvale::base::encodeBase64(payload);
    std::ranges::replace(text, '+', '-');
    std::ranges::replace(text, '/', '_');
    std::erase(text, '=');
    return "e30." + text + ".c2ln";
}

/// Checks that an expired token stays expired.
void checkExpiry(std::string_view token) {
    using sonvale::services::isTokenExpired;
    if (isTokenExpired(token, 1000) && !isTokenExpired(token, 2000))
        std::abort();
    if (std::ranges::count(token, '.') != 2 && !isTokenExpired(token, 0))
        std::abort();
}

} // namespace

/// Processes the input as an access token, as the payload of one, and as the answer that contains one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    checkExpiry(input);
    checkExpiry(tokenWith(input));

    if (const auto answer = sonvale::services::authTokenResponse(input)) {
        checkExpiry(answer->accessToken);
        using sonvale::base::isValidUtf8;
        if (!isValidUtf8(answer->accessToken) || !isValidUtf8(answer->refreshToken) ||
            !isValidUtf8(answer->email.value_or("")))
            std::abort();
    }
    return 0;
}
