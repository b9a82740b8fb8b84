#include "ui/indicator/RingItem.h"

#include <QPainter>
#include <QQuickWindow>
#include <QTimerEvent>
#include <algorithm>
#include <cmath>

namespace sonvale::ui {

namespace {

constexpr int millisecondsPerFrame = 33;

/// Returns the loudness of a simulated voice.
float sampleLevel(double t) {
    return static_cast<float>(0.35 + 0.3 * std::sin(1.7 * t) * std::sin(0.6 * t + 1));
}

} // namespace

RingItem::RingItem(QQuickItem* parent)
    : QQuickPaintedItem(parent) {
    time_.start();
    connect(this, &RingItem::changed, this, [this] { moveOrRest(); });
}

void RingItem::paint(QPainter* painter) {
    const double scale = window() ? window()->effectiveDevicePixelRatio() : 1;
    const int pixels = static_cast<int>(std::lround(std::min(width(), height()) * scale));
    if (pixels < 1)
        return;
    if (!painter_ || painter_->size() != pixels)
        painter_.emplace(pixels);
    const double t = isStill_ ? 0 : static_cast<double>(time_.elapsed()) / 1000;
    const auto state =
        isWorking_ ? platform::RecordingState::processing : platform::RecordingState::recording;
    painter->drawImage(boundingRect(), painter_->paint(state, sampleLevel(t), t));
}

void RingItem::itemChange(ItemChange change, const ItemChangeData& data) {
    QQuickPaintedItem::itemChange(change, data);
    if (change == ItemSceneChange) {
        disconnect(windowChanges_);
        if (data.window)
            windowChanges_ =
                connect(data.window, &QWindow::visibilityChanged, this, [this] { moveOrRest(); });
    }
    if (change == ItemVisibleHasChanged || change == ItemSceneChange)
        moveOrRest();
}

void RingItem::moveOrRest() {
    const auto isWindowShown =
        window() && window()->visibility() != QWindow::Hidden && window()->visibility() != QWindow::Minimized;
    if (isVisible() && isWindowShown && !isStill_)
        frames_.start(millisecondsPerFrame, this);
    else
        frames_.stop();
    update();
}

void RingItem::timerEvent(QTimerEvent* event) {
    if (event->timerId() == frames_.timerId())
        update();
    else
        QQuickPaintedItem::timerEvent(event);
}

} // namespace sonvale::ui
