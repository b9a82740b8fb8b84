#include "base/Text.h"

#include <unicode/brkiter.h>
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>

namespace sonvale::base {

namespace {

constexpr UChar32 replacementCharacter = 0xFFFD;

/// Returns whether ICU can process the text; its sizes are signed 32-bit integers.
bool isWithinIcu(std::string_view text) {
    return text.size() < static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
}

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
}

/// Returns whether every byte of the text is one character: ASCII without CR LF, which is one character of
/// two bytes.
bool isOneByteEach(std::string_view text) {
    return isAscii(text) && text.find('\r') == std::string_view::npos;
}

/// Returns the code point that begins at `place`, U+FFFD for bytes that are not UTF-8, and moves `place`
/// after it.
UChar32 nextCodePoint(std::string_view text, std::size_t& place) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    UChar32 point = replacementCharacter;
    // NOLINTNEXTLINE(bugprone-inc-dec-in-conditions): what the library's macro expands to
    U8_NEXT_OR_FFFD(bytes, place, text.size(), point);
    return point;
}

void append(std::string& text, UChar32 point) {
    std::uint8_t bytes[U8_MAX_LENGTH];
    std::size_t size = 0;
    U8_APPEND_UNSAFE(bytes, size, point);
    text.append(reinterpret_cast<const char*>(bytes), size);
}

/// The boundaries of user-perceived characters in one text. Every code point counts as a character if ICU has
/// no rules (its data is missing) or the text exceeds its sizes.
class Boundaries {
public:
    explicit Boundaries(std::string_view text)
        : text_(text) {
        if (!isWithinIcu(text))
            return;
        UErrorCode status = U_ZERO_ERROR;
        utext_openUTF8(&source_, text.data() != nullptr ? text.data() : "",
                       static_cast<std::int64_t>(text.size()), &status);
        if (auto* rules = rulesOfThisThread(); rules != nullptr && U_SUCCESS(status)) {
            rules->setText(&source_, status);
            if (U_SUCCESS(status))
                rules_ = rules;
        }
    }
    ~Boundaries() { utext_close(&source_); }
    Boundaries(const Boundaries&) = delete;
    Boundaries& operator=(const Boundaries&) = delete;

    /// Returns the end of the character that begins at `begin`.
    std::size_t endOfCharacter(std::size_t begin) {
        if (rules_ != nullptr) {
            const auto end = rules_->following(static_cast<std::int32_t>(begin));
            return end == icu::BreakIterator::DONE ? text_.size() : static_cast<std::size_t>(end);
        }
        nextCodePoint(text_, begin);
        return begin;
    }

