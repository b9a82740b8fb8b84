#pragma once

#include <QString>
#include <string_view>

namespace sonvale::ui {

/// UTF-8 as views take it, and back.
inline QString textOf(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace sonvale::ui
