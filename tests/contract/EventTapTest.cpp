#include "adapters/x11/keys/X11EventTap.h"
#include "adapters/x11/keys/X11KeyCodes.h"

#include "runtime/SystemClock.h"
#include "tests/contract/EventTapContract.h"
#include "tests/fakes/FakeEventTap.h"
#include "tests/support/KeyWindow.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/TestKeyboard.h"

#include <set>

namespace sonvale::tests {

namespace {

/// The fake. Its keyboard is its control.
class FakeBench {
public:
    platform::EventTap& tap() { return tap_; }

    void forbid() { tap_.control().setPermitted(false); }
    void settle() { tap_.control().runBlocks(); }
    void waitForSwallowables() {}

    void down(int keyCode) { press(keyCode, true); }
    void up(int keyCode) { press(keyCode, false); }

    bool reachesApplication(int keyCode) {
        const bool isPassed = press(keyCode, true) == platform::KeyVerdict::pass;
        press(keyCode, false);
        return isPassed;
    }

    void takeForGood(platform::KeyCombination) {}
    void touch(platform::KeyCombination combination) { tap_.control().take(combination); }

private:
    platform::KeyVerdict press(int keyCode, bool isPress) {
        if (flagOf(keyCode) == 0)
            return isPress ? tap_.control().keyDown(keyCode) : tap_.control().keyUp(keyCode);
        if (isPress)
            held_.insert(keyCode);
        else
            held_.erase(keyCode);
        std::uint64_t flags = 0;
        for (const int key : held_)
            flags |= flagOf(key);
        return tap_.control().holdModifiers(flags, keyCode);
    }

    static std::uint64_t flagOf(int keyCode) {
        switch (keyCode) {
        case 58:
        case 61:
            return platform::modifier::option;
        case 55:
            return platform::modifier::command;
        case 59:
            return platform::modifier::control;
        case 56:
            return platform::modifier::shift;
        default:
            return 0;
        }
    }

    FakeEventTap tap_;
    std::set<int> held_;
};

/// The adapter on a private display with one window.
template <TestKeyboard::Source TypedBy>
class X11Bench {
public:
    platform::EventTap& tap() { return *tap_; }

    void forbid() { tap_ = std::make_unique<adapters::x11::X11EventTap>(clock_, ledger_, ":9999"); }
    void settle() {}

    void waitForSwallowables() {
        // Blocks run in order, and the grabs are made right after the block that requests them.
        std::atomic<bool> isDone = false;
        tap_->perform([&] { isDone = true; });
        ASSERT_TRUE(eventually(5, [&] { return isDone.load(); }));
        pauseMilliseconds(100);
    }

    void down(int keyCode) { keyboard_.downKeycode(adapters::x11::keycodesOf(keyCode).front()); }
    void up(int keyCode) { keyboard_.upKeycode(adapters::x11::keycodesOf(keyCode).front()); }

    bool reachesApplication(int keyCode) {
        const auto keycode = adapters::x11::keycodesOf(keyCode).front();
        const int before = window_.presses(keycode);
        down(keyCode);
        const bool hasArrived = eventually(0.4, [&] { return window_.presses(keycode) > before; });
        up(keyCode);
        return hasArrived;
    }

    void takeForGood(platform::KeyCombination combination) {
        constexpr unsigned int alt = 8; // Mod1
        ASSERT_EQ(combination.modifiers, platform::modifier::option);
        const auto keycode = adapters::x11::keycodesOf(combination.keyCode).front();
        foreign_ = std::make_unique<ForeignGrab>(display_.name(), ForeignGrab::Kind::xi2, keycode, alt);
    }

    void touch(platform::KeyCombination combination) {
        down(58);
        pauseMilliseconds(60);
        down(combination.keyCode);
        pauseMilliseconds(60);
        up(combination.keyCode);
        up(58);
    }

private:
    PrivateDisplay display_;
    runtime::SystemClock clock_;
    std::shared_ptr<adapters::x11::SyntheticKeyLedger> ledger_ =
        std::make_shared<adapters::x11::SyntheticKeyLedger>();
    std::unique_ptr<adapters::x11::X11EventTap> tap_ =
        std::make_unique<adapters::x11::X11EventTap>(clock_, ledger_, display_.name());
    TestKeyboard keyboard_{display_.name(), TypedBy};
    KeyWindow window_{display_.name()};
    std::unique_ptr<ForeignGrab> foreign_;
};

struct Names {
    template <class Bench>
    static std::string GetName(int) {
        if (std::is_same_v<Bench, FakeBench>)
            return "Fake";
        return std::is_same_v<Bench, X11Bench<TestKeyboard::Source::xtest>> ? "X11Xtest" : "X11Hardware";
    }
};

using Benches = testing::Types<FakeBench, X11Bench<TestKeyboard::Source::xtest>,
                               X11Bench<TestKeyboard::Source::hardware>>;

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(All, EventTapContract, Benches, Names);

} // namespace sonvale::tests
