#pragma once

#include "platform/RecordingState.h"

namespace sonvale::platform {

/// The small ring at the top of the screen that shows what the system does. It never takes the focus or a
/// click. Main actor; no operation blocks or fails.
class FloatingPanel {
public:
    FloatingPanel() = default;
    FloatingPanel(const FloatingPanel&) = delete;
    FloatingPanel& operator=(const FloatingPanel&) = delete;
    virtual ~FloatingPanel() = default;

    /// Shows the ring, or changes the one that is shown without moving it. `level` is the loudness, 0 to 1.
    virtual void show(RecordingState state, float level) = 0;

    /// Changes the loudness of the ring that is shown; nothing when none is.
    virtual void setLevel(float level) = 0;

    /// Takes the ring away; the next `show` makes a new one on the then main screen.
    virtual void hide() = 0;
};

} // namespace sonvale::platform
