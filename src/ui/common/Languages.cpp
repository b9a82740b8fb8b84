#include "ui/common/Languages.h"

#include <QtGlobal>
#include <algorithm>
#include <array>

namespace sonvale::ui {

namespace {

constexpr std::array<Language, 10> offered{{
    {"en", QT_TRANSLATE_NOOP("Texts", "English")},
    {"es", QT_TRANSLATE_NOOP("Texts", "Spanish")},
    {"fr", QT_TRANSLATE_NOOP("Texts", "French")},
    {"de", QT_TRANSLATE_NOOP("Texts", "German")},
    {"it", QT_TRANSLATE_NOOP("Texts", "Italian")},
    {"pt", QT_TRANSLATE_NOOP("Texts", "Portuguese")},
    {"ja", QT_TRANSLATE_NOOP("Texts", "Japanese")},
    {"zh", QT_TRANSLATE_NOOP("Texts", "Chinese")},
    {"ko", QT_TRANSLATE_NOOP("Texts", "Korean")},
    {"auto", QT_TRANSLATE_NOOP("Texts", "Auto-detect")},
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
