#include "ui/menu/MenuStatus.h"

namespace sonvale::ui {

std::string_view menuStatus(platform::RecordingState state) {
    switch (state) {
    case platform::RecordingState::idle:
        return "Ready";
    case platform::RecordingState::recording:
        return "Listening...";
    case platform::RecordingState::processing:
        return "Processing...";
    case platform::RecordingState::processingHandsFree:
        return "Cleaning up...";
    }
    return {};
}

} // namespace sonvale::ui
