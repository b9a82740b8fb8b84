#include "textprocessing/ModelOutput.h"

#include "base/Text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace sonvale::textprocessing {

namespace {

constexpr std::array<std::string_view, 14> chatterPrefixes = {
    "Here is the cleaned text:",
    "Here's the cleaned text:",
    "Here is the corrected text:",
    "Here's the corrected text:",
    "Here is the cleaned version:",
    "Here's the cleaned version:",
    "Here is the corrected version:",
    "Here's the corrected version:",
    "Sure!",
    "Sure,",
    "Certainly!",
    "Certainly,",
    "Of course!",
    "Of course,",
};

constexpr std::array<std::string_view, 9> commentaryMarkers = {
    "Note:",   "NOTE:",     "(Note:",        "[Note:",       "I corrected",
    "I fixed", "I changed", "Changes made:", "Corrections:",
};

constexpr std::size_t minWordsToCompare = 3;
constexpr double minSharedPart = 0.3;
constexpr std::size_t maxGrowth = 3;
constexpr std::size_t maxFreelyGrowing = 10; ///< characters
constexpr std::size_t minOutputCharacters = 2;

std::string withoutLeadingChatter(std::string text) {
    for (const auto prefix : chatterPrefixes) {
        const auto found = base::findPrefixIgnoringCase(text, prefix);
        if (!found)
            continue;
        const auto rest = std::string_view(text).substr(found->end);
        auto trimmedRest = base::trimmed(rest);
        if (trimmedRest.empty())
            continue;
        // "Sure,footed" begins with one of them but is not an opening.
        if (prefix.ends_with(':') || base::beginsWithWhiteSpace(rest))
            return trimmedRest;
    }
    return text;
}

std::string withoutQuotes(std::string text) {
    if (base::firstCharacters(text, 1) == "\"" && base::hasSuffix(text, "\"") &&
        base::characterCount(text) > 2)
        return base::trimmed(std::string_view(text).substr(1, text.size() - 2));
    return text;
}

std::vector<std::string> foldedMarkers() {
    std::vector<std::string> folded;
    for (const auto marker : commentaryMarkers)
        folded.push_back(base::caseFolded(marker));
    return folded;
}

bool isCommentary(std::string_view line) {
    static const auto markers = foldedMarkers();
    // The first character excludes nearly every line, and is folded only once for all markers.
    const auto first = base::caseFolded(base::firstCharacters(line, 1));
    return std::ranges::any_of(markers, [&](const std::string& marker) {
        return marker.starts_with(first) && base::hasPrefixIgnoringCase(line, marker);
    });
}

/// Cuts the text before the first line that begins with any of the markers.
std::string withoutTrailingCommentary(std::string text) {
    for (auto lineFeed = text.find('\n'); lineFeed != std::string::npos;
         lineFeed = text.find('\n', lineFeed + 1)) {
        if (isCommentary(std::string_view(text).substr(lineFeed + 1)))
            return base::trimmed(std::string_view(text).substr(0, lineFeed));
    }
    return text;
}

std::unordered_set<std::string> wordsOf(const std::string& text) {
    std::unordered_set<std::string> words;
    for (auto& word : base::piecesBetweenBlanks(base::canonicalForm(base::lowercased(text))))
        words.insert(std::move(word));
    return words;
}

/// Returns whether so few words of the raw text remain that the model has replied or invented text.
bool isReply(const std::string& text, const std::string& rawText) {
    const auto before = wordsOf(rawText);
    if (before.size() < minWordsToCompare)
        return false;
    const auto after = wordsOf(text);
    std::size_t shared = 0;
    for (const auto& word : before)
        shared += after.contains(word) ? 1 : 0;
    return static_cast<double>(shared) / static_cast<double>(before.size()) < minSharedPart;
}

/// Returns whether a text has grown too much. Both sizes are in characters.
bool hasGrownTooMuch(std::size_t count, std::size_t rawCount) {
    return rawCount > maxFreelyGrowing && count > maxGrowth * rawCount;
}

} // namespace

std::string cleanOutput(const std::string& output, const std::string& rawText) {
    auto text = withoutTrailingCommentary(withoutQuotes(withoutLeadingChatter(base::trimmed(output))));
    const auto count = base::characterCount(text);
    if (count < minOutputCharacters || isReply(text, rawText) ||
        hasGrownTooMuch(count, base::characterCount(rawText)))
        return rawText;
    return text;
}

} // namespace sonvale::textprocessing
