#pragma once

#include "platform/RecordingState.h"

namespace sonvale::platform {

/// The small ring at the top of the screen that shows what the program does. It never takes the focus or a
/// click. Main actor; no operation blocks or fails.
class FloatingPanel {
public:
    FloatingPanel() = default;
    FloatingPanel(const FloatingPanel&) = delete;
    FloatingPanel& operator=(const FloatingPanel&) = delete;
    virtual ~FloatingPanel() = default;

    /// Shows the ring, or updates it without moving it if it is shown. `level` is the loudness, 0 to 1.
    virtual void show(RecordingState state, float level) = 0;

    /// Sets the loudness of the ring. Does nothing if it is not shown.
    virtual void setLevel(float level) = 0;

    /// Removes the ring. The next `show` makes a new one on the screen that is then the main one.
    virtual void hide() = 0;
};

} // namespace sonvale::platform
