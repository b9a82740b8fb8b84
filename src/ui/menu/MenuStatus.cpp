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

std::string_view caseName(platform::RecordingState state) {
    switch (state) {
    case platform::RecordingState::idle:
        return "idle";
    case platform::RecordingState::recording:
        return "recording";
    case platform::RecordingState::processing:
        return "processing";
    case platform::RecordingState::processingHandsFree:
        return "processingHandsFree";
    }
    return {};
}

} // namespace sonvale::ui
