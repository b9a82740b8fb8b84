#pragma once

#include "platform/RecordingState.h"

#include <string_view>

namespace sonvale::ui {

/// Returns the text of the menu's status line.
std::string_view menuStatus(platform::RecordingState state);

} // namespace sonvale::ui
