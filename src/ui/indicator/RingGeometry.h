#pragma once

#include "platform/RecordingState.h"

#include <array>

namespace sonvale::ui {

/// A colour of the ring in sRGB, 0 to 1.
struct RingColor {
    double red = 1;
    double green = 1;
    double blue = 1;
    friend bool operator==(const RingColor&, const RingColor&) = default;
};

/// One of the five wavy rings that lie on one another, the innermost first.
struct RingLayer {
    double speed;
    double offset;
    double opacity;
    RingColor listening;
    RingColor working;
};

/// A stroke over a layer's path, blurred by a Gaussian of standard deviation `blur`. Lengths are of the
/// design size.
struct RingStroke {
    double width;
    double blur;
    double opacity; ///< a factor on the layer's own
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

    /// At the path's own angle, which already contains the spin.
    double radius(double angle) const;
};

inline constexpr double ringDesignWidth = 48;
inline constexpr int ringLayerCount = 5;
inline constexpr int ringPointCount = 120;
inline constexpr RingStroke ringHalo{2.5, 4.5, 0.5};
inline constexpr RingStroke ringCrisp{1.8, 1.0, 1.0};

/// `layer` from 0 to 4.
const RingLayer& ringLayer(int layer);

/// Whether the ring is the green, turning, smaller one.
bool isRingWorking(platform::RecordingState state);

RingColor ringColor(platform::RecordingState state, int layer);

/// The shape of `layer` (0 to 4) at `t` seconds on a square canvas of `width`. `audioLevel` counts as 0 to 1.
RingOutline ringOutline(platform::RecordingState state, float audioLevel, double t, double width, int layer);

/// Point 0 to 119 of the closed path of `layer`, in the canvas's coordinates, y downwards.
RingPoint ringPoint(platform::RecordingState state, float audioLevel, double t, double width, int layer,
                    int point);

/// How much of the halo is left at a distance from the centre, in the design size: it ends softly before the
/// window does, whose edge would otherwise show as a square.
double ringHaloShare(double distance);

} // namespace sonvale::ui
