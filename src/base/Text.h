#pragma once

#include <compare>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Operations on text as the user sees it. A character is a user-perceived character (extended grapheme
/// cluster, UAX #29). Texts that look the same (canonical equivalence, UAX #15) are equal. All operations
/// accept any bytes; bytes that are not UTF-8 count as U+FFFD. Nothing depends on the user's locale. Nothing
/// throws except `std::bad_alloc`. Any thread.
namespace sonvale::base {

bool isValidUtf8(std::string_view text);

/// Replaces every piece of `text` that is not UTF-8 by U+FFFD (the maximal subparts of the Unicode standard).
std::string repairedUtf8(std::string_view text);

std::size_t characterCount(std::string_view text);
std::vector<std::string> characters(std::string_view text);

/// Return `count` characters from the start or from the end, or all if the text has fewer.
std::string firstCharacters(std::string_view text, std::size_t count);
std::string lastCharacters(std::string_view text, std::size_t count);

/// Return `text` without that many characters at its start or end; empty if it has no more.
std::string withoutFirstCharacters(std::string_view text, std::size_t count);
std::string withoutLastCharacters(std::string_view text, std::size_t count);

/// Sets of code points that can be removed from the ends of a text.
enum class TrimmingSet {
    blanks,              ///< spaces of every width and the tab, no line breaks
    lineBreaks,          ///< U+000A to U+000D, U+0085, U+2028, U+2029
    blanksAndLineBreaks, ///< both
};

std::string trimmed(std::string_view text, TrimmingSet set = TrimmingSet::blanksAndLineBreaks);

/// Returns whether the first character is white space or a line break; false for the empty text.
bool beginsWithWhiteSpace(std::string_view text);

/// Splits a text at blanks (only U+0020) and drops empty pieces.
std::vector<std::string> piecesBetweenBlanks(std::string_view text);
/// Splits a text at white space and line breaks and drops empty pieces.
std::vector<std::string> piecesBetweenWhiteSpace(std::string_view text);

bool isEqual(std::string_view a, std::string_view b);
/// Return whether `text` has that prefix or suffix. The empty text is a prefix and suffix of every text. Only
/// whole characters match: "e" is not a prefix of "é".
bool hasPrefix(std::string_view text, std::string_view prefix);
bool hasSuffix(std::string_view text, std::string_view suffix);

/// Tests one text for many suffixes, as `hasSuffix` does.
class SuffixTest {
public:
    explicit SuffixTest(std::string_view text);
    bool hasSuffix(std::string_view suffix) const;

private:
    std::string form_;
};

/// Returns a form that is the same, byte for byte, for all texts that are equal by `isEqual`.
std::string canonicalForm(std::string_view text);

/// Converts to lower case, code point by code point. Does not use the final sigma.
std::string lowercased(std::string_view text);
/// Returns a form that is the same, byte for byte, for texts that differ only in case or in canonical
/// composition.
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

/// Finds the first place where `wanted` consists of whole characters. As an exception, a line feed is found
/// after a carriage return. Returns nullopt if `wanted` is empty.
std::optional<TextRange> find(std::string_view text, std::string_view wanted);
std::optional<TextRange> findIgnoringCase(std::string_view text, std::string_view wanted);

/// Returns the piece at the start of `text` that matches `prefix` in any case.
std::optional<TextRange> findPrefixIgnoringCase(std::string_view text, std::string_view prefix);

/// Returns whether `find` finds `wanted`, or `wanted` is empty.
bool contains(std::string_view text, std::string_view wanted);
bool containsIgnoringCase(std::string_view text, std::string_view wanted);

/// Replaces every occurrence of `wanted`, as `find` finds it.
std::string replacing(std::string_view text, std::string_view wanted, std::string_view replacement);

} // namespace sonvale::base
