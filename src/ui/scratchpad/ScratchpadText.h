#pragma once

#include <cstddef>
#include <string_view>

namespace sonvale::ui {

/// How many words stand in the scratchpad: pieces between white space, line breaks included.
std::size_t scratchpadWords(std::string_view text);

} // namespace sonvale::ui
