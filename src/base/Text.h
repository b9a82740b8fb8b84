#pragma once

#include <compare>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Text as the user sees it. A character is a user-perceived one (extended grapheme cluster, UAX #29), and
/// texts that look the same (canonical equivalence, UAX #15) are equal. Everything takes any bytes: what is
/// not UTF-8 counts as U+FFFD. Nothing depends on the user's locale, nothing throws (but `std::bad_alloc`),
/// any thread.
namespace sonvale::base {

bool isValidUtf8(std::string_view text);

/// `text` with every piece that is not UTF-8 replaced by U+FFFD (the maximal subparts of the Unicode
/// standard).
std::string repairedUtf8(std::string_view text);

std::size_t characterCount(std::string_view text);
std::vector<std::string> characters(std::string_view text);

/// At most `count` characters from the start or from the end.
std::string firstCharacters(std::string_view text, std::size_t count);
std::string lastCharacters(std::string_view text, std::size_t count);

/// `text` without that many characters at its start or end; empty when it has no more.
std::string withoutFirstCharacters(std::string_view text, std::size_t count);
std::string withoutLastCharacters(std::string_view text, std::size_t count);

/// Sets of code points that are taken off the ends of a text.
enum class TrimmingSet {
    blanks,              ///< spaces of every width and the tab, no line breaks
    lineBreaks,          ///< U+000A to U+000D, U+0085, U+2028, U+2029
    blanksAndLineBreaks, ///< both
};

std::string trimmed(std::string_view text, TrimmingSet set = TrimmingSet::blanksAndLineBreaks);

/// Whether the first character is white space or a line break; false for the empty text.
bool beginsWithWhiteSpace(std::string_view text);

/// The pieces between blanks (the character U+0020 alone), empty ones dropped.
std::vector<std::string> piecesBetweenBlanks(std::string_view text);
/// The pieces between characters that are white space or line breaks, empty ones dropped.
std::vector<std::string> piecesBetweenWhiteSpace(std::string_view text);

bool isEqual(std::string_view a, std::string_view b);
/// Every text has the empty prefix and suffix. Only whole characters match: "e" is no prefix of "é".
bool hasPrefix(std::string_view text, std::string_view prefix);
bool hasSuffix(std::string_view text, std::string_view suffix);

/// `hasSuffix` of one text for many suffixes.
class SuffixTest {
public:
    explicit SuffixTest(std::string_view text);
    bool hasSuffix(std::string_view suffix) const;

private:
    std::string form_;
};

/// A form that is equal, byte for byte, for texts that are equal as `isEqual` says.
std::string canonicalForm(std::string_view text);

/// Lower case, code point by code point (the sign for a final sigma is not chosen by its place).
std::string lowercased(std::string_view text);
/// A form that is equal, byte for byte, for texts that differ only in case or in canonical composition.
std::string caseFolded(std::string_view text);

bool isEqualIgnoringCase(std::string_view a, std::string_view b);
bool hasPrefixIgnoringCase(std::string_view text, std::string_view prefix);
std::weak_ordering compareIgnoringCase(std::string_view a, std::string_view b);

/// A piece of a text, in bytes.
struct TextRange {
    std::size_t begin = 0;
    std::size_t end = 0;

    bool operator==(const TextRange&) const = default;
};

/// The first place where `wanted` stands as whole characters, with the exception that a line feed is found
/// behind a carriage return. Nothing when `wanted` is empty.
std::optional<TextRange> find(std::string_view text, std::string_view wanted);
std::optional<TextRange> findIgnoringCase(std::string_view text, std::string_view wanted);

/// The piece of `text` that matches `prefix` at its start without regard to case.
std::optional<TextRange> findPrefixIgnoringCase(std::string_view text, std::string_view prefix);

/// As `find`; every text contains the empty one.
bool contains(std::string_view text, std::string_view wanted);
bool containsIgnoringCase(std::string_view text, std::string_view wanted);

/// `text` with every occurrence of `wanted`, as `find` finds it, replaced.
std::string replacing(std::string_view text, std::string_view wanted, std::string_view replacement);

} // namespace sonvale::base