    bool contains(std::size_t place) {
        if (place == 0 || place >= text_.size())
            return true;
        if (rules_ != nullptr)
            return rules_->isBoundary(static_cast<std::int32_t>(place)) != 0;
        return !U8_IS_TRAIL(static_cast<std::uint8_t>(text_[place]));
    }

private:
    /// Construction is slow, and an iterator serves one thread at a time. Each thread keeps one, used within
    /// one call only.
    static icu::BreakIterator* rulesOfThisThread() {
        thread_local const auto rules = [] {
            UErrorCode status = U_ZERO_ERROR;
            std::unique_ptr<icu::BreakIterator> made(
                icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
            return U_SUCCESS(status) ? std::move(made) : nullptr;
        }();
        return rules.get();
    }

    std::string_view text_;
    UText source_ = UTEXT_INITIALIZER;
    icu::BreakIterator* rules_ = nullptr;
};

/// One code point in the iteration over the characters of a text.
struct Step {
    std::size_t end;
    /// There is always a boundary between two code points of this kind (UAX #29, GB4, GB5 and GB999). Most
    /// code points are of it. A carriage return is not, because a line feed may join it.
    bool standsAlone;
};

Step stepAt(std::string_view text, std::size_t begin) {
    if (begin >= text.size())
        return {text.size(), true};
    if (U8_IS_SINGLE(static_cast<std::uint8_t>(text[begin])))
        return {begin + 1, text[begin] != '\r'};
    auto end = begin;
    const auto kind = u_getIntPropertyValue(nextCodePoint(text, end), UCHAR_GRAPHEME_CLUSTER_BREAK);
    return {end, kind == U_GCB_OTHER || kind == U_GCB_CONTROL};
}

/// Calls `visit(begin, end)` for each character until it returns false, and reads no more of the text than
/// needed. Uses ICU, which is slow, only for the rare characters of several code points.
template <class Visit>
void eachCharacter(std::string_view text, Visit visit) {
    std::optional<Boundaries> boundaries;
    auto step = stepAt(text, 0);
    for (std::size_t begin = 0; begin < text.size();) {
        auto end = step.end;
        auto next = stepAt(text, end);
        if (!step.standsAlone || !next.standsAlone) {
            if (!boundaries)
                boundaries.emplace(text);
            end = boundaries->endOfCharacter(begin);
            next = stepAt(text, end);
        }
        if (!visit(begin, end))
            return;
        begin = end;
        step = next;
    }
}

/// Returns the offset after the first `count` characters.
std::size_t offsetAfter(std::string_view text, std::size_t count) {
    std::size_t place = 0;
    eachCharacter(text, [&](std::size_t, std::size_t end) {
        if (count == 0)
            return false;
        --count;
        place = end;
        return true;
    });
    return place;
}

/// Returns the offset before the last `count` characters.
std::size_t offsetBefore(std::string_view text, std::size_t count) {
    const auto all = characterCount(text);
    return count >= all ? 0 : offsetAfter(text, all - count);
}

enum class Form { composed, decomposed };

std::string normalized(std::string text, Form form) {
    if (isAscii(text) || !isWithinIcu(text))
        return text;
    UErrorCode status = U_ZERO_ERROR;
    const auto* normalizer = form == Form::composed ? icu::Normalizer2::getNFCInstance(status)
                                                    : icu::Normalizer2::getNFDInstance(status);
    if (U_FAILURE(status) || normalizer->isNormalizedUTF8(text, status))
        return text;
    std::string result;
    icu::StringByteSink<std::string> sink(&result, static_cast<std::int32_t>(text.size()));
    normalizer->normalizeUTF8(0, text, sink, nullptr, status);
    return U_SUCCESS(status) ? result : text;
}

constexpr char asciiLowercased(char byte) {
    return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
}

std::string asciiLowercased(std::string_view text) {
    std::string result(text);
    for (char& byte : result)
        byte = asciiLowercased(byte);
    return result;
}

enum class Case { kept, ignored };

std::string comparable(std::string_view text, Case mode) {
    return mode == Case::kept ? canonicalForm(text) : caseFolded(text);
}

/// A text in the form that comparisons use, with the boundaries of its characters.
class Searchable {
public:
    Searchable(std::string_view text, Case mode) {
        const auto add = [&](std::size_t begin, std::size_t end) {
            borders_.push_back({form_.size(), begin});
            form_ += comparable(text.substr(begin, end - begin), mode);
        };
        if (isAscii(text)) {
            isAscii_ = true;
            size_ = text.size();
            form_ = mode == Case::kept ? std::string(text) : asciiLowercased(text);
            return;
        }
        eachCharacter(text, [&](std::size_t begin, std::size_t end) {
            if (text.substr(begin, end - begin) == "\r\n") {
                add(begin, begin + 1);
                add(begin + 1, end);
            } else {
                add(begin, end);
            }
            return true;
        });
        borders_.push_back({form_.size(), text.size()});
    }

    /// Finds the first match at or after `from`, a boundary in the comparable form.
    struct Match {
        TextRange original;
        std::size_t nextForm = 0;
    };
    std::optional<Match> find(const std::string& wanted, std::size_t from) const {
        for (auto at = form_.find(wanted, from); at != std::string::npos; at = form_.find(wanted, at + 1)) {
            const auto begin = originalPlace(at);
            const auto end = originalPlace(at + wanted.size());
            if (begin && end)
                return Match{{*begin, *end}, at + wanted.size()};
        }
        return std::nullopt;
    }

private:
    struct Border {
        std::size_t form;
        std::size_t original;
    };

    std::optional<std::size_t> originalPlace(std::size_t form) const {
        if (isAscii_)
            return form <= size_ ? std::optional(form) : std::nullopt;
        const auto found = std::ranges::lower_bound(borders_, form, {}, &Border::form);
        if (found == borders_.end() || found->form != form)
            return std::nullopt;
        return found->original;
    }

