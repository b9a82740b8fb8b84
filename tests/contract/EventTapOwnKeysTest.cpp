#include "tests/contract/KeyDesk.h"
#include "tests/support/ChildProcess.h"

#include <future>
#include <utility>
#include <vector>

// Keys that the program presses itself, beside those of its user and of other programs.

namespace sonvale::tests {

namespace {

namespace modifier = platform::modifier;
using platform::KeyEvent;
using Type = KeyEvent::Type;

constexpr int letterV = 9;
constexpr int letterX = 7;
constexpr int leftControl = 59;

/// Keeps the tap's thread from reading events.
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

} // namespace

TEST(EventTapX11, ReportsKeysOfOtherProgramsThatItReadsAfterAnOwnPasteHasBegun) {
    KeyDesk desk;
    ASSERT_TRUE(desk.start());
    desk.xtest.down(XK_Control_L);
    ASSERT_TRUE(desk.isTold({Type::flagsChanged, leftControl, modifier::control}));
    {
        const BusyTap busy(desk.tap);
        desk.xtest.tap(XK_v);
        desk.xtest.up(XK_Control_L);
        desk.input.pressPaste();
    }
    desk.xtest.tap(XK_x);
    ASSERT_TRUE(desk.isTold({Type::keyUp, letterX, 0})) << desk.recorder.text();
    EXPECT_EQ(desk.recorder.count({Type::keyDown, letterV, modifier::control}), 1) << desk.recorder.text();
    EXPECT_EQ(desk.recorder.count({Type::keyUp, letterV, modifier::control}), 1);
    EXPECT_EQ(desk.recorder.count({Type::flagsChanged, leftControl, 0}), 1);
    EXPECT_EQ(desk.recorder.events().size(), 6u) << desk.recorder.text();
    EXPECT_EQ(desk.window.presses(desk.xtest.keycodeOf(XK_v)), 2);
}

} // namespace sonvale::tests
