#pragma once

#include <QString>
#include <span>
#include <string_view>

namespace sonvale::ui {

/// UTF-8 as views take it, and back.
inline QString textOf(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// Returns the program's own words in the user's language, and words without a translation as they are. A
/// sentence that was made with data ("Server error (500).") is translated by its pattern ("Server error
/// (%1)."). Main thread.
QString translated(std::string_view words);

/// Returns all the words and patterns that `translated` knows, for translators. The views' own are in
/// Texts.qml.
std::span<const char* const> toldWords();

} // namespace sonvale::ui
