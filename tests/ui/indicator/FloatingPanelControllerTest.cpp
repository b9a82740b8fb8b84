#include "ui/indicator/FloatingPanelController.h"

#include "adapters/qt/QtCompositor.h"

#include "runtime/ManualClock.h"
#include "runtime/SystemClock.h"
#include "tests/ui/common/CompositorProgram.h"
#include "tests/ui/common/DesktopProbe.h"

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QScreen>
#include <cmath>
#include <memory>

namespace sonvale::ui {

namespace {

using platform::RecordingState;
using tests::DesktopProbe;
using tests::eventuallyInQt;

class FloatingPanelControllerTest : public testing::Test {
protected:
    DesktopProbe::WindowId show(RecordingState state, float level = 0.3f) {
        controller.show(state, level);
        const auto window = static_cast<DesktopProbe::WindowId>(controller.panel()->internalWinId());
        EXPECT_TRUE(eventuallyInQt(10, [&] { return probe.isMapped(window); }));
        return window;
    }

    /// Returns whether the color in the middle of the ring's stroke differs from `ground` on the screen.
    bool isSeen(QRgb ground) {
        const QImage image = probe.screen(ringPlace);
        int changed = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                changed += (image.pixel(x, y) & 0xFFFFFF) != (ground & 0xFFFFFF);
        }
        return changed > 300;
    }

    DesktopProbe probe;
    runtime::SystemClock clock;
    adapters::qt::QtCompositor compositor;
    FloatingPanelController controller{clock, compositor};
    const DesktopProbe::Place ringPlace{1280 / 2 - 24, 8, 48, 48};
};

constexpr QRgb paper = 0xFFF6F7F9;
constexpr QRgb night = 0xFF111318;
constexpr DesktopProbe::Place underTheRing{500, 0, 300, 200};

} // namespace

TEST_F(FloatingPanelControllerTest, IsEightPointsUnderTheTopInTheMiddle) {
    EXPECT_EQ(probe.place(show(RecordingState::recording)), ringPlace);
}

TEST_F(FloatingPanelControllerTest, IsUnderThePanelAtTheTop) {
    const auto available = [] { return QGuiApplication::primaryScreen()->availableGeometry().top(); };
    show(RecordingState::recording);
    const auto panel = probe.openTopPanel(30);
    ASSERT_TRUE(eventuallyInQt(10, [&] { return available() == 30; }));
    // The visible window stays; the next window uses the new place.
    tests::runQtFor(0.1);
    EXPECT_EQ(controller.panel()->geometry().top(), 8);
    controller.hide();
    EXPECT_EQ(probe.place(show(RecordingState::recording)).y, 38);
    probe.closeWindow(panel);
    EXPECT_TRUE(eventuallyInQt(10, [&] { return available() == 0; }));
}

TEST_F(FloatingPanelControllerTest, KeepsItsPlaceWhenItsStateChanges) {
    const auto window = show(RecordingState::recording);
    controller.show(RecordingState::processing, 0);
    tests::runQtFor(0.1);
    EXPECT_EQ(static_cast<DesktopProbe::WindowId>(controller.panel()->internalWinId()), window);
    EXPECT_EQ(probe.place(window), ringPlace);
}

TEST_F(FloatingPanelControllerTest, HidesAtOnce) {
    const auto ground = probe.openWindow(underTheRing, paper);
    show(RecordingState::recording);
    ASSERT_TRUE(eventuallyInQt(10, [&] { return isSeen(paper); }));
    controller.hide();
    EXPECT_EQ(controller.panel(), nullptr);
    EXPECT_TRUE(eventuallyInQt(10, [&] { return !isSeen(paper); }));
    probe.closeWindow(ground);
}

TEST_F(FloatingPanelControllerTest, TakesNoFocus) {
    const auto typedInto = probe.openWindow(underTheRing, paper);
    show(RecordingState::recording);
    controller.show(RecordingState::processing, 0);
    controller.hide();
    show(RecordingState::recording);
    tests::runQtFor(0.3);
    EXPECT_EQ(probe.focus(), typedInto);
    EXPECT_EQ(QGuiApplication::focusWindow(), nullptr);
    probe.closeWindow(typedInto);
}

TEST_F(FloatingPanelControllerTest, PassesClicksThrough) {
    const auto below = probe.openWindow(underTheRing, paper);
    show(RecordingState::recording);
    ASSERT_TRUE(eventuallyInQt(10, [&] { return isSeen(paper); }));
    probe.click(ringPlace.x + 24 + 14, ringPlace.y + 24);
    EXPECT_TRUE(eventuallyInQt(10, [&] { return probe.clicks(below) == 1; }));
    probe.closeWindow(below);
}

