#include "hotkeys/HotkeyBindingStore.h"
#include "hotkeys/HotkeyStateMachine.h"
#include "tests/unit/hotkeys/TestKeys.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace sonvale::hotkeys {

namespace {

namespace modifier = platform::modifier;
using platform::KeyVerdict;
using Type = platform::KeyEvent::Type;
using Delivery = HotkeyStateMachine::Delivery;
using Deliveries = std::vector<Delivery>;

/// The state machine with the default bindings and the guard turned on.
class ModifierGuard : public testing::Test {
protected:
    ModifierGuard() {
        machine.setBindings(HotkeyBindingStore::defaults());
        machine.setGuard(true);
    }

    void bind(HotkeyAction action, std::vector<HotkeyConfiguration> configs) {
        bindings[action] = {action, std::move(configs), true};
        machine.setBindings(bindings);
    }

    KeyVerdict press(int keyCode, std::uint64_t flags) { return send(Type::keyDown, keyCode, flags); }
    KeyVerdict release(int keyCode, std::uint64_t flags) { return send(Type::keyUp, keyCode, flags); }
    void hold(std::uint64_t flags) { EXPECT_EQ(send(Type::flagsChanged, -1, flags), KeyVerdict::pass); }

    /// Advances time; the delay ends 0.15 s after its beginning.
    void pass(double seconds) {
        now += seconds;
        if (isDelayed_ && now - delayBegan_ >= 0.15 - 1e-9) {
            isDelayed_ = false;
            take(machine.delayElapsed());
        }
    }

    Deliveries delivered() { return std::exchange(deliveries_, {}); }
    bool isDelayed() const { return isDelayed_; }

    HotkeyBindings bindings = HotkeyBindingStore::defaults();
    HotkeyStateMachine machine;
    double now = 100;

private:
    KeyVerdict send(Type type, int keyCode, std::uint64_t flags) {
        return take(machine.handle({type, keyCode, flags}, now));
    }

    KeyVerdict take(const HotkeyStateMachine::Decision& decision) {
        deliveries_.insert(deliveries_.end(), decision.deliveries().begin(), decision.deliveries().end());
        if (decision.delay != HotkeyStateMachine::Delay::leave) {
            isDelayed_ = decision.delay == HotkeyStateMachine::Delay::start;
            delayBegan_ = now;
        }
        return decision.verdict;
    }

    Deliveries deliveries_;
    bool isDelayed_ = false;
    double delayBegan_ = 0;
};

} // namespace

TEST_F(ModifierGuard, RecordsDuringALongPressOfModifiersAlone) {
    hold(modifier::option);
    pass(0.15);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}}));
    pass(0.15);
    hold(0);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, up}}));
}

TEST_F(ModifierGuard, DeliversNothingIfAnotherKeyGoesDownDuringTheDelay) {
    for (const int key : {tab, f4, escape, -1}) {
        hold(modifier::option);
        pass(0.1);
        EXPECT_EQ(press(key, modifier::option), KeyVerdict::pass) << key;
        EXPECT_FALSE(isDelayed()) << key;
        pass(1);
        EXPECT_EQ(press(key, modifier::option), KeyVerdict::pass) << key;
        EXPECT_EQ(release(key, modifier::option), KeyVerdict::pass) << key;
        hold(0);
        EXPECT_EQ(delivered(), Deliveries{}) << key;
    }
}

TEST_F(ModifierGuard, DiscardsAPressIfAnotherKeyGoesDownLater) {
    for (const int key : {tab, f4, escape, -1}) {
        hold(modifier::option);
        pass(2);
        delivered();
        EXPECT_EQ(press(key, modifier::option), KeyVerdict::pass) << key;
        EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, discarded}})) << key;
        EXPECT_EQ(release(key, modifier::option), KeyVerdict::pass) << key;
        pass(1);
        hold(0);
        EXPECT_EQ(delivered(), Deliveries{}) << key;
    }
}

TEST_F(ModifierGuard, DeliversNothingForATap) {
    hold(modifier::option);
    pass(0.05);
    hold(0);
    EXPECT_FALSE(isDelayed());
    pass(1);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(ModifierGuard, DiscardsAPressThatEndsTooSoonAfterItsModifierWentDown) {
    hold(modifier::option);
    pass(0.15);
    pass(0.14);
    hold(0);
    EXPECT_EQ(delivered(),
              (Deliveries{{HotkeyAction::pushToTalk, down}, {HotkeyAction::pushToTalk, discarded}}));
}

TEST_F(ModifierGuard, CancelsAtAnAddedModifierAsWithoutTheGuard) {
    hold(modifier::option);
    pass(1);
    hold(modifier::option | modifier::shift);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}, {HotkeyAction::cancel, down}}));
}

