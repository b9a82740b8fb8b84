#pragma once

#include <span>
#include <string_view>

namespace sonvale::ui {

/// A language that can be spoken, as the user picks it.
struct Language {
    std::string_view code; ///< as it is stored, "auto" for whatever is spoken
    std::string_view label;
};

/// In the order in which they are offered.
std::span<const Language> languages();

/// What a stored code is called; "English" for one that is not offered.
std::string_view languageName(std::string_view code);

} // namespace sonvale::ui
