#pragma once

#include <cstdint>
#include <string_view>

namespace sonvale::ui {

/// What a formality of the style tab means, in words.
std::string_view formalityText(std::int64_t formality);

} // namespace sonvale::ui
