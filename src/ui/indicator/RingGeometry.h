#pragma once

#include "platform/RecordingState.h"

#include <array>

namespace sonvale::ui {

/// A color of the ring in sRGB, 0 to 1.
struct RingColor {
    double red = 1;
    double green = 1;
    double blue = 1;
    friend bool operator==(const RingColor&, const RingColor&) = default;
};

/// One of the five wavy rings on top of each other, the innermost first.
struct RingLayer {
    double speed;
    double offset;
    double opacity;
    RingColor listening;
    RingColor working;
};

/// A stroke over a layer's path, blurred by a Gaussian of standard deviation `blur`. Lengths are in the
/// design size.
struct RingStroke {
    double width;
    double blur;
    double opacity; ///< multiplied with the layer's opacity
};

struct RingPoint {
    double x;
    double y;
};

/// The radius of one layer's closed path as a function of the angle `spin` + a, a from 0 to 2π.
struct RingOutline {
    /// `r` = `base` + the sum of `amplitude` sin(`cycles` angle + `phase`).
    struct Wave {
        double amplitude;
        int cycles;
        double phase;
    };

    double spin;
    double base;
    std::array<Wave, 3> waves;

    /// Returns the radius at an angle of the path, which already contains the spin.
    double radius(double angle) const;
};

inline constexpr double ringDesignWidth = 48;
inline constexpr int ringLayerCount = 5;
inline constexpr int ringPointCount = 120;
inline constexpr RingStroke ringHalo{2.5, 4.5, 0.5};
inline constexpr RingStroke ringCrisp{1.8, 1.0, 1.0};

/// Returns the color of `layer` (0 to 4).
const RingLayer& ringLayer(int layer);

/// Returns whether the ring is green, turning and smaller in this state.
bool isRingWorking(platform::RecordingState state);

RingColor ringColor(platform::RecordingState state, int layer);

/// Returns the shape of `layer` (0 to 4) at `t` seconds on a square canvas of `width`. `audioLevel` is
/// limited to 0 to 1.
RingOutline ringOutline(platform::RecordingState state, float audioLevel, double t, double width, int layer);

/// Returns point 0 to 119 of the closed path of `layer`, in the canvas's coordinates, y downwards.
RingPoint ringPoint(platform::RecordingState state, float audioLevel, double t, double width, int layer,
                    int point);

/// Returns the share of the halo at a distance from the center, in the design size. The halo ends softly
/// before the edge of the window, which would otherwise be visible as a square.
double ringHaloShare(double distance);

} // namespace sonvale::ui