TEST_F(ModifierGuard, DoesNotBeginAPressWhenAnotherModifierGoesUp) {
    hold(modifier::option);
    hold(modifier::option | modifier::shift);
    press(tab, modifier::option | modifier::shift);
    hold(modifier::option);
    EXPECT_FALSE(isDelayed());
    pass(1);
    hold(0);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(ModifierGuard, DoesNotChangeTheProgramsOwnHotkeys) {
    hold(modifier::option);
    pass(0.1);
    EXPECT_EQ(press(space, modifier::option), KeyVerdict::swallow);
    release(space, modifier::option);
    hold(0);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::handsFree, down}, {HotkeyAction::handsFree, up}}));

    hold(modifier::option);
    pass(0.1);
    hold(modifier::option | modifier::command);
    EXPECT_EQ(press(letterV, modifier::option | modifier::command), KeyVerdict::swallow);
    release(letterV, modifier::option | modifier::command);
    hold(0);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pasteLastTranscript, down},
                                       {HotkeyAction::pasteLastTranscript, up}}));

    hold(modifier::option);
    pass(0.2);
    EXPECT_EQ(press(space, modifier::option), KeyVerdict::pass) << "a recording does not give way to it";
    pass(0.2);
    hold(0);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}, {HotkeyAction::pushToTalk, up}}));
}

TEST_F(ModifierGuard, ATapEndsARunningDictation) {
    machine.setDictating(true);
    hold(modifier::option);
    pass(0.05);
    hold(0);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}, {HotkeyAction::pushToTalk, up}}));

    hold(modifier::option);
    pass(0.2);
    hold(0);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}, {HotkeyAction::pushToTalk, up}}));
}

TEST_F(ModifierGuard, AnotherShortcutDoesNotEndARunningDictation) {
    machine.setDictating(true);
    hold(modifier::option);
    pass(0.05);
    press(tab, modifier::option);
    release(tab, modifier::option);
    hold(0);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(ModifierGuard, GuardsThePressThatBeganItsOwnRecording) {
    hold(modifier::option);
    pass(0.15);
    machine.setDictating(true);
    delivered();
    press(tab, modifier::option);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, discarded}}));
}

TEST_F(ModifierGuard, AppliesToTheCommandHotkeyOfModifiersAlone) {
    bind(HotkeyAction::commandMode, {{-1, modifier::command, ""}});
    hold(modifier::command);
    pass(0.05);
    hold(0);
    EXPECT_EQ(delivered(), Deliveries{});
    hold(modifier::command);
    pass(0.4);
    press(tab, modifier::command);
    EXPECT_EQ(delivered(),
              (Deliveries{{HotkeyAction::commandMode, down}, {HotkeyAction::commandMode, discarded}}));
}

TEST_F(ModifierGuard, DoesNotGuardActionsThatDoNotRecordWhileHeld) {
    bind(HotkeyAction::pushToTalk, {});
    bind(HotkeyAction::handsFree, {{-1, modifier::option, ""}});
    hold(modifier::option);
    pass(0.05);
    hold(0);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::handsFree, down}, {HotkeyAction::handsFree, up}}));
    hold(modifier::option);
    pass(0.05);
    press(tab, modifier::option);
    hold(0);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::handsFree, down}, {HotkeyAction::handsFree, up}}));
}

TEST_F(ModifierGuard, DoesNotGuardAKeyedHotkeyOfTheSameAction) {
    bind(HotkeyAction::pushToTalk, {{-1, modifier::option, ""}, {f5, 0, ""}});
    hold(modifier::option);
    pass(0.05);
    press(tab, modifier::option);
    hold(0);
    press(f5, 0);
    press(tab, 0);
    pass(0.01);
    release(f5, 0);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}, {HotkeyAction::pushToTalk, up}}));
}

TEST_F(ModifierGuard, CanBeTurnedOff) {
    machine.setGuard(false);
    hold(modifier::option);
    pass(0.05);
    press(tab, modifier::option);
    hold(0);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}, {HotkeyAction::pushToTalk, up}}));
}

} // namespace sonvale::hotkeys
