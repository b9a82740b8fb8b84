#include "ui/snippets/SnippetSearch.h"

#include "base/Text.h"

#include <algorithm>

namespace sonvale::ui {

namespace {

/// Returns whether this byte begins a code point below U+0300. Except for the carriage return, these do not
/// join with an adjacent code point (Unicode Standard Annex 29).
bool isPlainLead(char byte) {
    const auto value = static_cast<unsigned char>(byte);
    return (value < 0x80 && byte != '\r') || (value >= 0xC2 && value <= 0xCB);
}

bool isPlainBehind(std::string_view text) {
    const bool isOneByte = static_cast<unsigned char>(text.back()) < 0x80;
    return isPlainLead(isOneByte || text.size() < 2 ? text.back() : text[text.size() - 2]);
}

std::ptrdiff_t codePoints(std::string_view text) {
    return std::ranges::count_if(text,
                                 [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; });
}

/// Returns whether a character certainly ends here and another begins.
bool isPlainBorder(std::string_view text, std::size_t place) {
    return place == 0 || place == text.size() ||
           (isPlainBehind(text.substr(0, place)) && isPlainLead(text[place]));
}

} // namespace

bool matchesSearch(const persistence::Snippet& snippet, std::string_view searchText) {
    return searchText.empty() || base::containsIgnoringCase(snippet.trigger, searchText) ||
           base::containsIgnoringCase(snippet.content, searchText);
}

SearchedText::Query::Query(std::string_view searchText)
    : text(searchText)
    , folded(base::caseFolded(searchText)) {}

SearchedText::SearchedText(std::string_view text)
    : folded_(base::caseFolded(text))
    , hasPlainCase_(codePoints(folded_) == codePoints(base::canonicalForm(text))) {}

bool SearchedText::contains(std::string_view text, const Query& query) const {
    const auto place = folded_.find(query.folded);
    if (place == std::string::npos)
        return false;
    // Dividing a text into characters is slow. Usually the place of the match is enough to decide.
    return (hasPlainCase_ && isPlainBorder(folded_, place) &&
            isPlainBorder(folded_, place + query.folded.size())) ||
           base::containsIgnoringCase(text, query.text);
}

} // namespace sonvale::ui
