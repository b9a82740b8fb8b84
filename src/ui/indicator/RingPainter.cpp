#include "ui/indicator/RingPainter.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace sonvale::ui {

namespace {

/// The size of a cell of the halo, which is so soft that a coarse grid is enough.
constexpr double haloCell = 2;
/// The maximum distance of the path outside of the canvas, at the loudest voice.
constexpr double overshoot = 1.5;
constexpr double reachInDeviations = 3.2;
/// The number of distinguished places of a dab's middle within one cell.
constexpr int subcells = 32;

/// Returns the deviation of a blurred stroke. A stroke much narrower than its blur looks like a line blurred
/// by the sum of both variances.
double deviationOf(const RingStroke& stroke) {
    return std::sqrt(stroke.blur * stroke.blur + stroke.width * stroke.width / 12);
}

} // namespace

RingPainter::Light::Light(const RingStroke& stroke, double cellSide)
    : cell(cellSide)
    , reach(static_cast<int>(std::ceil(reachInDeviations * deviationOf(stroke) / cell)))
    , margin(reach + static_cast<int>(std::ceil(overshoot / cell)) + 1)
    , width(static_cast<int>(std::lround(ringDesignWidth / cell)) + 2 * margin)
    , amount(stroke.width / cell)
    , deviation(deviationOf(stroke) / cell)
    , values(static_cast<std::size_t>(width * width)) {
    for (int sub = 0; sub < subcells; ++sub) {
        const double middle = (sub + 0.5) / subcells - 0.5;
        for (int i = -reach; i <= reach; ++i) {
            const double distance = (i - middle) / deviation;
            dabs.push_back(static_cast<float>(std::exp(-0.5 * distance * distance) /
                                              (deviation * std::sqrt(2 * std::numbers::pi))));
        }
    }
}

void RingPainter::Light::clear() {
    std::fill(values.begin(), values.end(), 0.0f);
}

void RingPainter::Light::addPath(const std::array<RingPoint, ringPointCount>& points) {
    // Each stretch of the path is one dab. Stretches are joined while they are short compared with the dab.
    const double longest = 0.5 * deviation * cell;
    RingPoint from = points.back();
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double length = std::hypot(points[i].x - from.x, points[i].y - from.y);
        const RingPoint& next = points[(i + 1) % points.size()];
        const bool isLast = i + 1 == points.size();
        if (!isLast && std::hypot(next.x - from.x, next.y - from.y) < longest)
            continue;
        addDab((points[i].x + from.x) / 2, (points[i].y + from.y) / 2, length / cell * amount);
        from = points[i];
    }
}

void RingPainter::Light::addDab(double x, double y, double strength) {
    const double column = x / cell + margin;
    const double row = y / cell + margin;
    const int middleX = static_cast<int>(std::floor(column));
    const int middleY = static_cast<int>(std::floor(row));
    if (middleX < reach || middleY < reach || middleX + reach >= width || middleY + reach >= width)
        return;

    const int span = 2 * reach + 1;
    const auto crossSection = [&](double position) {
        return dabs.data() + static_cast<int>((position - std::floor(position)) * subcells) * span;
    };
    const float* across = crossSection(column);
    const float* down = crossSection(row);
    for (int j = 0; j < span; ++j) {
        const float rowStrength = down[j] * static_cast<float>(strength);
        float* cells = values.data() + (middleY - reach + j) * width + middleX - reach;
        for (int i = 0; i < span; ++i)
            cells[i] += across[i] * rowStrength;
    }
}

void RingPainter::Canvas::clear() {
    for (auto* plane : {&red, &green, &blue, &alpha})
        std::fill(plane->begin(), plane->end(), 0.0f);
}

void RingPainter::Canvas::put(const Light& light, const RingColor& color, double opacity) {
    const auto r = static_cast<float>(color.red);
    const auto g = static_cast<float>(color.green);
    const auto b = static_cast<float>(color.blue);
    for (std::size_t i = 0; i < alpha.size(); ++i) {
        const float over = std::min(light.values[i], 1.0f) * static_cast<float>(opacity);
        const float rest = 1 - over;
        red[i] = r * over + red[i] * rest;
        green[i] = g * over + green[i] * rest;
        blue[i] = b * over + blue[i] * rest;
        alpha[i] = over + alpha[i] * rest;
    }
}

