#include "core/TranscriptText.h"

#include "base/Text.h"

namespace sonvale::core {

namespace {

void dropWhileAtTheEnd(std::string& text, std::string_view tail) {
    while (base::hasSuffix(text, tail))
        text.resize(text.size() - tail.size());
}

} // namespace

std::string stripTrailingEllipsis(std::string text) {
    dropWhileAtTheEnd(text, "…");
    dropWhileAtTheEnd(text, "...");
    return base::trimmed(text, base::TrimmingSet::blanks);
}

std::int64_t wordCount(std::string_view text) {
    return static_cast<std::int64_t>(base::piecesBetweenBlanks(text).size());
}

} // namespace sonvale::core
