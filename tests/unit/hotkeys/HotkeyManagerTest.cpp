#include "hotkeys/HotkeyManager.h"

#include "hotkeys/HotkeyBindingStore.h"
#include "tests/fakes/FakeEventTap.h"
#include "tests/support/TestRuntime.h"
#include "tests/unit/hotkeys/TestKeys.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <memory>
#include <thread>
#include <tuple>
#include <vector>

namespace sonvale::hotkeys {

namespace {

namespace modifier = platform::modifier;
using platform::KeyVerdict;

/// Deliveries, each with the milliseconds since the beginning of the test.
using Heard = std::vector<std::tuple<int, HotkeyAction, HotkeyEventType>>;

/// A tap whose thread runs its blocks only when the test says so, after later events.
class SlowTap final : public platform::EventTap {
public:
    bool probe() override { return true; }
    bool start(Callback newCallback) override {
        callback = std::move(newCallback);
        return true;
    }
    void stop() override { callback = nullptr; }
    void enable() override {}
    void perform(std::function<void()> block) override { blocks.push_back(std::move(block)); }
    void setSwallowable(std::vector<platform::KeyCombination> /*combinations*/) override {}
    void setOnTaken(std::function<void(platform::KeyCombination)> /*onTaken*/) override {}

    Callback callback;
    std::vector<std::function<void()>> blocks;
};

class HotkeyManagerTest : public testing::Test {
protected:
    HotkeyManagerTest() {
        begin = runtime.clock().now();
        manager = std::make_unique<HotkeyManager>(runtime.main(), runtime.clock(), tap);
        manager->setOnAction([this](HotkeyAction action, HotkeyEventType type) {
            EXPECT_TRUE(runtime.main().isCurrent());
            heard.emplace_back(milliseconds(), action, type);
        });
    }

    void listen(HotkeyBindings bindings = HotkeyBindingStore::defaults()) {
        onMain([&] {
            EXPECT_TRUE(manager->start());
            manager->updateBindings(bindings);
        });
        keyboard.runBlocks();
    }

    void onMain(const std::function<void()>& work) {
        runtime.main().post(work);
        runtime.runUntilIdle();
    }

    KeyVerdict press(int keyCode) { return settled(keyboard.keyDown(keyCode)); }
    KeyVerdict release(int keyCode) { return settled(keyboard.keyUp(keyCode)); }
    KeyVerdict hold(std::uint64_t modifiers) { return settled(keyboard.holdModifiers(modifiers)); }

    /// Advances time; the tap's thread runs at the end of each millisecond.
    void pass(int milliseconds) {
        for (int i = 0; i < milliseconds; ++i) {
            runtime.clock().advance(0.001);
            keyboard.runBlocks();
            runtime.runUntilIdle();
        }
    }

    int milliseconds() { return static_cast<int>(std::lround((runtime.clock().now() - begin) * 1000)); }

