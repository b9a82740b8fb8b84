#include "tests/contract/x11/KeyDesk.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/MacKeyCodes.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

namespace sonvale::tests {

namespace {

using adapters::x11::SyntheticKeyLedger;
using adapters::x11::X11EventTap;
using adapters::x11::X11SyntheticInput;
using platform::KeyEvent;
using Source = TestKeyboard::Source;
using Type = KeyEvent::Type;

/// Time that xfwm4 needs on a busy machine, in milliseconds, to grab its shortcuts again after a change of
/// the keyboard. A press at that moment is lost.
constexpr int settlingMilliseconds = 700;

/// Returns how often the tap's thread has slept and been woken.
long tapThreadWakeUps() {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(task.path() / "status");
        std::string line;
        bool isTap = false;
        while (std::getline(status, line)) {
            isTap = isTap || line == "Name:\tsonvale.hotkey";
            if (isTap && line.starts_with("voluntary_ctxt_switches:"))
                return std::stol(line.substr(line.find('\t')));
        }
    }
    return -1;
}

class EventTapUnderWindowManager : public testing::TestWithParam<std::tuple<WindowManager, Source>> {};

} // namespace

TEST_P(EventTapUnderWindowManager, SwallowsOptionSpaceAndKeepsTheFocusOfTheWindow) {
    const auto [windowManager, source] = GetParam();
    KeyDesk desk(windowManager);
    auto& keyboard = source == Source::xtest ? desk.xtest : desk.hardware;
    desk.swallowOptionSpace();
    ASSERT_TRUE(desk.start());
    keyboard.tap(XK_F9);
    pauseMilliseconds(settlingMilliseconds);
    const auto spaceKey = keyboard.keycodeOf(XK_space);
    const auto letterKey = keyboard.keycodeOf(XK_x);
    for (int round = 1; round <= 6; ++round) {
        keyboard.down(XK_Alt_L);
        pauseMilliseconds(60); // no user is faster
        keyboard.tap(XK_space);
        keyboard.tap(XK_x);
        keyboard.up(XK_Alt_L);
        // The other keyboard is used meanwhile, and window managers grab again.
        desk.input.pressPaste();
        EXPECT_TRUE(eventually(3, [&] { return desk.window.presses(letterKey) == round; }))
            << "Alt+X arrives";
        pauseMilliseconds(settlingMilliseconds);
    }
    EXPECT_EQ(desk.recorder.count({Type::keyDown, mac_key::space, platform::modifier::option}), 6)
        << desk.recorder.text();
    EXPECT_EQ(desk.window.presses(spaceKey), 0);
    EXPECT_TRUE(desk.window.stateOfLastPress(letterKey) & 8u) << "with its Alt";
    EXPECT_EQ(desk.window.presses(keyboard.keycodeOf(XK_v)), 6) << "a paste after it arrives";
    EXPECT_TRUE(desk.window.hasFocus()) << "no window menu has opened";
    EXPECT_TRUE(desk.recorder.taken().empty());
    EXPECT_FALSE(keyboard.isAnyKeyDown());
}

INSTANTIATE_TEST_SUITE_P(All, EventTapUnderWindowManager,
                         testing::Combine(testing::Values(WindowManager::none, WindowManager::openbox,
                                                          WindowManager::xfwm4),
                                          testing::Values(Source::xtest, Source::hardware)));

TEST(EventTapX11, DoesNotReportPastesOfThisProgram) {
    KeyDesk desk;
    ASSERT_TRUE(desk.start());
    desk.hardware.tap(XK_a);
    ASSERT_TRUE(desk.isReported({Type::keyUp, mac_key::letterA, 0}));
    desk.recorder.clear();
    for (int i = 0; i < 20; ++i) {
        desk.input.pressPaste();
        desk.input.pressUndo();
    }
    ASSERT_TRUE(eventually(5, [&] { return desk.window.presses(desk.xtest.keycodeOf(XK_z)) == 20; }));
    EXPECT_EQ(desk.window.presses(desk.xtest.keycodeOf(XK_v)), 20);
    // This reported key shows that the others would have been reported.
    desk.xtest.tap(XK_x);
    ASSERT_TRUE(desk.isReported({Type::keyUp, mac_key::letterX, 0}));
    EXPECT_EQ(desk.recorder.events().size(), 2u);
}