    std::string form_;
    std::vector<Border> borders_; ///< empty for ASCII, where every byte is a boundary
    std::size_t size_ = 0;
    bool isAscii_ = false;
};

std::optional<TextRange> findAs(std::string_view text, std::string_view wanted, Case mode) {
    if (wanted.empty())
        return std::nullopt;
    const auto match = Searchable(text, mode).find(comparable(wanted, mode), 0);
    return match ? std::optional(match->original) : std::nullopt;
}

/// Returns whether a code point is a blank. The zero-width space is one, as on the system whose texts the
/// program processes, although its category today is not a space.
bool isBlank(UChar32 point) {
    return point == '\t' || point == 0x200B || u_charType(point) == U_SPACE_SEPARATOR;
}

bool isLineBreak(UChar32 point) {
    return (point >= 0x0A && point <= 0x0D) || point == 0x85 || point == 0x2028 || point == 0x2029;
}

bool isInSet(UChar32 point, TrimmingSet set) {
    switch (set) {
    case TrimmingSet::blanks:
        return isBlank(point);
    case TrimmingSet::lineBreaks:
        return isLineBreak(point);
    case TrimmingSet::blanksAndLineBreaks:
        return isBlank(point) || isLineBreak(point);
    }
    return false;
}

template <class IsSeparator>
std::vector<std::string> pieces(std::string_view text, IsSeparator isSeparator) {
    std::vector<std::string> result;
    std::size_t begin = 0;
    const auto endPiece = [&](std::size_t end) {
        if (end > begin)
            result.emplace_back(text.substr(begin, end - begin));
    };
    eachCharacter(text, [&](std::size_t first, std::size_t last) {
        if (isSeparator(text.substr(first, last - first))) {
            endPiece(first);
            begin = last;
        }
        return true;
    });
    endPiece(text.size());
    return result;
}

} // namespace

bool isValidUtf8(std::string_view text) {
    for (std::size_t place = 0; place < text.size();) {
        const auto begin = place;
        if (nextCodePoint(text, place) == replacementCharacter &&
            text.substr(begin, place - begin) != "\uFFFD")
            return false;
    }
    return true;
}

std::string repairedUtf8(std::string_view text) {
    if (isValidUtf8(text))
        return std::string(text);
    std::string result;
    result.reserve(text.size());
    for (std::size_t place = 0; place < text.size();)
        append(result, nextCodePoint(text, place));
    return result;
}

std::size_t characterCount(std::string_view text) {
    if (isOneByteEach(text))
        return text.size();
    std::size_t count = 0;
    eachCharacter(text, [&](std::size_t, std::size_t) {
        ++count;
        return true;
    });
    return count;
}

std::vector<std::string> characters(std::string_view text) {
    std::vector<std::string> result;
    eachCharacter(text, [&](std::size_t begin, std::size_t end) {
        result.emplace_back(text.substr(begin, end - begin));
        return true;
    });
    return result;
}

std::string firstCharacters(std::string_view text, std::size_t count) {
    return std::string(text.substr(0, offsetAfter(text, count)));
}

std::string lastCharacters(std::string_view text, std::size_t count) {
    return std::string(text.substr(offsetBefore(text, count)));
}

std::string withoutFirstCharacters(std::string_view text, std::size_t count) {
    return std::string(text.substr(offsetAfter(text, count)));
}

std::string withoutLastCharacters(std::string_view text, std::size_t count) {
    return std::string(text.substr(0, offsetBefore(text, count)));
}

std::string trimmed(std::string_view text, TrimmingSet set) {
    std::size_t begin = 0;
    for (std::size_t next = 0; next < text.size(); begin = next) {
        if (!isInSet(nextCodePoint(text, next), set))
            break;
    }
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    // ICU's macro needs 32-bit offsets. The inspected piece is large enough for one code point.
    std::size_t end = text.size();
    while (end > begin) {
        const auto* window = bytes + std::max(begin, end - std::min<std::size_t>(end, U8_MAX_LENGTH));
        auto previous = static_cast<std::int32_t>(bytes + end - window);
        UChar32 point = 0;
        U8_PREV_OR_FFFD(window, 0, previous, point);
        if (!isInSet(point, set))
            break;
        end = static_cast<std::size_t>(window + previous - bytes);
    }
    return std::string(text.substr(begin, end - begin));
}

bool beginsWithWhiteSpace(std::string_view text) {
    std::size_t place = 0;
    return !text.empty() && u_isUWhiteSpace(nextCodePoint(text, place)) != 0;
}

std::vector<std::string> piecesBetweenBlanks(std::string_view text) {
    return pieces(text, [](std::string_view character) { return character == " "; });
}

std::vector<std::string> piecesBetweenWhiteSpace(std::string_view text) {
    return pieces(text, beginsWithWhiteSpace);
}

