#include "ui/indicator/RingPainter.h"

#include "tests/ui/indicator/RingReference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace sonvale::ui {

namespace {

using platform::RecordingState;

struct Difference {
    double mean = 0;
    int most = 0;
};

Difference differenceOf(const QImage& a, const QImage& b) {
    Difference difference;
    for (int y = 0; y < a.height(); ++y) {
        for (int i = 0; i < a.width() * 4; ++i) {
            const int d = std::abs(a.constScanLine(y)[i] - b.constScanLine(y)[i]);
            difference.mean += d;
            difference.most = std::max(difference.most, d);
        }
    }
    difference.mean /= a.width() * a.height() * 4.0;
    return difference;
}

struct Light {
    double red = 0;
    double green = 0;
    double blue = 0;
};

Light lightOf(const QImage& image) {
    Light light;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = reinterpret_cast<const QRgb*>(image.constScanLine(y))[x];
            light.red += qRed(pixel);
            light.green += qGreen(pixel);
            light.blue += qBlue(pixel);
        }
    }
    return light;
}

} // namespace

TEST(RingPainter, LooksLikeReallyBlurredStrokes) {
    for (const int size : {48, 96}) {
        RingPainter painter(size);
        for (const auto state : {RecordingState::recording, RecordingState::processing}) {
            for (const float level : {0.0f, 1.0f}) {
                const double t = 12.9;
                const auto difference = differenceOf(painter.paint(state, level, t),
                                                     tests::ringByBlurredStrokes(state, level, t, size));
                EXPECT_LT(difference.mean, 2) << size << " " << level;
                EXPECT_LT(difference.most, 30) << size << " " << level;
            }
        }
    }
}

TEST(RingPainter, IsBlueWhileItListensAndGreenWhileItWorks) {
    RingPainter painter(48);
    const Light listening = lightOf(painter.paint(RecordingState::recording, 0.5f, 1));
    EXPECT_GT(listening.blue, 1.1 * listening.green);
    EXPECT_GT(listening.green, listening.red);
    const Light working = lightOf(painter.paint(RecordingState::processing, 0.5f, 1));
    EXPECT_GT(working.green, 1.15 * working.blue);
    EXPECT_GT(working.green, 1.15 * working.red);
}

TEST(RingPainter, KeepsTheWindowsEdgeTransparent) {
    for (const int size : {48, 96}) {
        RingPainter painter(size);
        const int last = size - 1;
        for (const auto state : {RecordingState::recording, RecordingState::processing}) {
            for (double t = 0; t < 20; t += 0.7) {
                // In silence only the halo reaches this far; the loudest voice moves a crest over the edge.
                const QImage& image = painter.paint(state, 0, t);
                int most = 0;
                for (int i = 0; i < size; ++i) {
                    for (const auto [x, y] : {std::pair{i, 0}, {i, last}, {0, i}, {last, i}})
                        most = std::max(most, qAlpha(image.pixel(x, y)));
                }
                EXPECT_LE(most, 16) << size << " at " << t;
            }
        }
    }
}

TEST(RingPainter, HasAHoleInItsMiddle) {
    RingPainter painter(48);
    const QImage& image = painter.paint(RecordingState::recording, 0, 3);
    EXPECT_LT(qAlpha(image.pixel(24, 24)), 90);
    EXPECT_GT(qAlpha(image.pixel(24 + 15, 24)), 120);
}

TEST(RingPainter, MovesWithTime) {
    RingPainter painter(48);
    const QImage first = painter.paint(RecordingState::recording, 0, 7).copy();
    EXPECT_EQ(painter.paint(RecordingState::recording, 0, 7), first);
    EXPECT_NE(painter.paint(RecordingState::recording, 0, 7.1), first);
}

TEST(RingPainter, WritesPremultipliedColors) {
    RingPainter painter(96);
    const QImage& image = painter.paint(RecordingState::processing, 1, 2);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = reinterpret_cast<const QRgb*>(image.constScanLine(y))[x];
            ASSERT_LE(std::max({qRed(pixel), qGreen(pixel), qBlue(pixel)}), qAlpha(pixel));
        }
    }
}

TEST(RingPainter, DrawsSizesDownToOnePixel) {
    for (const int size : {1, 2, 7, 33}) {
        RingPainter painter(size);
        EXPECT_EQ(painter.paint(RecordingState::recording, 1, 1).size(), QSize(size, size));
    }
}

} // namespace sonvale::ui
