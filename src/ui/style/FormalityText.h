#pragma once

#include <cstdint>
#include <string_view>

namespace sonvale::ui {

/// Returns the description of a formality of the style tab.
std::string_view formalityText(std::int64_t formality);

} // namespace sonvale::ui
