#include "platform/linux/X11Text.h"

#include <cstdint>
#include <cstring>

namespace sonvale::platform::linux {

namespace {

std::uint8_t byteAt(std::string_view text, std::size_t index) {
    return static_cast<std::uint8_t>(text[index]);
}

/// Length of the well-formed sequence at the beginning of `text`; 0 when there is none.
std::size_t sequenceLength(std::string_view text) {
    const auto first = byteAt(text, 0);
    if (first < 0x80)
        return 1;
    const std::size_t length = first >= 0xc2 && first <= 0xdf   ? 2
                               : (first & 0xf0) == 0xe0         ? 3
                               : first >= 0xf0 && first <= 0xf4 ? 4
                                                                : 0;
    if (length == 0 || text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(text, i) & 0xc0) != 0x80)
            return 0;
    }
    // Overlong forms, surrogates and what lies beyond U+10FFFF show in the second byte.
    const auto second = byteAt(text, 1);
    const bool isIllFormed = (first == 0xe0 && second < 0xa0) || (first == 0xed && second > 0x9f) ||
                             (first == 0xf0 && second < 0x90) || (first == 0xf4 && second > 0x8f);
    return isIllFormed ? 0 : length;
}

/// Number of ASCII characters at the beginning of `text`, give or take the last seven.
std::size_t asciiLength(std::string_view text) {
    constexpr std::uint64_t highBits = 0x8080808080808080;
    std::size_t length = 0;
    for (; text.size() - length >= sizeof(std::uint64_t); length += sizeof(std::uint64_t)) {
        std::uint64_t characters = 0;
        std::memcpy(&characters, text.data() + length, sizeof characters);
        if (characters & highBits)
            break;
    }
    return length;
}

} // namespace

std::string repairedUtf8(std::string_view text) {
    std::string repaired;
    repaired.reserve(text.size());
    std::size_t begin = 0;
    std::size_t end = 0;
    // Whole runs at a time: the text may be tens of megabytes long.
    const auto takeRun = [&] { repaired += text.substr(begin, end - begin); };
    while (true) {
        end += asciiLength(text.substr(end));
        if (end == text.size())
            break;
        if (const auto length = sequenceLength(text.substr(end)); length > 0) {
            end += length;
            continue;
        }
        takeRun();
        repaired += "\uFFFD";
        begin = ++end;
    }
    takeRun();
    return repaired;
}

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

std::string_view textOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace sonvale::platform::linux
