#include "ui/indicator/FloatingPanelController.h"

#include <QGuiApplication>
#include <QScreen>

namespace sonvale::ui {

namespace {

constexpr int side = static_cast<int>(ringDesignWidth);
constexpr int distanceFromTop = 8;

} // namespace

FloatingPanelController::FloatingPanelController(runtime::Clock& clock,
                                                 const platform::Compositor& compositor)
    : clock_(clock)
    , compositor_(compositor) {}

FloatingPanelController::~FloatingPanelController() = default;

void FloatingPanelController::show(platform::RecordingState state, float level) {
    if (panel_) {
        panel_->setState(state);
        panel_->setLevel(level);
        // Window managers raise a full-screen window above unmanaged windows.
        panel_->raise();
        return;
    }
    panel_ = makePanel();
    panel_->setState(state);
    panel_->setLevel(level);
    panel_->show();
    panel_->raise();
}

void FloatingPanelController::setLevel(float level) {
    if (panel_)
        panel_->setLevel(level);
}

void FloatingPanelController::hide() {
    panel_.reset();
}

std::unique_ptr<GlowingRingView> FloatingPanelController::makePanel() const {
    const bool canBlend = compositor_.isRunning();
    auto panel = std::make_unique<GlowingRingView>(clock_, canBlend ? GlowingRingView::Ground::transparent
                                                                    : GlowingRingView::Ground::disc);
    // A tool tip is not managed by the window manager: it is on every desktop and never gets the focus.
    panel->setWindowFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                          Qt::WindowTransparentForInput | Qt::WindowDoesNotAcceptFocus |
                          Qt::NoDropShadowWindowHint);
    panel->setAttribute(Qt::WA_ShowWithoutActivating);
    panel->setFocusPolicy(Qt::NoFocus);
    panel->setFixedSize(side, side);
    if (!canBlend)
        panel->setMask(QRegion(0, 0, side, side, QRegion::Ellipse));

    if (QScreen* screen = QGuiApplication::primaryScreen()) {
        panel->setScreen(screen);
        const QRect whole = screen->geometry();
        panel->move(whole.left() + (whole.width() - side) / 2,
                    screen->availableGeometry().top() + distanceFromTop);
    }
    return panel;
}

} // namespace sonvale::ui
