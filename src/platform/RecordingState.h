#pragma once

namespace sonvale::platform {

/// What the program is doing, for its controller and its indicator.
enum class RecordingState {
    idle,
    recording,
    processing,
    /// Shown by the indicator while a batch clean-up runs; never a state of the controller.
    processingHandsFree,
};

} // namespace sonvale::platform
