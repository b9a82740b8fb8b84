#include "tests/ui/indicator/RingReference.h"

#include "ui/indicator/RingGeometry.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

namespace sonvale::tests {

namespace {

using Plane = std::vector<double>;

// The design, repeated independently of the program's tables, so that the test detects a wrong number in
// them.

struct Color {
    double red, green, blue;
};
struct Layer {
    double speed, offset, opacity;
    Color blue, green;
};
struct Stroke {
    double width, blur, opacity;
};

constexpr double designWidth = 48;
constexpr int pointCount = 120;
constexpr std::array<Layer, 5> layers{{{3.2, 0.0, 0.55, {0.55, 0.75, 1.0}, {0.55, 1.0, 0.65}},
                                       {2.6, 1.1, 0.7, {1, 1, 1}, {1, 1, 1}},
                                       {2.9, 2.3, 0.8, {0.65, 0.82, 1.0}, {0.6, 0.95, 0.65}},
                                       {2.3, 0.7, 0.9, {1, 1, 1}, {1, 1, 1}},
                                       {3.5, 1.8, 1.0, {0.5, 0.7, 1.0}, {0.45, 0.9, 0.55}}}};
constexpr Stroke halo{2.5, 4.5, 0.5};
constexpr Stroke crisp{1.8, 1.0, 1.0};

bool isGreen(platform::RecordingState state) {
    return state == platform::RecordingState::processing ||
           state == platform::RecordingState::processingHandsFree;
}

QPointF pathPoint(platform::RecordingState state, float audioLevel, double t, int size, std::size_t layer,
                  int point) {
    const double s = size / designWidth;
    const double spin = isGreen(state) ? 1.2 * t : 0;
    const double gain = isGreen(state) ? 0.6 : 1;
    const double base = (9.5 + 1.6 * static_cast<double>(layer)) * (isGreen(state) ? 0.8 : 1) * s;
    const double angle = spin + 2 * std::numbers::pi * point / pointCount;
    const double p = layers[layer].speed * t;
    const double offset = layers[layer].offset;
    const double d = 1.5 * gain * s * std::sin(3 * angle + p + offset) +
                     1.1 * gain * s * std::sin(5 * angle - 0.7 * p + offset) +
                     0.8 * gain * s * std::sin(7 * angle + 1.3 * p + offset);
    const double r = base + 2.5 * (0.45 + 0.55 * static_cast<double>(std::clamp(audioLevel, 0.0F, 1.0F))) * d;
    return {size / 2.0 + r * std::cos(angle), size / 2.0 + r * std::sin(angle)};
}

/// Returns the coverage of the stroke on a canvas with `margin` more pixels on each side.
Plane strokeCoverage(platform::RecordingState state, float audioLevel, double t, int size, int margin,
                     std::size_t layer, double strokeWidth) {
    constexpr int finer = 4;
    const int whole = size + 2 * margin;
    QImage mask(whole * finer, whole * finer, QImage::Format_Grayscale8);
    mask.fill(0);
    QPainterPath path;
    for (int point = 0; point < pointCount; ++point) {
        const auto to = pathPoint(state, audioLevel, t, size, layer, point);
        point == 0 ? path.moveTo(to) : path.lineTo(to);
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
    const double scale = size / designWidth;
    const int margin = static_cast<int>(20 * scale);
    const int whole = size + 2 * margin;
    struct Pixel {
        double red = 0, green = 0, blue = 0, alpha = 0;
    };
    std::vector<Pixel> pixels(static_cast<std::size_t>(size * size));

    for (const bool isHalo : {true, false}) {
        const Stroke stroke = isHalo ? halo : crisp;
        for (std::size_t layer = 0; layer < layers.size(); ++layer) {
            const Color color = isGreen(state) ? layers[layer].green : layers[layer].blue;
            const auto plane =
                blurred(strokeCoverage(state, audioLevel, t, size, margin, layer, stroke.width * scale),
                        whole, stroke.blur * scale);
            for (int y = 0; y < size; ++y) {
                for (int x = 0; x < size; ++x) {
                    const double alpha = plane[static_cast<std::size_t>((y + margin) * whole + x + margin)] *
                                         stroke.opacity * layers[layer].opacity;
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
                // The end of the halo is the program's own choice.
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
