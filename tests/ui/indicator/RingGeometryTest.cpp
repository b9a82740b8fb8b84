#include "ui/indicator/RingGeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

namespace sonvale::ui {

namespace {

using platform::RecordingState;

double distanceFromCenter(RingPoint point, double width) {
    return std::hypot(point.x - width / 2, point.y - width / 2);
}

/// Returns the mean radius of a layer's points, on which the waves have almost no effect.
double meanRadius(RecordingState state, float level, double t, int layer) {
    double sum = 0;
    for (int point = 0; point < ringPointCount; ++point)
        sum += distanceFromCenter(ringPoint(state, level, t, 48, layer, point), 48);
    return sum / ringPointCount;
}

/// Returns the difference between the maximum and the minimum radius.
double swing(RecordingState state, float level) {
    double least = 1000;
    double most = 0;
    for (int point = 0; point < ringPointCount; ++point) {
        const double radius = distanceFromCenter(ringPoint(state, level, 5, 48, 2, point), 48);
        least = std::min(least, radius);
        most = std::max(most, radius);
    }
    return most - least;
}

} // namespace

TEST(RingGeometry, StartsEachLayerAtItsBaseRadius) {
    const auto first = ringPoint(RecordingState::recording, 0, 0, 48, 0, 0);
    EXPECT_DOUBLE_EQ(first.x, 33.5);
    EXPECT_DOUBLE_EQ(first.y, 24);
    // Layer 0 has no offset: at a quarter turn its waves of 3, 5 and 7 cycles are -1, 1 and -1.
    const auto quarter = ringPoint(RecordingState::recording, 1, 0, 48, 0, 30);
    EXPECT_NEAR(quarter.x, 24, 1e-9);
    EXPECT_NEAR(quarter.y, 24 + 9.5 + 2.5 * (-1.5 + 1.1 - 0.8), 1e-9);
}

TEST(RingGeometry, FollowsItsThreeWaves) {
    const double t = 2.5;
    const int layer = 3;
    const int point = 47;
    const double angle = 1.2 * t + 2 * std::numbers::pi * point / 120;
    const double p = 2.3 * t;
    const double d = 0.6 * (1.5 * std::sin(3 * angle + p + 0.7) + 1.1 * std::sin(5 * angle - 0.7 * p + 0.7) +
                            0.8 * std::sin(7 * angle + 1.3 * p + 0.7));
    const double r = (9.5 + 1.6 * layer) * 0.8 + 2.5 * (0.45 + 0.55 * 0.5) * d;
    const auto drawn = ringPoint(RecordingState::processing, 0.5f, t, 48, layer, point);
    EXPECT_NEAR(drawn.x, 24 + r * std::cos(angle), 1e-9);
    EXPECT_NEAR(drawn.y, 24 + r * std::sin(angle), 1e-9);
}

TEST(RingGeometry, LimitsTheLevelToItsRange) {
    for (const auto& [level, inside] :
         {std::pair{2.0f, 1.0f}, {-0.5f, 0.0f}, {std::nanf(""), 0.0f}, {INFINITY, 1.0f}}) {
        const auto one = ringPoint(RecordingState::recording, level, 3, 48, 2, 11);
        const auto other = ringPoint(RecordingState::recording, inside, 3, 48, 2, 11);
        EXPECT_EQ(one.x, other.x);
        EXPECT_EQ(one.y, other.y);
    }
}

TEST(RingGeometry, KeepsAlmostHalfOfTheWaveInSilence) {
    EXPECT_NEAR(swing(RecordingState::recording, 0) / swing(RecordingState::recording, 1), 0.45, 1e-9);
}

TEST(RingGeometry, TurnsOnlyWhileItWorks) {
    EXPECT_EQ(ringOutline(RecordingState::recording, 0.3f, 10, 48, 0).spin, 0);
    EXPECT_EQ(ringOutline(RecordingState::idle, 1, 10, 48, 0).spin, 0);
    EXPECT_DOUBLE_EQ(ringOutline(RecordingState::processing, 0, 10, 48, 0).spin, 12);
    EXPECT_DOUBLE_EQ(ringOutline(RecordingState::processingHandsFree, 0, 10, 48, 0).spin, 12);
}

TEST(RingGeometry, ShrinksWhileItWorks) {
    for (int layer = 0; layer < ringLayerCount; ++layer) {
        EXPECT_NEAR(meanRadius(RecordingState::recording, 0, 4, layer), 9.5 + 1.6 * layer, 0.01);
        EXPECT_NEAR(meanRadius(RecordingState::processing, 0, 4, layer), 0.8 * (9.5 + 1.6 * layer), 0.01);
    }
    EXPECT_NEAR(swing(RecordingState::processing, 1) / swing(RecordingState::recording, 1), 0.6, 0.02);
}

TEST(RingGeometry, ScalesWithItsCanvas) {
    const auto small = ringPoint(RecordingState::recording, 0.7f, 9, 48, 4, 77);
    const auto large = ringPoint(RecordingState::recording, 0.7f, 9, 144, 4, 77);
    EXPECT_NEAR(large.x, 3 * small.x, 1e-9);
    EXPECT_NEAR(large.y, 3 * small.y, 1e-9);
}

TEST(RingGeometry, IsBlueWhileItListensAndGreenWhileItWorks) {
    EXPECT_EQ(ringColor(RecordingState::recording, 4), (RingColor{0.5, 0.7, 1.0}));
    EXPECT_EQ(ringColor(RecordingState::idle, 4), (RingColor{0.5, 0.7, 1.0}));
    EXPECT_EQ(ringColor(RecordingState::processing, 4), (RingColor{0.45, 0.9, 0.55}));
    EXPECT_EQ(ringColor(RecordingState::processingHandsFree, 4), (RingColor{0.45, 0.9, 0.55}));
    EXPECT_EQ(ringColor(RecordingState::recording, 1), ringColor(RecordingState::processing, 1));
}

TEST(RingGeometry, EndsItsHaloBeforeTheWindow) {
    EXPECT_EQ(ringHaloShare(0), 1);
    EXPECT_EQ(ringHaloShare(16), 1);
    EXPECT_GT(ringHaloShare(19), ringHaloShare(22));
    EXPECT_EQ(ringHaloShare(24), 0);
    EXPECT_EQ(ringHaloShare(34), 0);
}

} // namespace sonvale::ui
