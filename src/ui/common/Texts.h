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

/// Returns the words and patterns of the lower layers for the tools that collect translatable words. This
/// layer marks its words by QT_TRANSLATE_NOOP where they are used, and the views' words are in Texts.qml.
std::span<const char* const> wordsOfLowerLayers();

} // namespace sonvale::ui
