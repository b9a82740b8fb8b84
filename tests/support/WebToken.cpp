#include "tests/support/WebToken.h"

#include "base/Base64.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

namespace sonvale::tests {

namespace {

/// Encodes a part of a token in Base64 (RFC 7515, appendix C).
std::string tokenPiece(const std::string& bytes) {
    auto text = base::encodeBase64(bytes);
    std::ranges::replace(text, '+', '-');
    std::ranges::replace(text, '/', '_');
    text.erase(std::ranges::find(text, '='), text.end());
    return text;
}

std::string signatureOf(std::string_view signedPart, const std::string& secret) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    unsigned int size = 0;
    if (::HMAC(::EVP_sha256(), secret.data(), static_cast<int>(secret.size()),
               reinterpret_cast<const unsigned char*>(signedPart.data()), signedPart.size(), bytes.data(),
               &size) == nullptr)
        throw std::runtime_error("the token cannot be signed");
    return {reinterpret_cast<const char*>(bytes.data()), size};
}

std::optional<base::Json> jsonIn(std::string_view piece) {
    const auto bytes = base::decodeBase64Url(piece);
    if (!bytes)
        return std::nullopt;
    auto json = base::parseJson(*bytes);
    return json && json->is_object() ? std::optional(std::move(*json)) : std::nullopt;
}

} // namespace

std::string signedWebToken(const base::Json& claims, const std::string& secret) {
    const base::Json header{{"alg", "HS256"}, {"kid", "test"}, {"typ", "JWT"}};
    const auto signedPart = tokenPiece(base::jsonText(header)) + "." + tokenPiece(base::jsonText(claims));
    return signedPart + "." + tokenPiece(signatureOf(signedPart, secret));
}

std::optional<base::Json> webTokenClaims(const std::string& token, const std::string& secret) {
    if (std::ranges::count(token, '.') != 2)
        return std::nullopt;
    const std::string_view whole(token);
    const auto firstPoint = whole.find('.');
    const auto lastPoint = whole.rfind('.');

    const auto header = jsonIn(whole.substr(0, firstPoint));
    if (!header || base::jsonString(*header, "alg") != "HS256")
        return std::nullopt;
    const auto given = base::decodeBase64Url(whole.substr(lastPoint + 1));
    const auto right = signatureOf(whole.substr(0, lastPoint), secret);
    if (!given || given->size() != right.size() ||
        ::CRYPTO_memcmp(given->data(), right.data(), right.size()) != 0)
        return std::nullopt;
    return jsonIn(whole.substr(firstPoint + 1, lastPoint - firstPoint - 1));
}

std::string randomSecret() {
    std::array<unsigned char, 32> bytes{};
    if (::RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
        throw std::runtime_error("there are no random bytes");
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace sonvale::tests
