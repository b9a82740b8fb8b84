#pragma once

#include <cstddef>
#include <string_view>

namespace sonvale::ui {

/// Returns the number of words in the scratchpad: pieces between white space, including line breaks.
std::size_t scratchpadWords(std::string_view text);

} // namespace sonvale::ui
