#include "hotkeys/HotkeyStateMachine.h"

#include "hotkeys/HotkeyBindingStore.h"
#include "tests/unit/hotkeys/TestKeys.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace sonvale::hotkeys {

namespace {

namespace modifier = platform::modifier;
using platform::KeyVerdict;
using Type = platform::KeyEvent::Type;
using Delay = HotkeyStateMachine::Delay;
using Delivery = HotkeyStateMachine::Delivery;

class HotkeyStateMachineTest : public testing::Test {
protected:
    HotkeyStateMachineTest() { machine.setBindings(HotkeyBindingStore::defaults()); }

    void bind(HotkeyAction action, std::vector<HotkeyConfiguration> configs) {
        bindings[action] = {action, std::move(configs), true};
        machine.setBindings(bindings);
    }

    KeyVerdict send(Type type, int keyCode, std::uint64_t flags) {
        return take(machine.handle({type, keyCode, flags}, now));
    }
    KeyVerdict press(int keyCode, std::uint64_t flags = 0) { return send(Type::keyDown, keyCode, flags); }
    KeyVerdict release(int keyCode, std::uint64_t flags = 0) { return send(Type::keyUp, keyCode, flags); }
    KeyVerdict modifiers(std::uint64_t flags) { return send(Type::flagsChanged, optionKey, flags); }
    void elapse() { take(machine.delayElapsed()); }

    std::vector<Delivery> delivered() { return std::exchange(deliveries_, {}); }
    Delay delay() { return std::exchange(lastDelay_, Delay::leave); }

    HotkeyBindings bindings;
    HotkeyStateMachine machine;
    double now = 0; ///< time of the next events, in seconds

private:
    KeyVerdict take(const HotkeyStateMachine::Decision& decision) {
        deliveries_.insert(deliveries_.end(), decision.deliveries().begin(), decision.deliveries().end());
        lastDelay_ = decision.delay;
        return decision.verdict;
    }

    std::vector<Delivery> deliveries_;
    Delay lastDelay_ = Delay::leave;
};

using Deliveries = std::vector<Delivery>;

} // namespace

TEST_F(HotkeyStateMachineTest, PassesEverythingWithoutBindings) {
    machine.reset();
    EXPECT_EQ(press(space, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(release(space, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(modifiers(modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delay(), Delay::leave);
    EXPECT_EQ(delivered(), Deliveries{});
}

// Tests of key down, in the order of the conditions.

TEST_F(HotkeyStateMachineTest, TurnsAWaitingActionIntoTheHotkeyThatTheKeyCompletes) {
    modifiers(modifier::option);
    EXPECT_EQ(press(space, modifier::option), KeyVerdict::swallow);
    EXPECT_EQ(delay(), Delay::cancel);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::handsFree, down}}));
}

TEST_F(HotkeyStateMachineTest, PassesACancelKeyThatEndsTheWait) {
    bind(HotkeyAction::pushToTalk, {{-1, modifier::option, ""}});
    bind(HotkeyAction::cancel, {{escape, modifier::option, ""}});
    modifiers(modifier::option);
    EXPECT_EQ(press(escape, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delay(), Delay::cancel);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::cancel, down}}));
}

TEST_F(HotkeyStateMachineTest, StartsAWaitingActionAtAnyOtherKeyAndPassesTheKey) {
    modifiers(modifier::option);
    EXPECT_EQ(press(letterX, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delay(), Delay::cancel);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}}));

    EXPECT_EQ(press(letterX, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(release(letterX, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(modifiers(0), KeyVerdict::pass);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, up}}));
}

TEST_F(HotkeyStateMachineTest, SwallowsTheRepeatsOfTheHeldKeyWithAnyModifiers) {
    EXPECT_EQ(press(space, modifier::option), KeyVerdict::swallow);
    delivered();
    EXPECT_EQ(press(space, modifier::option), KeyVerdict::swallow);
    EXPECT_EQ(press(space, 0), KeyVerdict::swallow);
    EXPECT_EQ(press(space, modifier::mask), KeyVerdict::swallow);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, PassesTheCancelKeyButSwallowsItsRepeats) {
    EXPECT_EQ(press(escape), KeyVerdict::pass);
    EXPECT_EQ(press(escape), KeyVerdict::swallow);
    EXPECT_EQ(release(escape), KeyVerdict::pass);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::cancel, down}, {HotkeyAction::cancel, up}}));
}

