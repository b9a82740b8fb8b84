#pragma once

#include <QString>
#include <span>
#include <string_view>

namespace sonvale::ui {

/// UTF-8 as views take it, and back.
inline QString textOf(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

/// The program's own words in the user's language; words that nobody has translated as they are. Main thread.
QString translated(std::string_view words);

/// All the words that `translated` is asked for and that stand for themselves, for translators. The views'
/// own are in Texts.qml.
std::span<const char* const> toldWords();

} // namespace sonvale::ui
