#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace sonvale::core {

/// Removes the dots at the end of a transcript: first every "…" (as a character by itself, not with a
/// combining mark), then every "...", and last the blanks and tabs at both ends. Line breaks stay.
std::string stripTrailingEllipsis(std::string text);

/// Returns a transcript as one piece of a longer text: trimmed, and without the dots at its end.
std::string pieceOf(const std::string& transcript);

/// Returns the number of words as the history counts them: the pieces between blanks (U+0020) that are not
/// empty. Other white space does not separate words.
std::int64_t wordCount(std::string_view text);

} // namespace sonvale::core