TEST(EventTapX11, ReportsXtestKeysOfOtherProgramsBetweenItsOwn) {
    KeyDesk desk;
    ASSERT_TRUE(desk.start());
    for (int i = 0; i < 20; ++i) {
        desk.input.pressPaste();
        desk.xtest.chord(XK_Control_L, XK_v);
    }
    const auto control = platform::modifier::control;
    EXPECT_TRUE(eventually(
        5, [&] { return desk.recorder.count({Type::flagsChanged, mac_key::leftControl, 0}) == 20; }));
    EXPECT_EQ(desk.recorder.count({Type::flagsChanged, mac_key::leftControl, control}), 20);
    EXPECT_EQ(desk.recorder.count({Type::keyDown, mac_key::letterV, control}), 20);
    EXPECT_EQ(desk.recorder.count({Type::keyUp, mac_key::letterV, control}), 20);
    EXPECT_EQ(desk.recorder.events().size(), 80u);
}

TEST(EventTapX11, ReportsTheUsersFlagsDuringAPasteThatReleasesTheModifier) {
    for (const auto source : {Source::xtest, Source::hardware}) {
        KeyDesk desk;
        auto& keyboard = source == Source::xtest ? desk.xtest : desk.hardware;
        ASSERT_TRUE(desk.start());
        keyboard.down(XK_Alt_L);
        ASSERT_TRUE(desk.isReported({Type::flagsChanged, mac_key::leftOption, platform::modifier::option}));
        desk.recorder.clear();

        desk.input.pressPaste();
        ASSERT_TRUE(eventually(5, [&] { return desk.window.presses(keyboard.keycodeOf(XK_v)) == 1; }));
        EXPECT_EQ(desk.window.stateOfLastPress(keyboard.keycodeOf(XK_v)), 4u) << "Control alone";
        EXPECT_EQ(keyboard.modifiers(), 0u);
        EXPECT_TRUE(desk.recorder.events().empty());

        keyboard.tap(XK_x);
        EXPECT_TRUE(desk.isReported({Type::keyDown, mac_key::letterX, platform::modifier::option}));
        keyboard.up(XK_Alt_L);
        EXPECT_TRUE(desk.isReported({Type::flagsChanged, mac_key::leftOption, 0}));
        EXPECT_FALSE(keyboard.isAnyKeyDown());
    }
}

TEST(EventTapX11, KnowsAModifierHeldBeforeTheStart) {
    KeyDesk desk;
    desk.hardware.down(XK_Alt_L);
    ASSERT_TRUE(desk.start());
    desk.hardware.tap(XK_x);
    EXPECT_TRUE(desk.isReported({Type::keyDown, mac_key::letterX, platform::modifier::option}));
    desk.hardware.up(XK_Alt_L);
    EXPECT_TRUE(desk.isReported({Type::flagsChanged, mac_key::leftOption, 0}));
}

TEST(EventTapX11, SwallowsWithCapsLockOrNumLock) {
    KeyDesk desk;
    desk.swallowOptionSpace();
    ASSERT_TRUE(desk.start());
    pauseMilliseconds(100);
    for (const auto lock : {XK_Caps_Lock, XK_Num_Lock}) {
        desk.hardware.tap(lock);
        desk.hardware.down(XK_Alt_L);
        desk.hardware.tap(XK_space);
        desk.hardware.tap(XK_x);
        desk.hardware.up(XK_Alt_L);
    }
    const auto letterKey = desk.hardware.keycodeOf(XK_x);
    EXPECT_TRUE(eventually(5, [&] { return desk.window.presses(letterKey) == 2; }));
    EXPECT_EQ(desk.window.stateOfLastPress(letterKey) & 0x12u, 0x12u) << "both locks are on";
    EXPECT_EQ(desk.window.presses(desk.hardware.keycodeOf(XK_space)), 0);
}

