#pragma once

#include "ui/indicator/RingGeometry.h"

#include <QImage>
#include <array>
#include <vector>

namespace sonvale::ui {

/// Draws the ring with its blurred strokes. The constructor computes everything that depends only on the
/// size, so the caller should keep one painter for a size. Not thread-safe.
class RingPainter {
public:
    /// Draws square images of `size` pixels, at least 1.
    explicit RingPainter(int size);

    int size() const { return size_; }

    /// Returns the ring at `t` seconds on a transparent ground: `size` × `size`, ARGB32 premultiplied. The
    /// painter owns the image, and the next call overwrites it.
    const QImage& paint(platform::RecordingState state, float audioLevel, double t);

private:
    /// The light of a blurred stroke along a path, on a grid that is larger than the canvas.
    struct Light {
        Light(const RingStroke& stroke, double cell);

        void clear();
        void addPath(const std::array<RingPoint, ringPointCount>& points);
        void addDab(double x, double y, double strength);

        double cell;      ///< side of a cell, in the design size
        int reach;        ///< cells from the middle of a dab to its edge
        int margin;       ///< cells outside the canvas on each side
        int width;        ///< cells in a row
        double amount;    ///< light per length of the path
        double deviation; ///< of a dab, in cells
        std::vector<float> values;
        std::vector<float> dabs; ///< cross-sections of a dab, one per place of its middle within a cell
    };

    /// A premultiplied color, one plane per component.
    struct Canvas {
        explicit Canvas(std::size_t size)
            : red(size)
            , green(size)
            , blue(size)
            , alpha(size) {}

        void clear();
        void put(const Light& light, const RingColor& color, double opacity);

        std::vector<float> red, green, blue, alpha;
    };

    void paintPass(const RingStroke& stroke, Light& light, Canvas& canvas, platform::RecordingState state);
    void spreadHalo();
    void fillImage();

    int size_;
    QImage image_;
    std::array<std::array<RingPoint, ringPointCount>, ringLayerCount> paths_;
    Light haloLight_;
    Canvas halo_;
    std::vector<float> haloShares_; ///< one per pixel
    Light crispLight_;
    Canvas canvas_;
};

} // namespace sonvale::ui