TEST_F(HotkeyStateMachineTest, RecognizesNoOtherHotkeyWhileAnActionIsHeld) {
    modifiers(modifier::option);
    elapse();
    delivered();
    EXPECT_EQ(press(escape), KeyVerdict::pass);
    EXPECT_EQ(press(space, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(release(space, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, PassesAKeyThatMatchesNothing) {
    EXPECT_EQ(press(letterX), KeyVerdict::pass);
    EXPECT_EQ(press(space), KeyVerdict::pass);
    EXPECT_EQ(press(space, modifier::option | modifier::shift), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, MatchesTheFourModifiersAlone) {
    constexpr std::uint64_t capsLock = 0x10000;
    constexpr std::uint64_t deviceBits = 0x20 | (std::uint64_t{1} << 40);
    EXPECT_EQ(press(letterV, modifier::command | modifier::option | capsLock | deviceBits),
              KeyVerdict::swallow);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pasteLastTranscript, down}}));
}

TEST_F(HotkeyStateMachineTest, MasksTheModifiersOfTheHotkeyAsWell) {
    bind(HotkeyAction::handsFree, {{space, modifier::option | 0x10000 | 0x20, ""}});
    EXPECT_EQ(press(space, modifier::option), KeyVerdict::swallow);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::handsFree, down}}));
}

TEST_F(HotkeyStateMachineTest, GivesASharedCombinationToTheActionThatIsListedFirst) {
    bind(HotkeyAction::cancel, {{f5, 0, ""}});
    bind(HotkeyAction::commandMode, {{f5, 0, ""}});
    bind(HotkeyAction::handsFree, {{f5, 0, ""}});
    press(f5);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::handsFree, down}}));
}

TEST_F(HotkeyStateMachineTest, RecognizesEachAlternativeOfAnAction) {
    bind(HotkeyAction::handsFree, {{space, modifier::option, ""}, {f5, 0, ""}});
    EXPECT_EQ(press(f5), KeyVerdict::swallow);
    EXPECT_EQ(release(f5), KeyVerdict::swallow);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::handsFree, down}, {HotkeyAction::handsFree, up}}));
}

TEST_F(HotkeyStateMachineTest, DoesNotListenForADisabledBinding) {
    bindings = HotkeyBindingStore::defaults();
    bindings.at(HotkeyAction::handsFree).isEnabled = false;
    machine.setBindings(bindings);
    EXPECT_EQ(press(space, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, DoesNotTreatAKeyWithoutACodeAsModifiersAlone) {
    EXPECT_EQ(press(-1, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});

    modifiers(modifier::option);
    EXPECT_EQ(press(-1, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}}));
    EXPECT_EQ(press(-1, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(release(-1, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});
}

// Tests of key up.

TEST_F(HotkeyStateMachineTest, PassesAKeyUpWhenNothingIsHeld) {
    EXPECT_EQ(release(space, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, PassesTheKeyUpOfAnotherKey) {
    press(space, modifier::option);
    delivered();
    EXPECT_EQ(release(letterX, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, SwallowsTheKeyUpThatEndsThePress) {
    press(space, modifier::option);
    EXPECT_EQ(release(space, 0), KeyVerdict::swallow);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::handsFree, down}, {HotkeyAction::handsFree, up}}));
}

// Tests of modifiers.

TEST_F(HotkeyStateMachineTest, WaitsWithAnActionOfModifiersAlone) {
    EXPECT_EQ(modifiers(modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delay(), Delay::start);
    EXPECT_EQ(delivered(), Deliveries{});
    elapse();
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}}));
    EXPECT_EQ(modifiers(0), KeyVerdict::pass);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, up}}));
}

TEST_F(HotkeyStateMachineTest, DoesNothingIfNoActionWaitsAtTheEndOfTheDelay) {
    elapse();
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, WaitsForExactlyTheModifiersOfTheHotkey) {
    modifiers(modifier::shift);
    EXPECT_EQ(delay(), Delay::leave);
    modifiers(modifier::shift | modifier::option);
    EXPECT_EQ(delay(), Delay::leave);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, KeepsWaitingWhenTheModifiersStayTheSame) {
    modifiers(modifier::option);
    EXPECT_EQ(modifiers(modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delay(), Delay::leave);
    elapse();
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}}));
}