bool isEqual(std::string_view a, std::string_view b) {
    if (a == b)
        return true;
    if (isAscii(a) && isAscii(b))
        return false;
    return canonicalForm(a) == canonicalForm(b);
}

bool hasPrefix(std::string_view text, std::string_view prefix) {
    const auto whole = canonicalForm(text);
    const auto wanted = canonicalForm(prefix);
    return whole.starts_with(wanted) && Boundaries(whole).contains(wanted.size());
}

bool hasSuffix(std::string_view text, std::string_view suffix) {
    return SuffixTest(text).hasSuffix(suffix);
}

SuffixTest::SuffixTest(std::string_view text)
    : form_(canonicalForm(text)) {}

bool SuffixTest::hasSuffix(std::string_view suffix) const {
    const auto wanted = canonicalForm(suffix);
    return form_.ends_with(wanted) && Boundaries(form_).contains(form_.size() - wanted.size());
}

std::string canonicalForm(std::string_view text) {
    return normalized(repairedUtf8(text), Form::composed);
}

std::string lowercased(std::string_view text) {
    if (isAscii(text))
        return asciiLowercased(text);
    std::string result;
    result.reserve(text.size());
    for (std::size_t place = 0; place < text.size();) {
        if (U8_IS_SINGLE(static_cast<std::uint8_t>(text[place]))) {
            result += asciiLowercased(text[place++]);
            continue;
        }
        const auto point = nextCodePoint(text, place);
        // U+0130 is the only code point with a lower case of two code points in every context.
        if (point == 0x0130)
            result += "i\u0307";
        else
            append(result, u_tolower(point));
    }
    return result;
}

std::string caseFolded(std::string_view text) {
    if (isAscii(text))
        return asciiLowercased(text);
    // Applies canonical caseless matching of the Unicode standard, D145, and composes the result.
    auto decomposed = normalized(repairedUtf8(text), Form::decomposed);
    if (!isWithinIcu(decomposed))
        return decomposed;
    UErrorCode status = U_ZERO_ERROR;
    std::string folded;
    icu::StringByteSink<std::string> sink(&folded, static_cast<std::int32_t>(decomposed.size()));
    icu::CaseMap::utf8Fold(U_FOLD_CASE_DEFAULT, decomposed, sink, nullptr, status);
    return normalized(U_SUCCESS(status) ? std::move(folded) : std::move(decomposed), Form::composed);
}

bool isEqualIgnoringCase(std::string_view a, std::string_view b) {
    return caseFolded(a) == caseFolded(b);
}

bool hasPrefixIgnoringCase(std::string_view text, std::string_view prefix) {
    return findPrefixIgnoringCase(text, prefix).has_value();
}

std::weak_ordering compareIgnoringCase(std::string_view a, std::string_view b) {
    return caseFolded(a) <=> caseFolded(b);
}

std::optional<TextRange> find(std::string_view text, std::string_view wanted) {
    return findAs(text, wanted, Case::kept);
}

std::optional<TextRange> findIgnoringCase(std::string_view text, std::string_view wanted) {
    return findAs(text, wanted, Case::ignored);
}

std::optional<TextRange> findPrefixIgnoringCase(std::string_view text, std::string_view prefix) {
    const auto form = caseFolded(prefix);
    std::string_view wanted = form;
    std::size_t place = 0;
    eachCharacter(text, [&](std::size_t begin, std::size_t end) {
        if (wanted.empty())
            return false;
        const auto character = caseFolded(text.substr(begin, end - begin));
        if (!wanted.starts_with(character))
            return false;
        wanted.remove_prefix(character.size());
        place = end;
        return true;
    });
    return wanted.empty() ? std::optional(TextRange{0, place}) : std::nullopt;
}

bool contains(std::string_view text, std::string_view wanted) {
    return wanted.empty() || find(text, wanted).has_value();
}

bool containsIgnoringCase(std::string_view text, std::string_view wanted) {
    return wanted.empty() || findIgnoringCase(text, wanted).has_value();
}

std::string replacing(std::string_view text, std::string_view wanted, std::string_view replacement) {
    if (wanted.empty())
        return std::string(text);
    const Searchable searchable(text, Case::kept);
    const auto form = comparable(wanted, Case::kept);
    std::string result;
    std::size_t copied = 0;
    std::size_t from = 0;
    while (const auto match = searchable.find(form, from)) {
        result.append(text.substr(copied, match->original.begin - copied)).append(replacement);
        copied = match->original.end;
        from = match->nextForm;
    }
    return result.append(text.substr(copied));
}

} // namespace sonvale::base
