#include "ui/indicator/RingGeometry.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace sonvale::ui {

namespace {

constexpr RingColor white{1, 1, 1};

constexpr std::array<RingLayer, ringLayerCount> layers{{
    {3.2, 0.0, 0.55, {0.55, 0.75, 1.0}, {0.55, 1.0, 0.65}},
    {2.6, 1.1, 0.7, white, white},
    {2.9, 2.3, 0.8, {0.65, 0.82, 1.0}, {0.6, 0.95, 0.65}},
    {2.3, 0.7, 0.9, white, white},
    {3.5, 1.8, 1.0, {0.5, 0.7, 1.0}, {0.45, 0.9, 0.55}},
}};

/// Returns the level limited to 0 to 1; 0 for NaN.
double clampedLevel(float audioLevel) {
    if (!(audioLevel > 0))
        return 0;
    return audioLevel < 1 ? audioLevel : 1;
}

} // namespace

const RingLayer& ringLayer(int layer) {
    return layers.at(static_cast<std::size_t>(layer));
}

bool isRingWorking(platform::RecordingState state) {
    return state == platform::RecordingState::processing ||
           state == platform::RecordingState::processingHandsFree;
}

RingColor ringColor(platform::RecordingState state, int layer) {
    return isRingWorking(state) ? ringLayer(layer).working : ringLayer(layer).listening;
}

double RingOutline::radius(double angle) const {
    double r = base;
    for (const auto& wave : waves)
        r += wave.amplitude * std::sin(wave.cycles * angle + wave.phase);
    return r;
}

RingOutline ringOutline(platform::RecordingState state, float audioLevel, double t, double width, int layer) {
    const bool isWorking = isRingWorking(state);
    const double spin = isWorking ? 1.2 * t : 0;
    const double radiusScale = isWorking ? 0.8 : 1;
    const double gain = isWorking ? 0.6 : 1;

    const double scale = width / ringDesignWidth;
    const double voice = 0.45 + 0.55 * clampedLevel(audioLevel);
    const double swing = 2.5 * voice * gain * scale;

    const auto& [speed, offset, opacity, listening, working] = ringLayer(layer);
    const double phase = speed * t;
    return RingOutline{
        .spin = spin,
        .base = (9.5 + 1.6 * layer) * radiusScale * scale,
        .waves = {{{1.5 * swing, 3, phase + offset},
                   {1.1 * swing, 5, -0.7 * phase + offset},
                   {0.8 * swing, 7, 1.3 * phase + offset}}},
    };
}

RingPoint ringPoint(platform::RecordingState state, float audioLevel, double t, double width, int layer,
                    int point) {
    const RingOutline outline = ringOutline(state, audioLevel, t, width, layer);
    const double angle = outline.spin + 2 * std::numbers::pi * point / ringPointCount;
    const double radius = outline.radius(angle);
    return {width / 2 + radius * std::cos(angle), width / 2 + radius * std::sin(angle)};
}

double ringHaloShare(double distance) {
    constexpr double end = ringDesignWidth / 2;
    constexpr double begin = 0.7 * end;
    const double way = std::clamp((end - distance) / (end - begin), 0.0, 1.0);
    return way * way * (3 - 2 * way);
}

} // namespace sonvale::ui
