#include "ui/SnippetSearch.h"

#include "base/Text.h"

#include <algorithm>

namespace sonvale::ui {

namespace {

bool isAscii(char byte) {
    return static_cast<unsigned char>(byte) < 0x80 && byte != '\r';
}

std::ptrdiff_t codePoints(std::string_view text) {
    return std::ranges::count_if(text,
                                 [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; });
}

/// Whether a character surely ends and begins here, since nothing of ASCII joins with its neighbour.
bool isPlainBorder(std::string_view text, std::size_t place) {
    return place == 0 || place == text.size() || (isAscii(text[place - 1]) && isAscii(text[place]));
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
    // Parting a text into its characters takes long; mostly the place of the match tells already.
    return (hasPlainCase_ && isPlainBorder(folded_, place) &&
            isPlainBorder(folded_, place + query.folded.size())) ||
           base::containsIgnoringCase(text, query.text);
}

} // namespace sonvale::ui
