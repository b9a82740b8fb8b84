#pragma once

#include "platform/RecordingState.h"
#include "runtime/Clock.h"
#include "ui/indicator/RingPainter.h"

#include <QBasicTimer>
#include <QWidget>
#include <optional>

namespace sonvale::ui {

/// The moving ring. It redraws itself only while it is visible. Main actor.
class GlowingRingView final : public QWidget {
public:
    /// The ground under the ring: none if the desktop can blend windows, a dark disc otherwise.
    enum class Ground { transparent, disc };

    /// The ring moves with the time of `clock`, which must outlive the view.
    GlowingRingView(runtime::Clock& clock, Ground ground);

    void setState(platform::RecordingState state);
    /// Sets the loudness, limited to 0 to 1.
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
    std::optional<RingPainter> painter_; ///< for the last drawn size in pixels
};

} // namespace sonvale::ui
