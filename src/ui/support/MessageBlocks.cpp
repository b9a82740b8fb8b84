#include "ui/support/MessageBlocks.h"

#include "base/Text.h"

namespace sonvale::ui {

namespace {

constexpr std::size_t enough = 1000;
constexpr std::size_t most = 4000;

bool continuesCodePoint(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

std::size_t codePointAt(std::string_view text, std::size_t place) {
    // A code point has at most four bytes. Invalid UTF-8 may be cut anywhere.
    const auto longest = place < 3 ? 0 : place - 3;
    for (auto begin = place; begin > longest; --begin) {
        if (!continuesCodePoint(text[begin]))
            return begin;
    }
    return place;
}

/// Returns the beginning of the character that fills the block.
std::size_t lastCharacterBefore(std::string_view text) {
    constexpr std::size_t lookBack = 400;
    const auto begin = codePointAt(text, most - lookBack);
    const auto end = codePointAt(text, most);
    const auto last = base::lastCharacters(text.substr(begin, end - begin), 1);
    return last.size() < end - begin ? end - last.size() : end;
}

} // namespace

std::optional<BlockCut> firstBlockCut(std::string_view text) {
    if (text.size() <= enough)
        return std::nullopt;
    const auto line = text.substr(0, most).find('\n', enough);
    if (line != std::string_view::npos)
        return line + 1 < text.size() ? std::optional(BlockCut{.end = line, .next = line + 1}) : std::nullopt;
    if (text.size() <= most)
        return std::nullopt;
    const auto blank = text.substr(0, most).rfind(' ');
    if (blank != std::string_view::npos && blank >= enough)
        return BlockCut{.end = blank, .next = blank + 1};
    const auto cut = lastCharacterBefore(text);
    return BlockCut{.end = cut, .next = cut};
}

} // namespace sonvale::ui
