#include "ui/menu/TrayIconSymbol.h"

#include "ui/common/Palette.h"

#include <QPainter>
#include <algorithm>
#include <array>
#include <cmath>

namespace sonvale::ui {

namespace {

using platform::RecordingState;

QColor groundOf(RecordingState state) {
    switch (state) {
    case RecordingState::recording:
        return palette::light.accent;
    case RecordingState::processing:
    case RecordingState::processingHandsFree:
        return palette::light.good;
    case RecordingState::idle:
        break;
    }
    return palette::light.secondaryText;
}

/// Draws a voice as upright bars, on whole pixels so that they are sharp at a size of 16.
void drawBars(QPainter& painter, int size, const std::array<double, 3>& heights) {
    const int width = std::max(2, static_cast<int>(std::lround(size * 0.125)));
    const int gap = std::max(1, static_cast<int>(std::lround(size * 0.09)));
    const int left = (size - 3 * width - 2 * gap) / 2;
    for (std::size_t i = 0; i < heights.size(); ++i) {
        // Equal space above and below centers the bar.
        const int half = std::max(1, static_cast<int>(std::lround(size * heights[i] / 2)));
        const QRectF bar(left + static_cast<int>(i) * (width + gap), size / 2.0 - half, width, 2 * half);
        const double rounding = size < 24 ? 0.8 : width / 2.0;
        painter.drawRoundedRect(bar, rounding, rounding);
    }
}

void drawDots(QPainter& painter, int size) {
    const double diameter = std::max(2.6, size * 0.155);
    const double step = size * 0.235;
    for (const int place : {-1, 0, 1})
        painter.drawEllipse(QPointF(size / 2.0 + place * step, size / 2.0), diameter / 2, diameter / 2);
}

} // namespace

QImage trayIconImage(RecordingState state, int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);

    painter.setBrush(groundOf(state));
    const double edge = size < 24 ? 0.25 : size / 32.0;
    painter.drawEllipse(QRectF(edge, edge, size - 2 * edge, size - 2 * edge));

    painter.setBrush(palette::light.textOnAccent);
    if (state == RecordingState::recording)
        drawBars(painter, size, {0.38, 0.66, 0.38});
    else if (state == RecordingState::idle)
        drawBars(painter, size, {0.2, 0.44, 0.2});
    else
        drawDots(painter, size);
    return image;
}

QIcon trayIconSymbol(RecordingState state) {
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 44, 48, 64})
        icon.addPixmap(QPixmap::fromImage(trayIconImage(state, size)));
    return icon;
}

} // namespace sonvale::ui