RingPainter::RingPainter(int size)
    : size_(std::max(size, 1))
    , image_(size_, size_, QImage::Format_ARGB32_Premultiplied)
    , haloLight_(ringHalo, haloCell)
    , halo_(haloLight_.values.size())
    , crispLight_(ringCrisp, ringDesignWidth / size_)
    , canvas_(crispLight_.values.size()) {
    const double middle = (size_ - 1) / 2.0;
    for (int y = 0; y < size_; ++y) {
        for (int x = 0; x < size_; ++x)
            haloShares_.push_back(
                static_cast<float>(ringHaloShare(std::hypot(x - middle, y - middle) * crispLight_.cell)));
    }
}

const QImage& RingPainter::paint(platform::RecordingState state, float audioLevel, double t) {
    for (int layer = 0; layer < ringLayerCount; ++layer) {
        for (int point = 0; point < ringPointCount; ++point)
            paths_[static_cast<std::size_t>(layer)][static_cast<std::size_t>(point)] =
                ringPoint(state, audioLevel, t, ringDesignWidth, layer, point);
    }
    halo_.clear();
    paintPass(ringHalo, haloLight_, halo_, state);
    spreadHalo();
    paintPass(ringCrisp, crispLight_, canvas_, state);
    fillImage();
    return image_;
}

void RingPainter::paintPass(const RingStroke& stroke, Light& light, Canvas& canvas,
                            platform::RecordingState state) {
    for (int layer = 0; layer < ringLayerCount; ++layer) {
        light.clear();
        light.addPath(paths_[static_cast<std::size_t>(layer)]);
        canvas.put(light, ringColor(state, layer), stroke.opacity * ringLayer(layer).opacity);
    }
}

void RingPainter::spreadHalo() {
    // Cells outside of the canvas are not visible, so only its own cells are filled.
    const auto gridPosition = [this](int pixel) {
        const double position = (pixel + 0.5) * crispLight_.cell / haloCell + haloLight_.margin - 0.5;
        return std::pair{static_cast<int>(position), static_cast<float>(position - std::floor(position))};
    };
    for (int y = 0; y < size_; ++y) {
        const auto [row, down] = gridPosition(y);
        for (int x = 0; x < size_; ++x) {
            const auto [column, across] = gridPosition(x);
            const auto from = static_cast<std::size_t>(row * haloLight_.width + column);
            const auto below = from + static_cast<std::size_t>(haloLight_.width);
            const auto to = static_cast<std::size_t>((y + crispLight_.margin) * crispLight_.width + x +
                                                     crispLight_.margin);
            const float share = haloShares_[static_cast<std::size_t>(y * size_ + x)];
            const auto spread = [&, right = across, lower = down](const std::vector<float>& grid) {
                const float above = grid[from] + (grid[from + 1] - grid[from]) * right;
                const float under = grid[below] + (grid[below + 1] - grid[below]) * right;
                return (above + (under - above) * lower) * share;
            };
            canvas_.red[to] = spread(halo_.red);
            canvas_.green[to] = spread(halo_.green);
            canvas_.blue[to] = spread(halo_.blue);
            canvas_.alpha[to] = spread(halo_.alpha);
        }
    }
}

void RingPainter::fillImage() {
    const auto byte = [](float value) { return static_cast<int>(std::lround(std::min(value, 1.0f) * 255)); };
    for (int y = 0; y < size_; ++y) {
        auto* line = reinterpret_cast<QRgb*>(image_.scanLine(y));
        auto i = static_cast<std::size_t>((y + crispLight_.margin) * crispLight_.width + crispLight_.margin);
        for (int x = 0; x < size_; ++x, ++i)
            line[x] = qRgba(byte(canvas_.red[i]), byte(canvas_.green[i]), byte(canvas_.blue[i]),
                            byte(canvas_.alpha[i]));
    }
}

} // namespace sonvale::ui
