#include "ui/common/Languages.h"

#include <algorithm>
#include <array>

namespace sonvale::ui {

namespace {

constexpr std::array<Language, 10> offered{{
    {"en", "English"},
    {"es", "Spanish"},
    {"fr", "French"},
    {"de", "German"},
    {"it", "Italian"},
    {"pt", "Portuguese"},
    {"ja", "Japanese"},
    {"zh", "Chinese"},
    {"ko", "Korean"},
    {"auto", "Auto-detect"},
}};

} // namespace

std::span<const Language> languages() {
    return offered;
}

std::string_view languageName(std::string_view code) {
    const auto* const found = std::ranges::find(offered, code, &Language::code);
    return (found == offered.end() ? offered.front() : *found).label;
}

} // namespace sonvale::ui
