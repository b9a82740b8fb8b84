#include "base/Base64.h"

#include <array>
#include <cstdint>

namespace sonvale::base {

namespace {

constexpr std::string_view standardAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view urlAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

using Values = std::array<std::int8_t, 256>;

constexpr Values valuesOf(std::string_view alphabet) {
    Values values{};
    values.fill(-1);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        values[static_cast<unsigned char>(alphabet[i])] = static_cast<std::int8_t>(i);
    return values;
}

constexpr Values standardValues = valuesOf(standardAlphabet);
constexpr Values urlValues = valuesOf(urlAlphabet);

std::optional<std::string> decode(std::string_view digits, const Values& values) {
    if (digits.size() % 4 == 1)
        return std::nullopt;
    std::string bytes;
    bytes.reserve(digits.size() * 3 / 4);
    std::uint32_t bits = 0;
    int held = 0;
    for (const char digit : digits) {
        const auto value = values[static_cast<unsigned char>(digit)];
        if (value < 0)
            return std::nullopt;
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        held += 6;
        if (held >= 8) {
            held -= 8;
            bytes += static_cast<char>(bits >> held & 0xFF);
            bits &= (1U << held) - 1;
        }
    }
    if (bits != 0)
        return std::nullopt;
    return bytes;
}

std::string_view withoutPadding(std::string_view text) {
    for (int i = 0; i < 2 && text.ends_with('='); ++i)
        text.remove_suffix(1);
    return text;
}

} // namespace

std::string encodeBase64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    const auto at = [&](std::size_t i) -> std::uint32_t {
        return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U;
    };
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::uint32_t group = at(i) << 16 | at(i + 1) << 8 | at(i + 2);
        text += standardAlphabet[group >> 18];
        text += standardAlphabet[group >> 12 & 0x3F];
        text += i + 1 < bytes.size() ? standardAlphabet[group >> 6 & 0x3F] : '=';
        text += i + 2 < bytes.size() ? standardAlphabet[group & 0x3F] : '=';
    }
    return text;
}

std::optional<std::string> decodeBase64(std::string_view text) {
    if (text.size() % 4 != 0)
        return std::nullopt;
    return decode(withoutPadding(text), standardValues);
}

std::optional<std::string> decodeBase64Url(std::string_view text) {
    const auto digits = withoutPadding(text);
    if (digits.size() != text.size() && text.size() % 4 != 0)
        return std::nullopt;
    return decode(digits, urlValues);
}

} // namespace sonvale::base
