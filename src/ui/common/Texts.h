#pragma once

#include <QString>
#include <span>
#include <string_view>

namespace sonvale::ui {

/// Returns a UTF-8 text as the string type of views.
inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// Returns the program's own words in the user's language. Returns words without a translation unchanged. A
/// sentence with data ("Server error (500).") is translated by its pattern ("Server error (%1)."). Main
/// thread.
QString translated(std::string_view words);

/// Returns all the words and patterns that `translated` knows, for translators. The views' own are in
/// Texts.qml.
std::span<const char* const> translatableWords();

} // namespace sonvale::ui