    tests::TestRuntime runtime;
    tests::FakeEventTap tap;
    tests::FakeEventTap::Control& keyboard = tap.control();
    double begin = 0;
    Heard heard;
    std::unique_ptr<HotkeyManager> manager;

private:
    KeyVerdict settled(KeyVerdict verdict) {
        runtime.runUntilIdle();
        return verdict;
    }
};

} // namespace

TEST_F(HotkeyManagerTest, DeliversPushToTalkDownAfter150MillisecondsAndUpAtTheRelease) {
    listen();
    EXPECT_EQ(hold(modifier::option), KeyVerdict::pass);
    pass(149);
    EXPECT_EQ(heard, Heard{});
    pass(251);
    EXPECT_EQ(hold(0), KeyVerdict::pass);
    EXPECT_EQ(heard, (Heard{{150, HotkeyAction::pushToTalk, down}, {400, HotkeyAction::pushToTalk, up}}));
}

TEST_F(HotkeyManagerTest, DeliversAQuickTapAtItsRelease) {
    listen();
    hold(modifier::option);
    pass(50);
    hold(0);
    pass(500);
    EXPECT_EQ(heard, (Heard{{50, HotkeyAction::pushToTalk, down}, {50, HotkeyAction::pushToTalk, up}}));
    EXPECT_EQ(runtime.clock().pending(), 0U);
}

TEST_F(HotkeyManagerTest, MasksTheHeldModifiersWhenTheirActionGoesDown) {
    listen();
    hold(modifier::option);
    pass(149);
    EXPECT_EQ(keyboard.maskCount(), 0);
    pass(1);
    EXPECT_EQ(keyboard.maskCount(), 1);
    hold(0);
    pass(500);
    EXPECT_EQ(keyboard.maskCount(), 1);
}

TEST_F(HotkeyManagerTest, MasksNoModifiersThatBelongToAnotherShortcutOrATap) {
    listen();
    hold(modifier::option);
    press(space);
    release(space);
    hold(0);
    hold(modifier::option);
    press(letterX);
    release(letterX);
    hold(0);
    hold(modifier::option);
    pass(50);
    hold(0);
    pass(500);
    EXPECT_EQ(keyboard.maskCount(), 0);
}

TEST_F(HotkeyManagerTest, MasksTheModifiersOfATapThatEndsADictation) {
    listen();
    onMain([&] { manager->setDictating(true); });
    hold(modifier::option);
    EXPECT_EQ(keyboard.maskCount(), 1);
    pass(50);
    hold(0);
    EXPECT_EQ(keyboard.maskCount(), 1);
}

TEST_F(HotkeyManagerTest, EndsTheRepeatsOfTheCancelKey) {
    listen();
    EXPECT_EQ(press(escape), KeyVerdict::pass);
    EXPECT_EQ(keyboard.maskCount(), 1);
    release(escape);
    EXPECT_EQ(keyboard.maskCount(), 1);
    hold(modifier::option);
    pass(200);
    press(escape);
    EXPECT_EQ(keyboard.maskCount(), 2) << "for Option alone, and not for an Escape that is not recognized";
}

TEST_F(HotkeyManagerTest, GuardsModifiersOnRequestOnly) {
    listen();
    const auto tapped = [&] {
        heard.clear();
        hold(modifier::option);
        pass(50);
        hold(0);
        return heard.size();
    };
    EXPECT_EQ(tapped(), 2U);
    onMain([&] { manager->setModifierGuard(true); });
    EXPECT_EQ(tapped(), 0U);
    onMain([&] { manager->setModifierGuard(false); });
    EXPECT_EQ(tapped(), 2U);
}

TEST_F(HotkeyManagerTest, MeasuresAGuardedPressFromItsModifiersDown) {
    onMain([&] { manager->setModifierGuard(true); });
    listen();
    hold(modifier::option);
    pass(299);
    hold(0);
    hold(modifier::option);
    pass(301);
    hold(0);
    EXPECT_EQ(heard, (Heard{{150, HotkeyAction::pushToTalk, down},
                            {299, HotkeyAction::pushToTalk, HotkeyEventType::discarded},
                            {449, HotkeyAction::pushToTalk, down},
                            {600, HotkeyAction::pushToTalk, up}}));
}

TEST_F(HotkeyManagerTest, DeliversNothingForAChordOfModifiers) {
    listen();
    hold(modifier::option);
    pass(100);
    hold(modifier::option | modifier::shift);
    EXPECT_EQ(runtime.clock().pending(), 0U);
    pass(500);
    EXPECT_EQ(heard, Heard{});
}

TEST_F(HotkeyManagerTest, DeliversNothingIfShiftIsHeldBeforeOption) {
    listen();
    hold(modifier::shift);
    hold(modifier::option | modifier::shift);
    pass(500);
    EXPECT_EQ(heard, Heard{});
}

TEST_F(HotkeyManagerTest, CancelsAHeldPushToTalkWhenShiftIsAdded) {
    listen();
    hold(modifier::option);
    pass(200);
    hold(modifier::option | modifier::shift);
    hold(0);
    pass(500);
    EXPECT_EQ(heard, (Heard{{150, HotkeyAction::pushToTalk, down}, {200, HotkeyAction::cancel, down}}));
}

TEST_F(HotkeyManagerTest, TurnsOptionAndSpaceIntoHandsFree) {
    listen();
    hold(modifier::option);
    pass(60);
    EXPECT_EQ(press(space), KeyVerdict::swallow);
    pass(140);
    EXPECT_EQ(release(space), KeyVerdict::swallow);
    hold(0);
    pass(500);
    EXPECT_EQ(heard, (Heard{{60, HotkeyAction::handsFree, down}, {200, HotkeyAction::handsFree, up}}));
}

TEST_F(HotkeyManagerTest, PassesALetterAndStartsAtOnce) {
    listen();
    hold(modifier::option);
    pass(60);
    EXPECT_EQ(press(letterX), KeyVerdict::pass);
    pass(500);
    EXPECT_EQ(heard, (Heard{{60, HotkeyAction::pushToTalk, down}}));
}

TEST_F(HotkeyManagerTest, EndsHandsFreeWithTheReleaseOfOptionAndPassesTheSpaceBarsRelease) {
    listen();
    hold(modifier::option);
    press(space);
    hold(0);
    EXPECT_EQ(release(space), KeyVerdict::pass);
    EXPECT_EQ(heard, (Heard{{0, HotkeyAction::handsFree, down}, {0, HotkeyAction::handsFree, up}}));
}

TEST_F(HotkeyManagerTest, PassesTheCancelKeyInBothDirections) {
    listen();
    EXPECT_EQ(press(escape), KeyVerdict::pass);
    EXPECT_EQ(release(escape), KeyVerdict::pass);
    EXPECT_EQ(heard, (Heard{{0, HotkeyAction::cancel, down}, {0, HotkeyAction::cancel, up}}));
}

TEST_F(HotkeyManagerTest, PassesEverythingBeforeItHasBindings) {
    onMain([&] { EXPECT_TRUE(manager->start()); });
    hold(modifier::option);
    EXPECT_EQ(press(space), KeyVerdict::pass);
    pass(500);
    EXPECT_EQ(heard, Heard{});
}

TEST_F(HotkeyManagerTest, UsesBindingsThatWereSetBeforeTheStart) {
    onMain([&] {
        manager->updateBindings(HotkeyBindingStore::defaults());
        EXPECT_TRUE(manager->start());
    });
    hold(modifier::option);
    EXPECT_EQ(press(space), KeyVerdict::swallow);
    EXPECT_EQ(heard, (Heard{{0, HotkeyAction::handsFree, down}}));
}

TEST_F(HotkeyManagerTest, ChangesTheBindingsOnTheTapsThread) {
    listen();
    hold(modifier::option);
    press(space);
    heard.clear();
    onMain([&] { manager->updateBindings({}); });

    // The block has not run, so the press still belongs to the tap. The block runs before the next event.
    EXPECT_EQ(release(space), KeyVerdict::pass);
    EXPECT_EQ(heard, Heard{});
}

TEST_F(HotkeyManagerTest, ForgetsAWaitingActionWhenTheBindingsChange) {
    listen();
    hold(modifier::option);
    pass(100);
    onMain([&] { manager->updateBindings(HotkeyBindingStore::defaults()); });
    pass(500);
    EXPECT_EQ(heard, Heard{});
}

TEST_F(HotkeyManagerTest, GivesAPressAfterAChangeOfBindingsItsWholeDelay) {
    listen();
    hold(modifier::option);
    pass(100);
    onMain([&] { manager->updateBindings(HotkeyBindingStore::defaults()); });
    hold(0);
    hold(modifier::option);
    pass(500);
    EXPECT_EQ(heard, (Heard{{250, HotkeyAction::pushToTalk, down}}));
}

TEST(HotkeyManager, IgnoresALateTimerOfAnEarlierPress) {
    tests::TestRuntime runtime;
    SlowTap tap;
    Heard heard;
    auto manager = std::make_unique<HotkeyManager>(runtime.main(), runtime.clock(), tap);
    manager->setOnAction(
        [&](HotkeyAction action, HotkeyEventType type) { heard.emplace_back(0, action, type); });
    runtime.main().post([&] {
        manager->updateBindings(HotkeyBindingStore::defaults());
        manager->start();
    });
    runtime.runUntilIdle();

    const auto hold = [&](std::uint64_t modifiers) {
        tap.callback({platform::KeyEvent::Type::flagsChanged, 58, modifiers});
    };
    hold(modifier::option);
    runtime.clock().advance(0.15);
    ASSERT_EQ(tap.blocks.size(), 1U);
    hold(0);
    hold(modifier::option);
    tap.blocks.front()();
    runtime.runUntilIdle();
    EXPECT_EQ(heard, (Heard{{0, HotkeyAction::pushToTalk, down}, {0, HotkeyAction::pushToTalk, up}}));

    runtime.clock().advance(0.15);
    ASSERT_EQ(tap.blocks.size(), 2U);
    tap.blocks.back()();
    runtime.runUntilIdle();
    EXPECT_EQ(heard.size(), 3U);
}

TEST_F(HotkeyManagerTest, GivesTheTapTheCombinationsToSwallow) {
    auto bindings = HotkeyBindingStore::defaults();
    bindings.at(HotkeyAction::commandMode).isEnabled = false;
    bindings.at(HotkeyAction::handsFree)
        .configs.push_back({f5, modifier::shift | 0x10020, "odd bits beside the modifiers"});
    bindings.at(HotkeyAction::handsFree)
        .configs.push_back({(std::int64_t{1} << 32) + f5, 0, "no key at all"});
    listen(bindings);
    EXPECT_EQ(keyboard.swallowable(),
              (std::vector<platform::KeyCombination>{{space, modifier::option},
                                                     {f5, modifier::shift},
                                                     {9, modifier::command | modifier::option}}));
}

TEST_F(HotkeyManagerTest, EnablesADisabledTapAndKeepsThePress) {
    listen();
    hold(modifier::option);
    pass(150);
    keyboard.disable();
    EXPECT_EQ(keyboard.enableCount(), 1);
    hold(0);
    EXPECT_EQ(heard, (Heard{{150, HotkeyAction::pushToTalk, down}, {150, HotkeyAction::pushToTalk, up}}));
}

TEST_F(HotkeyManagerTest, StartsTheTapOnce) {
    onMain([&] {
        EXPECT_TRUE(manager->start());
        EXPECT_FALSE(*manager->isEnabled());
        EXPECT_TRUE(manager->start());
    });
    EXPECT_TRUE(*manager->isEnabled());
    EXPECT_EQ(keyboard.startCount(), 1);
}

TEST_F(HotkeyManagerTest, CanBeStartedAfterARefusal) {
    keyboard.setPermitted(false);
    onMain([&] {
        manager->updateBindings(HotkeyBindingStore::defaults());
        EXPECT_FALSE(manager->start());
    });
    EXPECT_FALSE(*manager->isEnabled());

    keyboard.setPermitted(true);
    onMain([&] { EXPECT_TRUE(manager->start()); });
    EXPECT_TRUE(*manager->isEnabled());
    hold(modifier::option);
    EXPECT_EQ(press(space), KeyVerdict::swallow);
}

TEST_F(HotkeyManagerTest, DropsThePressesWithoutAReceiver) {
    listen();
    onMain([&] { manager->setOnAction({}); });
    hold(modifier::option);
    EXPECT_EQ(press(space), KeyVerdict::swallow);
    EXPECT_EQ(heard, Heard{});
}

TEST_F(HotkeyManagerTest, StopsTheTapAtItsDestruction) {
    listen();
    bool enabled = true;
    const auto subscription = manager->isEnabled().subscribe([&](bool value) { enabled = value; });
    hold(modifier::option);
    pass(100);
    onMain([&] {
        manager.reset();
        EXPECT_TRUE(enabled);
    });
    EXPECT_FALSE(enabled);
    EXPECT_FALSE(keyboard.isRunning());
    EXPECT_EQ(runtime.clock().pending(), 0U);
    pass(500);
    EXPECT_EQ(heard, Heard{});
}

TEST_F(HotkeyManagerTest, DeliversNothingAfterItsDestruction) {
    listen();
    keyboard.holdModifiers(modifier::option);
    keyboard.keyDown(space); // the delivery is queued and has not run
    manager.reset();
    runtime.runUntilIdle();
    EXPECT_EQ(heard, Heard{});
}

TEST_F(HotkeyManagerTest, MayBeDestroyedByItsReceiver) {
    listen();
    int calls = 0;
    manager->setOnAction([&](HotkeyAction, HotkeyEventType) {
        ++calls;
        manager.reset();
    });
    hold(modifier::option);
    hold(0);
    EXPECT_EQ(calls, 1);
}

TEST_F(HotkeyManagerTest, DeliversOneDownAndOneUpForAnyOrderOfTheTimer) {
    constexpr int presses = 2000;
    listen();
    std::atomic<bool> isTyping = true;
    std::thread typist([&] {
        for (int i = 0; i < presses; ++i) {
            keyboard.holdModifiers(modifier::option);
            keyboard.runBlocks();
            keyboard.holdModifiers(0);
        }
        isTyping = false;
    });
    while (isTyping) {
        runtime.clock().advance(0.15);
        runtime.runUntilIdle();
    }
    typist.join();
    runtime.runUntilIdle();

    ASSERT_EQ(heard.size(), 2U * presses);
    for (std::size_t i = 0; i < heard.size(); ++i) {
        EXPECT_EQ(std::get<1>(heard[i]), HotkeyAction::pushToTalk);
        EXPECT_EQ(std::get<2>(heard[i]), i % 2 == 0 ? down : up);
    }
}

TEST_F(HotkeyManagerTest, MayBeDestroyedDuringPressesAndTimers) {
    sonvale::runtime::ManualClock clock;
    std::atomic<bool> isBusy = true;
    std::thread typist([&] {
        while (isBusy) {
            keyboard.holdModifiers(modifier::option);
            keyboard.holdModifiers(0);
        }
    });
    std::thread time([&] {
        while (isBusy)
            clock.advance(0.05);
    });
    for (int i = 0; i < 200; ++i) {
        onMain([&] {
            manager = std::make_unique<HotkeyManager>(runtime.main(), clock, tap);
            manager->updateBindings(HotkeyBindingStore::defaults());
            EXPECT_TRUE(manager->start());
        });
        onMain([&] { manager.reset(); });
        EXPECT_FALSE(keyboard.isRunning());
    }
    isBusy = false;
    typist.join();
    time.join();
}

TEST_F(HotkeyManagerTest, MayBeDestroyedWithoutAStart) {
    onMain([&] { manager.reset(); });
    EXPECT_FALSE(keyboard.isRunning());
}

} // namespace sonvale::hotkeys
