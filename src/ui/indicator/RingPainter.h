#pragma once

#include "ui/indicator/RingGeometry.h"

#include <QImage>
#include <array>
#include <vector>

namespace sonvale::ui {

/// Draws the ring with its blurred strokes. What depends on the size alone is worked out once, so keep a
/// painter for a size. Not for two threads at once.
class RingPainter {
public:
    /// For square images of `size` pixels, at least 1.
    explicit RingPainter(int size);

    int size() const { return size_; }

    /// The ring at `t` seconds on a transparent ground: `size` × `size`, ARGB32 premultiplied. The image is
    /// this painter's own and is overwritten by the next call.
    const QImage& paint(platform::RecordingState state, float audioLevel, double t);

private:
    /// Light that a blurred stroke leaves along a path, on a grid that reaches beyond the canvas.
    struct Light {
        Light(const RingStroke& stroke, double cell);

        void clear();
        void addPath(const std::array<RingPoint, ringPointCount>& points);
        void addDab(double x, double y, double strength);

        double cell;      ///< side of a cell, in the design size
        int reach;        ///< cells from a dab's own to its last one
        int margin;       ///< cells outside the canvas on each side
        int width;        ///< cells in a row
        double amount;    ///< light for each length of path
        double deviation; ///< of a dab, in cells
        std::vector<float> values;
        std::vector<float> dabs; ///< cross-sections of a dab, one for each place of its middle within a cell
    };

    /// Premultiplied colour, one plane for each component.
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
    std::vector<float> haloShares_; ///< for each pixel
    Light crispLight_;
    Canvas canvas_;
};

} // namespace sonvale::ui
