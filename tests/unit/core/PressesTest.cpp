#include "tests/unit/core/CoreFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace sonvale::core {

using hotkeys::HotkeyAction;
using tests::CoreFixture;

namespace {

namespace modifier = platform::modifier;

constexpr int tab = 48;

/// The controller with its listener, on a desktop that itself uses the modifiers.
class GuardedPress : public CoreFixture {
protected:
    GuardedPress() {
        areModifiersShared = true;
        rebuildState();
        completeOnboardingAndStart();
        recognizer().answerWith("what was heard");
    }

    void hold(std::uint64_t modifiers) {
        tap().holdModifiers(modifiers);
        runtimeSupport().runUntilIdle();
    }
    void pressKey(int keyCode) {
        tap().keyDown(keyCode);
        tap().keyUp(keyCode);
        runtimeSupport().runUntilIdle();
    }
    void setGuard(bool isOn) {
        runtimeSupport().main().post([this, isOn] { state().setModifierGuard(isOn); });
        runtimeSupport().runUntilIdle();
        tap().runBlocks();
    }
    void passTime(double seconds) {
        advance(seconds);
        tap().runBlocks();
        runtimeSupport().runUntilIdle();
    }
    auto recordings() {
        const auto lines = auditLines();
        return std::ranges::count_if(lines, [](const std::string& line) {
            return line.find("recordingStarted") != std::string::npos;
        });
    }
    void expectNothingCame() {
        settle();
        EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
        EXPECT_TRUE(pastedTexts().empty());
        EXPECT_TRUE(history().empty());
        EXPECT_EQ(recordingsLeft(), 0U);
        EXPECT_EQ(state().errorMessage.get(), std::nullopt);
    }
};

} // namespace

TEST_F(GuardedPress, OpensNoMicrophoneForATapOrForTheStartOfAnotherShortcut) {
    hold(modifier::option);
    passTime(0.05);
    hold(0);
    hold(modifier::option);
    passTime(0.1);
    pressKey(tab);
    passTime(1);
    hold(0);
    expectNothingCame();
    EXPECT_EQ(recordings(), 0);
}

TEST_F(GuardedPress, IsDiscardedIfAnotherKeyGoesDown) {
    players().report(true);
    hold(modifier::option);
    passTime(0.5);
    ASSERT_EQ(state().recordingState.get(), RecordingState::recording);
    EXPECT_FALSE(players().isPlaying());
    speak(1);
    pressKey(tab);
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_TRUE(players().isPlaying());
    hold(0);
    expectNothingCame();
    EXPECT_EQ(recordings(), 1);
}

TEST_F(GuardedPress, IsDiscardedIfItIsTooShort) {
    hold(modifier::option);
    passTime(0.2);
    ASSERT_EQ(state().recordingState.get(), RecordingState::recording);
    hold(0);
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    expectNothingCame();
}

TEST_F(GuardedPress, RecordsIfItIsHeld) {
    hold(modifier::option);
    passTime(0.2);
    speak(0.5);
    hold(0);
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"what was heard"});
}

TEST_F(GuardedPress, DoesNotChangeADictationThatIsBeingFinished) {
    recognizer().hold();
    hold(modifier::option);
    passTime(0.5);
    hold(0);
    ASSERT_EQ(state().recordingState.get(), RecordingState::processing);
    hold(modifier::option);
    passTime(0.5);
    pressKey(tab);
    hold(0);
    EXPECT_EQ(state().recordingState.get(), RecordingState::processing);
    recognizer().answer("finished");
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"finished"});
}

TEST_F(GuardedPress, CanBeTurnedOffInTheSettings) {
    setGuard(false);
    EXPECT_FALSE(state().isModifierGuardOn());
    hold(modifier::option);
    passTime(0.2);
    pressKey(tab);
    EXPECT_EQ(state().recordingState.get(), RecordingState::recording);
    hold(0);
    settle();
    EXPECT_EQ(settings().stored(persistence::keys::guardModifierHotkeys), false);

    rebuildState();
    EXPECT_FALSE(state().isModifierGuardOn()) << "also after a new start";
}

TEST_F(GuardedPress, IsOffIfTheDesktopDoesNotUseTheModifiers) {
    areModifiersShared = false;
    rebuildState();
    EXPECT_FALSE(state().isModifierGuardOn());
    setGuard(true);
    EXPECT_TRUE(state().isModifierGuardOn());
}

TEST_F(GuardedPress, OfTheCommandHotkeyRecordsNothingIfItEndsWhileTheSelectionIsRead) {
    press(HotkeyAction::commandMode);
    deliver(HotkeyAction::commandMode, hotkeys::HotkeyEventType::discarded);
    settle();
    EXPECT_EQ(recordings(), 0);
    expectNothingCame();
    EXPECT_FALSE(state().forceCommandMode.get());
}

} // namespace sonvale::core
