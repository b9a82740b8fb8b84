#include "ui/indicator/GlowingRingView.h"

#include "ui/common/Palette.h"

#include <QPainter>
#include <QTimerEvent>
#include <algorithm>
#include <cmath>

namespace sonvale::ui {

namespace {

constexpr int millisecondsPerFrame = 20;

} // namespace

GlowingRingView::GlowingRingView(runtime::Clock& clock, Ground ground)
    : clock_(clock)
    , ground_(ground) {
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_NoSystemBackground);
}

void GlowingRingView::setState(platform::RecordingState state) {
    state_ = state;
    update();
}

void GlowingRingView::setLevel(float level) {
    level_ = level;
}

void GlowingRingView::paintEvent(QPaintEvent*) {
    const int points = std::min(width(), height());
    const int pixels = static_cast<int>(std::lround(points * devicePixelRatioF()));
    if (pixels < 1)
        return;
    if (!painter_ || painter_->size() != pixels)
        painter_.emplace(pixels);

    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.fillRect(rect(), ground_ == Ground::disc ? palette::night : QColor(Qt::transparent));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.drawImage(QRect(0, 0, points, points), painter_->paint(state_, level_, clock_.now()));
}

void GlowingRingView::showEvent(QShowEvent*) {
    frames_.start(millisecondsPerFrame, Qt::PreciseTimer, this);
}

void GlowingRingView::hideEvent(QHideEvent*) {
    frames_.stop();
}

void GlowingRingView::timerEvent(QTimerEvent* event) {
    if (event->timerId() == frames_.timerId())
        update();
    else
        QWidget::timerEvent(event);
}

} // namespace sonvale::ui