TEST(EventTapX11, SwallowsTheRepeatsOfAHeldKey) {
    for (const auto source : {Source::xtest, Source::hardware}) {
        KeyDesk desk;
        auto& keyboard = source == Source::xtest ? desk.xtest : desk.hardware;
        desk.swallowOptionSpace();
        ASSERT_TRUE(desk.start());
        pauseMilliseconds(100);
        keyboard.down(XK_Alt_L);
        keyboard.down(XK_space);
        pauseMilliseconds(1200); // Xvfb repeats after 660 ms
        keyboard.up(XK_space);
        keyboard.up(XK_Alt_L);
        keyboard.tap(XK_x);
        EXPECT_TRUE(eventually(5, [&] { return desk.window.presses(keyboard.keycodeOf(XK_x)) == 1; }));
        EXPECT_EQ(desk.window.presses(keyboard.keycodeOf(XK_space)), 0);
        EXPECT_EQ(desk.recorder.count({Type::keyDown, mac_key::space, platform::modifier::option}), 1);
    }
}

TEST(EventTapX11, PassesTheRepeatsOfAPassedKey) {
    KeyDesk desk;
    desk.tap.setSwallowable({optionSpace});
    ASSERT_TRUE(desk.start());
    pauseMilliseconds(100);
    desk.hardware.down(XK_Alt_L);
    desk.hardware.down(XK_space);
    const auto key = desk.hardware.keycodeOf(XK_space);
    EXPECT_TRUE(eventually(5, [&] { return desk.window.presses(key) > 3; }));
    desk.hardware.up(XK_space);
    desk.hardware.up(XK_Alt_L);
    EXPECT_TRUE(eventually(5, [&] { return desk.window.releases(key) >= 1; }));
}

TEST(EventTapX11, RegainsACombinationFromACoreGrab) {
    KeyDesk desk;
    desk.swallowOptionSpace();
    ASSERT_TRUE(desk.start());
    pauseMilliseconds(100);
    ForeignGrab foreign(desk.display.name(), ForeignGrab::Kind::core, desk.hardware.keycodeOf(XK_space), 8);
    desk.hardware.tap(XK_a);
    for (int round = 0; round < 3; ++round) {
        foreign.renew();
        desk.hardware.down(XK_Alt_L);
        pauseMilliseconds(60);
        desk.hardware.tap(XK_space);
        desk.hardware.up(XK_Alt_L);
    }
    desk.waitForReports(desk.hardware);
    EXPECT_TRUE(desk.recorder.taken().empty());
}

TEST(EventTapX11, ReportsACombinationThatAnotherProgramAlwaysTakesBack) {
    KeyDesk desk;
    desk.swallowOptionSpace();
    ASSERT_TRUE(desk.start());
    pauseMilliseconds(100);
    ForeignGrab foreign(desk.display.name(), ForeignGrab::Kind::core, desk.hardware.keycodeOf(XK_space), 8);
    desk.hardware.down(XK_Alt_L);
    for (int round = 0; round < 3; ++round) {
        pauseMilliseconds(2300); // when the tap no longer tries by itself
        foreign.renew();
        desk.hardware.tap(XK_space);
    }
    desk.hardware.up(XK_Alt_L);
    EXPECT_TRUE(eventually(5, [&] { return desk.recorder.taken().size() == 1; }));
}

TEST(EventTapX11, ContinuesAfterAChangeOfTheLayout) {
    KeyDesk desk;
    desk.swallowOptionSpace();
    ASSERT_TRUE(desk.start());
    for (const std::string layout : {"de", "fr", "ru", "us"}) {
        ASSERT_EQ(run({"setxkbmap", "-display", desk.display.name(), "-layout", layout}), 0);
        pauseMilliseconds(200);
        desk.recorder.clear();
        desk.hardware.down(XK_Alt_L);
        desk.hardware.tap(XK_space);
        desk.hardware.up(XK_Alt_L);
        desk.hardware.downKeycode(24);
        desk.hardware.upKeycode(24);
        EXPECT_TRUE(desk.isReported({Type::keyDown, mac_key::space, platform::modifier::option})) << layout;
        EXPECT_TRUE(desk.isReported({Type::keyDown, 12, 0})) << "the place of Q in " << layout;
        EXPECT_EQ(desk.window.presses(65), 0) << layout;
    }
}

