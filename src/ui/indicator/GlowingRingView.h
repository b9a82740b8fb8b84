#pragma once

#include "platform/RecordingState.h"
#include "runtime/Clock.h"
#include "ui/indicator/RingPainter.h"

#include <QBasicTimer>
#include <QWidget>
#include <optional>

namespace sonvale::ui {

/// The moving ring. It redraws itself while it is visible and rests when it is not. Main actor.
class GlowingRingView final : public QWidget {
public:
    /// What lies under the ring: nothing where the desktop can blend windows, a dark disc where it cannot.
    enum class Ground { transparent, disc };

    /// The ring moves with the time of `clock`, which must outlive the view.
    GlowingRingView(runtime::Clock& clock, Ground ground);

    void setState(platform::RecordingState state);
    /// Loudness, 0 to 1; other values are drawn as the nearer of the two.
    void setLevel(float level);

    platform::RecordingState state() const { return state_; }
    float level() const { return level_; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    runtime::Clock& clock_;
    Ground ground_;
    platform::RecordingState state_ = platform::RecordingState::idle;
    float level_ = 0;
    QBasicTimer frames_;
    std::optional<RingPainter> painter_; ///< for the size in pixels last drawn
};

} // namespace sonvale::ui
