#include "core/flows/TranscriptText.h"

#include "base/Text.h"

#include <cstddef>

namespace sonvale::core {

std::string stripTrailingEllipsis(std::string text) {
    constexpr std::string_view ellipsis = "…";
    constexpr std::string_view dot = ".";

    const auto characters = base::characters(text);
    auto kept = characters.size();
    while (kept > 0 && characters[kept - 1] == ellipsis)
        --kept;
    const auto dropped = characters.size() - kept;

    std::size_t dots = 0;
    while (dots < kept && characters[kept - 1 - dots] == dot)
        ++dots;
    dots -= dots % 3;

    text.resize(text.size() - dropped * ellipsis.size() - dots * dot.size());
    return base::trimmed(text, base::TrimmingSet::blanks);
}

std::string pieceOf(const std::string& transcript) {
    return stripTrailingEllipsis(base::trimmed(transcript));
}

std::int64_t wordCount(std::string_view text) {
    return static_cast<std::int64_t>(base::piecesBetweenBlanks(text).size());
}

} // namespace sonvale::core
