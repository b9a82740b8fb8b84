#include "adapters/x11/selections/X11Text.h"

#include <cstdint>

namespace sonvale::adapters::x11 {

namespace {

std::uint8_t byteAt(std::string_view text, std::size_t index) {
    return static_cast<std::uint8_t>(text[index]);
}

} // namespace

std::optional<std::string> latin1FromUtf8(std::string_view text) {
    std::string latin1;
    latin1.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t character = byteAt(text, i);
        if (character == 0xc2 || character == 0xc3) {
            ++i;
            character = (character & 0x03u) << 6 | (byteAt(text, i) & 0x3fu);
        } else if (character >= 0x80) {
            return std::nullopt;
        }
        const bool isControl = character < 0x20 || (character >= 0x7f && character < 0xa0);
        if (isControl && character != '\t' && character != '\n')
            return std::nullopt;
        latin1 += static_cast<char>(character);
    }
    return latin1;
}

std::string utf8FromLatin1(std::string_view text) {
    std::string utf8;
    utf8.reserve(text.size());
    for (const char c : text) {
        const auto character = static_cast<std::uint8_t>(c);
        if (character < 0x80) {
            utf8 += c;
        } else {
            utf8 += static_cast<char>(0xc0 | character >> 6);
            utf8 += static_cast<char>(0x80 | (character & 0x3f));
        }
    }
    return utf8;
}

std::string_view asText(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace sonvale::adapters::x11
