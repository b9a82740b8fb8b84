#pragma once

namespace sonvale::platform {

/// What the system is doing, as its controller and its indicator know it.
enum class RecordingState {
    idle,
    recording,
    processing,
    /// Shown by the indicator while a batch clean-up runs; never a state of the controller.
    processingHandsFree,
};

} // namespace sonvale::platform
