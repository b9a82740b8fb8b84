#include "tests/contract/x11/KeyDesk.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/MacKeyCodes.h"

#include <future>
#include <utility>
#include <vector>

// Keys that the program presses itself, mixed with keys of the user and of other programs.

namespace sonvale::tests {

namespace {

namespace modifier = platform::modifier;
using platform::KeyEvent;
using Type = KeyEvent::Type;
using Source = TestKeyboard::Source;

/// The lowest key code of Xvfb's keyboard without a meaning.
constexpr unsigned int maskKeycode = 8;

/// Prevents the tap's thread from reading events.
class BusyTap {
public:
    explicit BusyTap(platform::EventTap& tap) {
        std::promise<void> begun;
        auto hasBegun = begun.get_future();
        tap.perform([begun = std::make_shared<std::promise<void>>(std::move(begun)),
                     end = end_.get_future().share()] {
            begun->set_value();
            end.wait();
        });
        hasBegun.wait();
    }
    ~BusyTap() { end_.set_value(); }
    BusyTap(const BusyTap&) = delete;
    BusyTap& operator=(const BusyTap&) = delete;

private:
    std::promise<void> end_;
};

void maskHeldKeys(platform::EventTap& tap) {
    std::promise<void> done;
    auto isDone = done.get_future();
    tap.perform([&tap, done = std::make_shared<std::promise<void>>(std::move(done))] {
        tap.maskHeldKeys();
        done->set_value();
    });
    isDone.wait();
}

struct OwnChord {
    platform::KeyCombination hotkey;
    void (platform::SyntheticInput::*press)();
    unsigned long keysym;
    std::string windowClass;
};

} // namespace

TEST(EventTapX11, ReportsKeysOfOtherProgramsReadAfterTheStartOfAPaste) {
    KeyDesk desk;
    ASSERT_TRUE(desk.start());
    desk.xtest.down(XK_Control_L);
    ASSERT_TRUE(desk.isReported({Type::flagsChanged, mac_key::leftControl, modifier::control}));
    {
        const BusyTap busy(desk.tap);
        desk.xtest.tap(XK_v);
        desk.xtest.up(XK_Control_L);
        desk.input.pressPaste();
    }
    desk.xtest.tap(XK_x);
    ASSERT_TRUE(desk.isReported({Type::keyUp, mac_key::letterX, 0})) << desk.recorder.text();
    EXPECT_EQ(desk.recorder.count({Type::keyDown, mac_key::letterV, modifier::control}), 1)
        << desk.recorder.text();
    EXPECT_EQ(desk.recorder.count({Type::keyUp, mac_key::letterV, modifier::control}), 1);
    EXPECT_EQ(desk.recorder.count({Type::flagsChanged, mac_key::leftControl, 0}), 1);
    EXPECT_EQ(desk.recorder.events().size(), 6u) << desk.recorder.text();
    EXPECT_EQ(desk.window.presses(desk.xtest.keycodeOf(XK_v)), 2);
}

class OwnChordAsHotkey : public testing::TestWithParam<OwnChord> {};

TEST_P(OwnChordAsHotkey, ArrivesAfterTheUserHasPressedIt) {
    const auto& chord = GetParam();
    KeyDesk desk(WindowManager::none, chord.windowClass);
    desk.tap.setSwallowable({chord.hotkey});
    desk.recorder.swallow(chord.hotkey);
    ASSERT_TRUE(desk.start());
    pauseMilliseconds(100);
    const auto keycode = desk.hardware.keycodeOf(chord.keysym);
    const bool hasShift = (chord.hotkey.modifiers & modifier::shift) != 0;

    desk.hardware.down(XK_Control_L);
    if (hasShift)
        desk.hardware.down(XK_Shift_L);
    desk.hardware.tap(chord.keysym);
    if (hasShift)
        desk.hardware.up(XK_Shift_L);
    desk.hardware.up(XK_Control_L);
    ASSERT_TRUE(desk.isReported({Type::keyDown, chord.hotkey.keyCode, chord.hotkey.modifiers}));
    ASSERT_TRUE(desk.isReported({Type::flagsChanged, mac_key::leftControl, 0}));
    EXPECT_EQ(desk.window.presses(keycode), 0) << "it is the user's hotkey";

    for (int round = 1; round <= 3; ++round) {
        (desk.input.*chord.press)();
        EXPECT_TRUE(eventually(5, [&] { return desk.window.presses(keycode) == round; })) << round;
    }
    EXPECT_EQ(desk.recorder.count({Type::keyDown, chord.hotkey.keyCode, chord.hotkey.modifiers}), 1);
    EXPECT_FALSE(desk.hardware.isAnyKeyDown());
}

INSTANTIATE_TEST_SUITE_P(
    All, OwnChordAsHotkey,
    testing::Values(
        OwnChord{{mac_key::letterV, modifier::control}, &platform::SyntheticInput::pressPaste, XK_v, ""},
        OwnChord{{mac_key::letterV, modifier::control | modifier::shift},
                 &platform::SyntheticInput::pressPaste,
                 XK_v,
                 "Xfce4-terminal"},
        OwnChord{{mac_key::letterC, modifier::control}, &platform::SyntheticInput::pressCopy, XK_c, ""},
        OwnChord{{mac_key::letterZ, modifier::control}, &platform::SyntheticInput::pressUndo, XK_z, ""}));

class MaskedKeys : public testing::TestWithParam<Source> {};

TEST_P(MaskedKeys, PressAMeaninglessKeyBetweenAModifiersPressAndRelease) {
    for (const auto& [keysym, keyCode, flag] :
         {std::tuple(XK_Alt_L, mac_key::leftOption, modifier::option),
          std::tuple(XK_Super_L, 55, modifier::command),
          std::tuple(XK_Control_L, mac_key::leftControl, modifier::control)}) {
        KeyDesk desk;
        auto& keyboard = GetParam() == Source::xtest ? desk.xtest : desk.hardware;
        ASSERT_TRUE(desk.start());
        keyboard.down(static_cast<unsigned long>(keysym));
        ASSERT_TRUE(desk.isReported({Type::flagsChanged, keyCode, flag}));
        maskHeldKeys(desk.tap);
        EXPECT_TRUE(eventually(5, [&] { return desk.window.releases(maskKeycode) == 1; }));
        EXPECT_EQ(desk.window.presses(maskKeycode), 1);
        EXPECT_NE(desk.window.stateOfLastPress(maskKeycode), 0u) << "while the modifier is held";
        EXPECT_EQ(desk.window.releases(keyboard.keycodeOf(static_cast<unsigned long>(keysym))), 0);
        keyboard.up(static_cast<unsigned long>(keysym));
        ASSERT_TRUE(desk.isReported({Type::flagsChanged, keyCode, 0}));
        EXPECT_EQ(desk.recorder.events().size(), 2u) << desk.recorder.text();
        EXPECT_FALSE(keyboard.isAnyKeyDown());
    }
}

TEST_P(MaskedKeys, StopRepeating) {
    KeyDesk desk;
    auto& keyboard = GetParam() == Source::xtest ? desk.xtest : desk.hardware;
    desk.recorder.setDecide([&](const KeyEvent& event) {
        if (event.type == Type::keyDown && event.keyCode == mac_key::escape)
            desk.tap.maskHeldKeys();
        return platform::KeyVerdict::pass;
    });
    ASSERT_TRUE(desk.start());
    const auto escapeKey = keyboard.keycodeOf(XK_Escape);
    const auto letterKey = keyboard.keycodeOf(XK_x);
    keyboard.down(XK_Escape);
    ASSERT_TRUE(eventually(5, [&] { return desk.window.releases(maskKeycode) == 1; }));
    pauseMilliseconds(1500); // Xvfb repeats after 660 ms
    keyboard.up(XK_Escape);
    keyboard.down(XK_x);
    EXPECT_TRUE(eventually(5, [&] { return desk.window.presses(letterKey) > 3; })) << "other keys do";
    keyboard.up(XK_x);
    EXPECT_EQ(desk.window.presses(escapeKey), 1);
}

INSTANTIATE_TEST_SUITE_P(All, MaskedKeys, testing::Values(Source::xtest, Source::hardware),
                         [](const auto& info) { return info.param == Source::xtest ? "xtest" : "hardware"; });

TEST(EventTapX11, ReportsTheKeyThatMeansEscapeAsEscape) {
    KeyDesk desk;
    ASSERT_EQ(run({"setxkbmap", "-display", desk.display.name(), "-option", "caps:swapescape"}), 0);
    ASSERT_TRUE(desk.start());
    constexpr unsigned int capsLockKey = 66;
    constexpr unsigned int escapeKey = 9;
    desk.hardware.downKeycode(capsLockKey);
    EXPECT_TRUE(desk.isReported({Type::keyDown, mac_key::escape, 0})) << desk.recorder.text();
    desk.hardware.upKeycode(capsLockKey);
    EXPECT_TRUE(desk.isReported({Type::keyUp, mac_key::escape, 0})) << desk.recorder.text();
    desk.recorder.clear();
    desk.hardware.downKeycode(escapeKey);
    desk.hardware.upKeycode(escapeKey);
    desk.waitForReports(desk.hardware);
    EXPECT_FALSE(desk.recorder.has({Type::keyDown, mac_key::escape, 0})) << desk.recorder.text();
}

TEST(EventTapX11, SwallowsTheKeyThatMeansEscape) {
    KeyDesk desk;
    const platform::KeyCombination optionEscape{mac_key::escape, modifier::option};
    ASSERT_EQ(run({"setxkbmap", "-display", desk.display.name(), "-option", "caps:escape"}), 0);
    desk.tap.setSwallowable({optionEscape});
    desk.recorder.swallow(optionEscape);
    ASSERT_TRUE(desk.start());
    pauseMilliseconds(100);
    constexpr unsigned int capsLockKey = 66;
    desk.hardware.down(XK_Alt_L);
    desk.hardware.downKeycode(capsLockKey);
    desk.hardware.upKeycode(capsLockKey);
    desk.hardware.tap(XK_x);
    desk.hardware.up(XK_Alt_L);
    EXPECT_TRUE(eventually(5, [&] { return desk.window.presses(desk.hardware.keycodeOf(XK_x)) == 1; }));
    EXPECT_EQ(desk.window.presses(capsLockKey), 0);
    EXPECT_FALSE(desk.recorder.has({Type::keyDown, mac_key::capsLock, modifier::option}));
}

} // namespace sonvale::tests