TEST(EventTapX11, FollowsExchangedModifiers) {
    KeyDesk desk;
    desk.swallowOptionSpace();
    ASSERT_TRUE(desk.start());
    ASSERT_EQ(run({"setxkbmap", "-display", desk.display.name(), "-option", "altwin:swap_alt_win"}), 0);
    pauseMilliseconds(200);
    constexpr unsigned int leftWindowsKey = 133;
    desk.hardware.downKeycode(leftWindowsKey);
    desk.hardware.tap(XK_space);
    desk.hardware.upKeycode(leftWindowsKey);
    desk.waitForReports(desk.hardware);
    EXPECT_EQ(desk.window.presses(65), 0);
}

TEST(EventTapX11, DoesNotCountAltGrAsAModifier) {
    KeyDesk desk;
    ASSERT_EQ(run({"setxkbmap", "-display", desk.display.name(), "-layout", "de"}), 0);
    ASSERT_TRUE(desk.start());
    desk.hardware.downKeycode(108);
    EXPECT_TRUE(desk.isReported({Type::flagsChanged, 61, 0}));
    desk.hardware.upKeycode(108);
}

TEST(EventTapX11, DoesNotWakeUpWithoutEvents) {
    KeyDesk desk;
    desk.swallowOptionSpace();
    ASSERT_TRUE(desk.start());
    desk.hardware.chord(XK_Alt_L, XK_space);
    pauseMilliseconds(2000); // after the last attempt to grab
    const long before = tapThreadWakeUps();
    pauseMilliseconds(3000);
    ASSERT_GE(before, 1);
    EXPECT_EQ(tapThreadWakeUps() - before, 0);
}

TEST(EventTapX11, EndsWhenTheDisplayEnds) {
    // Without the other clients of a desk, because Xlib ends its process when the server ends.
    PrivateDisplay display;
    const runtime::SystemClock clock;
    const auto ledger = std::make_shared<SyntheticKeyLedger>();
    TapRecorder recorder;
    X11EventTap tap(clock, ledger, display.name());
    X11SyntheticInput input(clock, ledger, {}, display.name());
    tap.setSwallowable({optionSpace});
    ASSERT_TRUE(tap.start(recorder.callback()));
    ASSERT_TRUE(eventually(5, [] { return tapThreadWakeUps() >= 0; }));

    display.signalServer(SIGKILL);
    EXPECT_TRUE(eventually(5, [&] { return recorder.has({Type::tapDisabled, 0, 0}); }));
    EXPECT_TRUE(eventually(5, [] { return tapThreadWakeUps() == -1; })) << "the thread has ended";
    std::atomic<bool> hasRun = false;
    tap.perform([&] { hasRun = true; });
    input.pressPaste();
    input.pressUndo();
    tap.stop();
    EXPECT_FALSE(hasRun);
    EXPECT_EQ(recorder.events().size(), 1u);
    EXPECT_FALSE(tap.probe());
    EXPECT_FALSE(tap.start(recorder.callback()));
}

TEST(EventTapX11, StopsWhileTheServerHangs) {
    KeyDesk desk;
    desk.swallowOptionSpace();
    ASSERT_TRUE(desk.start());
    pauseMilliseconds(100);
    desk.display.signalServer(SIGSTOP);
    desk.tap.setSwallowable({{mac_key::letterX, platform::modifier::option}});
    pauseMilliseconds(50);
    const double before = monotonicSeconds();
    desk.tap.stop();
    const double taken = monotonicSeconds() - before;
    desk.display.signalServer(SIGCONT);
    EXPECT_LT(taken, 1.5);
}

} // namespace sonvale::tests
