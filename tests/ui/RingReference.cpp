#include "tests/ui/RingReference.h"

#include "ui/RingGeometry.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>
#include <vector>

namespace sonvale::tests {

namespace {

using Plane = std::vector<double>;

/// Coverage of the stroke on a canvas with `margin` pixels more on each side.
Plane strokeCoverage(platform::RecordingState state, float audioLevel, double t, int size, int margin,
                     int layer, double strokeWidth) {
    constexpr int finer = 4;
    const int whole = size + 2 * margin;
    QImage mask(whole * finer, whole * finer, QImage::Format_Grayscale8);
    mask.fill(0);
    QPainterPath path;
    for (int point = 0; point < ui::ringPointCount; ++point) {
        const auto [x, y] = ui::ringPoint(state, audioLevel, t, size, layer, point);
        point == 0 ? path.moveTo(x, y) : path.lineTo(x, y);
    }
    path.closeSubpath();
    QPainter painter(&mask);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(finer, finer);
    painter.translate(margin, margin);
    painter.strokePath(path, QPen(Qt::white, strokeWidth));
    painter.end();

    Plane plane(static_cast<std::size_t>(whole * whole));
    for (int y = 0; y < whole * finer; ++y) {
        for (int x = 0; x < whole * finer; ++x)
            plane[static_cast<std::size_t>(y / finer * whole + x / finer)] +=
                mask.constScanLine(y)[x] / 255.0 / (finer * finer);
    }
    return plane;
}

Plane blurred(const Plane& from, int whole, double deviation) {
    Plane to = from;
    const int reach = static_cast<int>(std::ceil(4 * deviation));
    for (int pass = 0; pass < 2; ++pass) {
        const Plane source = to;
        for (int y = 0; y < whole; ++y) {
            for (int x = 0; x < whole; ++x) {
                double sum = 0;
                double weights = 0;
                for (int i = -reach; i <= reach; ++i) {
                    const double weight = std::exp(-0.5 * i * i / (deviation * deviation));
                    weights += weight;
                    if (x + i >= 0 && x + i < whole)
                        sum += weight * source[static_cast<std::size_t>(y * whole + x + i)];
                }
                to[static_cast<std::size_t>(x * whole + y)] = sum / weights;
            }
        }
    }
    return to;
}

} // namespace

QImage ringByBlurredStrokes(platform::RecordingState state, float audioLevel, double t, int size) {
    const double scale = size / ui::ringDesignWidth;
    const int margin = static_cast<int>(20 * scale);
    const int whole = size + 2 * margin;
    struct Pixel {
        double red = 0, green = 0, blue = 0, alpha = 0;
    };
    std::vector<Pixel> pixels(static_cast<std::size_t>(size * size));

    for (const bool isHalo : {true, false}) {
        const ui::RingStroke stroke = isHalo ? ui::ringHalo : ui::ringCrisp;
        for (int layer = 0; layer < ui::ringLayerCount; ++layer) {
            const auto color = ui::ringColor(state, layer);
            const auto plane =
                blurred(strokeCoverage(state, audioLevel, t, size, margin, layer, stroke.width * scale),
                        whole, stroke.blur * scale);
            for (int y = 0; y < size; ++y) {
                for (int x = 0; x < size; ++x) {
                    const double alpha = plane[static_cast<std::size_t>((y + margin) * whole + x + margin)] *
                                         stroke.opacity * ui::ringLayer(layer).opacity;
                    auto& [red, green, blue, opacity] = pixels[static_cast<std::size_t>(y * size + x)];
                    red = color.red * alpha + red * (1 - alpha);
                    green = color.green * alpha + green * (1 - alpha);
                    blue = color.blue * alpha + blue * (1 - alpha);
                    opacity = alpha + opacity * (1 - alpha);
                }
            }
        }
        for (int y = 0; isHalo && y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                const double distance = std::hypot(x - (size - 1) / 2.0, y - (size - 1) / 2.0) / scale;
                auto& pixel = pixels[static_cast<std::size_t>(y * size + x)];
                for (double* component : {&pixel.red, &pixel.green, &pixel.blue, &pixel.alpha})
                    *component *= ui::ringHaloShare(distance);
            }
        }
    }

    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    const auto byte = [](double value) { return static_cast<int>(std::lround(value * 255)); };
    for (int y = 0; y < size; ++y) {
        for (int x = 0; x < size; ++x) {
            const auto& [red, green, blue, alpha] = pixels[static_cast<std::size_t>(y * size + x)];
            image.setPixel(x, y, qRgba(byte(red), byte(green), byte(blue), byte(alpha)));
        }
    }
    return image;
}

} // namespace sonvale::tests
