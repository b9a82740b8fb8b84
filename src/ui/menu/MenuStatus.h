#pragma once

#include "platform/RecordingState.h"

#include <string_view>

namespace sonvale::ui {

/// The words of the menu's status line.
std::string_view menuStatus(platform::RecordingState state);

/// Such as "processingHandsFree".
std::string_view caseName(platform::RecordingState state);

} // namespace sonvale::ui
