#pragma once

#include "platform/Compositor.h"
#include "platform/FloatingPanel.h"
#include "runtime/Clock.h"
#include "ui/indicator/GlowingRingView.h"

#include <memory>

namespace sonvale::ui {

/// The ring in a window of its own. The window is 48 by 48 points, 8 points under the top of the primary
/// screen's available area, in its middle. It is above all windows, on all desktops, and has no focus,
/// clicks, frame or shadow.
class FloatingPanelController final : public platform::FloatingPanel {
public:
    /// The ring moves with the time of `clock`. `clock` and `compositor` must outlive the controller.
    FloatingPanelController(runtime::Clock& clock, const platform::Compositor& compositor);
    ~FloatingPanelController() override;

    void show(platform::RecordingState state, float level) override;
    void setLevel(float level) override;
    void hide() override;

    /// Returns the visible window, or null if there is none.
    const GlowingRingView* panel() const { return panel_.get(); }

private:
    std::unique_ptr<GlowingRingView> makePanel() const;

    runtime::Clock& clock_;
    const platform::Compositor& compositor_;
    std::unique_ptr<GlowingRingView> panel_;
};

} // namespace sonvale::ui
