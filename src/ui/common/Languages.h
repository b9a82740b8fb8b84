#pragma once

#include <span>
#include <string_view>

namespace sonvale::ui {

/// A spoken language that the user can choose.
struct Language {
    std::string_view code; ///< the stored value; "auto" detects the language
    std::string_view label;
};

/// Returns the languages in the order in which they are offered.
std::span<const Language> languages();

/// Returns the label of a stored code; "English" if the language is not offered.
std::string_view languageName(std::string_view code);

} // namespace sonvale::ui
