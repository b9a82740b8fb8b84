#include "base/Uuid.h"

#include "base/HexDigits.h"

#include <random>

namespace sonvale::base {

namespace {

constexpr std::size_t textSize = 36;

constexpr bool isHyphenPlace(std::size_t place) {
    return place == 8 || place == 13 || place == 18 || place == 23;
}

} // namespace

Uuid Uuid::make() {
    std::random_device device;
    Uuid uuid;
    for (std::size_t i = 0; i < uuid.bytes_.size(); i += 4) {
        const std::uint32_t word = device();
        for (std::size_t j = 0; j < 4; ++j)
            uuid.bytes_[i + j] = static_cast<std::uint8_t>(word >> (8 * j));
    }
    uuid.bytes_[6] = static_cast<std::uint8_t>((uuid.bytes_[6] & 0x0F) | 0x40);
    uuid.bytes_[8] = static_cast<std::uint8_t>((uuid.bytes_[8] & 0x3F) | 0x80);
    return uuid;
}

std::optional<Uuid> Uuid::parse(std::string_view text) {
    if (text.size() != textSize)
        return std::nullopt;
    Uuid uuid;
    std::size_t digits = 0;
    for (std::size_t place = 0; place < textSize; ++place) {
        if (isHyphenPlace(place)) {
            if (text[place] != '-')
                return std::nullopt;
            continue;
        }
        const int value = hexDigitValue(text[place]);
        if (value < 0)
            return std::nullopt;
        auto& byte = uuid.bytes_[digits / 2];
        byte = static_cast<std::uint8_t>(byte << 4 | value);
        ++digits;
    }
    return uuid;
}

std::string Uuid::toString() const {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string text;
    text.reserve(textSize);
    for (const auto byte : bytes_) {
        if (isHyphenPlace(text.size()))
            text += '-';
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

} // namespace sonvale::base