TEST_F(HotkeyStateMachineTest, DropsAWaitingActionWhenAnotherModifierIsAdded) {
    modifiers(modifier::option);
    EXPECT_EQ(modifiers(modifier::option | modifier::shift), KeyVerdict::pass);
    EXPECT_EQ(delay(), Delay::cancel);
    elapse();
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, DeliversDownAndUpOfAQuickTapTogether) {
    modifiers(modifier::option);
    const auto decision = machine.handle({Type::flagsChanged, optionKey, 0}, now);
    EXPECT_EQ(decision.verdict, KeyVerdict::pass);
    EXPECT_EQ(decision.delay, Delay::cancel);
    EXPECT_EQ(Deliveries(decision.deliveries().begin(), decision.deliveries().end()),
              (Deliveries{{HotkeyAction::pushToTalk, down}, {HotkeyAction::pushToTalk, up}}));
    elapse();
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, TreatsAnExchangeOfModifiersAsARelease) {
    modifiers(modifier::option);
    EXPECT_EQ(modifiers(modifier::command), KeyVerdict::pass);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}, {HotkeyAction::pushToTalk, up}}));
}

TEST_F(HotkeyStateMachineTest, CancelsTheHeldActionWhenAnotherModifierIsAdded) {
    modifiers(modifier::option);
    elapse();
    delivered();
    EXPECT_EQ(modifiers(modifier::option | modifier::shift), KeyVerdict::pass);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::cancel, down}}));
    EXPECT_EQ(modifiers(0), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, WaitsAgainAfterTheAddedModifierIsReleased) {
    modifiers(modifier::option);
    elapse();
    modifiers(modifier::option | modifier::shift);
    delivered();
    EXPECT_EQ(modifiers(modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delay(), Delay::start);
}

TEST_F(HotkeyStateMachineTest, KeepsTheHeldActionWhileItsModifiersStayTheSame) {
    modifiers(modifier::option);
    elapse();
    delivered();
    EXPECT_EQ(modifiers(modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, EndsTheHeldActionOfTwoModifiersWhenOneIsReleased) {
    bind(HotkeyAction::pushToTalk, {{-1, modifier::control | modifier::option, ""}});
    modifiers(modifier::control);
    modifiers(modifier::control | modifier::option);
    elapse();
    modifiers(modifier::option);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}, {HotkeyAction::pushToTalk, up}}));
}

TEST_F(HotkeyStateMachineTest, EndsAKeyedPressWhenItsModifierIsReleasedFirst) {
    press(space, modifier::option);
    delivered();
    EXPECT_EQ(modifiers(0), KeyVerdict::pass);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::handsFree, up}}));
    EXPECT_EQ(release(space), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, KeepsAKeyedPressWhenAModifierIsAdded) {
    press(space, modifier::option);
    delivered();
    EXPECT_EQ(modifiers(modifier::option | modifier::shift), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});
    EXPECT_EQ(release(space, modifier::option | modifier::shift), KeyVerdict::swallow);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::handsFree, up}}));
}

TEST_F(HotkeyStateMachineTest, KeepsAPlainKeyWithAnyModifiers) {
    press(escape);
    delivered();
    EXPECT_EQ(modifiers(modifier::shift), KeyVerdict::pass);
    EXPECT_EQ(modifiers(0), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});
}

TEST_F(HotkeyStateMachineTest, KeepsAKeyedPressWhileOneAlternativeMatches) {
    bind(HotkeyAction::handsFree, {{space, modifier::option, ""}, {f5, modifier::shift, ""}});
    press(space, modifier::option);
    delivered();
    modifiers(modifier::shift);
    EXPECT_EQ(delivered(), Deliveries{});
    modifiers(0);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::handsFree, up}}));
}

TEST_F(HotkeyStateMachineTest, JudgesAHeldActionByItsFirstAlternativeOfModifiersAlone) {
    bind(HotkeyAction::pushToTalk, {{f5, 0, ""}, {-1, modifier::option, ""}, {-1, modifier::control, ""}});
    press(f5);
    delivered();
    EXPECT_EQ(modifiers(modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});
    EXPECT_EQ(modifiers(modifier::option | modifier::control), KeyVerdict::pass);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::cancel, down}}));

    modifiers(0);
    modifiers(modifier::control);
    EXPECT_EQ(delay(), Delay::start);
    modifiers(modifier::control);
    EXPECT_EQ(delivered(), (Deliveries{{HotkeyAction::pushToTalk, down}, {HotkeyAction::pushToTalk, up}}));
}

TEST_F(HotkeyStateMachineTest, ForgetsAPressWhenTheBindingsChange) {
    press(space, modifier::option);
    delivered();
    machine.setBindings(HotkeyBindingStore::defaults());
    EXPECT_EQ(release(space, modifier::option), KeyVerdict::pass);
    EXPECT_EQ(delivered(), Deliveries{});

    modifiers(modifier::option);
    machine.setBindings(HotkeyBindingStore::defaults());
    elapse();
    EXPECT_EQ(delivered(), Deliveries{});
}

} // namespace sonvale::hotkeys