TEST_F(FloatingPanelControllerTest, IsVisibleOverAFullScreenWindow) {
    const auto film = probe.openFullScreenWindow(night);
    show(RecordingState::recording);
    EXPECT_TRUE(eventuallyInQt(10, [&] { return isSeen(night); }));
    probe.closeWindow(film);
}

TEST_F(FloatingPanelControllerTest, IsVisibleOverAWindowThatBecomesFullScreenLater) {
    show(RecordingState::recording);
    const auto film = probe.openFullScreenWindow(night);
    EXPECT_TRUE(eventuallyInQt(10, [&] { return isSeen(night); }));
    probe.closeWindow(film);
}

TEST_F(FloatingPanelControllerTest, IsNotManagedByTheWindowManager) {
    EXPECT_TRUE(probe.isOverrideRedirect(show(RecordingState::recording)));
}

TEST_F(FloatingPanelControllerTest, IsADiscWithoutACompositor) {
    const auto ground = probe.openWindow(underTheRing, paper);
    const auto window = show(RecordingState::recording);
    ASSERT_TRUE(eventuallyInQt(10, [&] { return isSeen(paper); }));
    EXPECT_TRUE(probe.isInShape(window, 24, 24));
    EXPECT_TRUE(probe.isInShape(window, 24, 1));
    for (const auto [x, y] : {std::pair{0, 0}, {47, 0}, {0, 47}, {47, 47}}) {
        EXPECT_FALSE(probe.isInShape(window, x, y));
        EXPECT_EQ(probe.screen(ringPlace).pixel(x, y) & 0xFFFFFF, paper & 0xFFFFFF);
    }
    probe.closeWindow(ground);
}

TEST_F(FloatingPanelControllerTest, BlendsWithTheScreenUnderACompositor) {
    const tests::CompositorProgram program(probe);
    const auto ground = probe.openWindow(underTheRing, paper);
    const auto window = show(RecordingState::recording);
    ASSERT_TRUE(eventuallyInQt(10, [&] { return isSeen(paper); }));
    EXPECT_TRUE(probe.isInShape(window, 0, 0));

    const auto isPaper = [](QRgb pixel) {
        return std::abs(qRed(pixel) - qRed(paper)) < 8 && std::abs(qBlue(pixel) - qBlue(paper)) < 8;
    };
    QImage image;
    EXPECT_TRUE(eventuallyInQt(10, [&] {
        image = probe.screen(ringPlace);
        return isPaper(image.pixel(0, 0)) && isPaper(image.pixel(47, 0)) && isPaper(image.pixel(0, 47)) &&
               isPaper(image.pixel(47, 47)) && !isPaper(image.pixel(24 + 14, 24));
    }));
    // A dark square would be visible here; the light and the halo are transparent.
    EXPECT_GT(qGray(image.pixel(24, 24)), 150);
    probe.closeWindow(ground);
}

TEST_F(FloatingPanelControllerTest, TurnsGreenOnTheScreenWhenItWorks) {
    const auto ground = probe.openWindow(underTheRing, night);
    show(RecordingState::recording);
    const auto green = [&] {
        const QImage image = probe.screen(ringPlace);
        long difference = 0;
        for (int y = 8; y < 40; ++y) {
            for (int x = 8; x < 40; ++x)
                difference += qGreen(image.pixel(x, y)) - qBlue(image.pixel(x, y));
        }
        return difference;
    };
    EXPECT_TRUE(eventuallyInQt(10, [&] { return isSeen(night) && green() < -5000; }));
    controller.show(RecordingState::processing, 0);
    EXPECT_TRUE(eventuallyInQt(10, [&] { return green() > 5000; }));
    probe.closeWindow(ground);
}

TEST(GlowingRingView, MovesOnlyWithItsClock) {
    runtime::ManualClock clock;
    GlowingRingView view(clock, GlowingRingView::Ground::transparent);
    view.setFixedSize(48, 48);
    view.setState(RecordingState::recording);
    const QImage first = view.grab().toImage();
    EXPECT_EQ(view.grab().toImage(), first);
    clock.advance(0.1);
    EXPECT_NE(view.grab().toImage(), first);
}

TEST(GlowingRingView, ShowsALouderVoiceInItsNextFrame) {
    runtime::ManualClock clock;
    GlowingRingView view(clock, GlowingRingView::Ground::transparent);
    view.setFixedSize(48, 48);
    view.setState(RecordingState::recording);
    const QImage quiet = view.grab().toImage();
    view.setLevel(1);
    EXPECT_NE(view.grab().toImage(), quiet);
}

} // namespace sonvale::ui
