#include "tests/unit/core/HandsFreeFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace sonvale::core {

namespace {

using hotkeys::HotkeyAction;
using Texts = std::vector<std::string>;

/// Starts that wait for the backend's token. A cancel does not end that wait.
class OvertakenStart : public tests::HandsFreeFixture {
protected:
    OvertakenStart() {
        addresses.key = std::nullopt;
        addresses.backend = "https://backend.example";
        settings().set(persistence::keys::accessToken, "header.eyJleHAiOjk5OTk5OTk5OTl9.signature");
        settings().set(persistence::keys::refreshToken, "refresh");
        rebuildState();
        willHear({});
    }

    void cancel() {
        press(HotkeyAction::cancel);
        release(HotkeyAction::cancel);
    }
    /// Answers the waiting requests for a token, oldest first.
    void giveTokens() {
        for (const auto& request : network().requests()) {
            if (!request->isEnded() && request->url.ends_with("api/realtime/session"))
                request->answer(200, R"({"value":"token"})");
            runtimeSupport().runUntilIdle();
        }
    }
    std::size_t tokensAsked() {
        const auto requests = network().requests();
        return static_cast<std::size_t>(std::ranges::count_if(
            requests, [](const auto& each) { return each->url.ends_with("api/realtime/session"); }));
    }
};

} // namespace

TEST_F(OvertakenStart, DoesNotChangeTheHandsFreeRunThatFollows) {
    press(HotkeyAction::pushToTalk);
    ASSERT_EQ(tokensAsked(), 1U);
    cancel();
    tap();
    giveTokens();
    EXPECT_TRUE(isListening());
    EXPECT_EQ(state().errorMessage.get(), std::nullopt);
    EXPECT_TRUE(microphone().isCapturing());

    utter();
    answer("words");
    advance(1);
    EXPECT_EQ(pastedTexts(), Texts{"words"});
    cancel();
    release(HotkeyAction::pushToTalk);
}

TEST_F(OvertakenStart, OfHandsFreeModeDoesNotChangeTheRunThatFollows) {
    tap();
    cancel();
    tap();
    giveTokens();
    EXPECT_TRUE(isListening());
    EXPECT_EQ(state().errorMessage.get(), std::nullopt);
    cancel();
}

TEST_F(OvertakenStart, StartsNoTimerAndNoLoopInTheRecordingThatFollows) {
    press(HotkeyAction::pushToTalk);
    advance(3);
    cancel();
    release(HotkeyAction::pushToTalk);
    press(HotkeyAction::pushToTalk);
    const auto first = network().requests().front();
    ASSERT_FALSE(first->isEnded());
    perfLines.clear();
    const auto timersBefore = clock().pending();
    first->answer(200, R"({"value":"token"})");
    runtimeSupport().runUntilIdle();
    EXPECT_EQ(clock().pending(), timersBefore) << "neither a level loop nor a long-form timer";
    EXPECT_FALSE(printed("startDictation total"));
    EXPECT_EQ(state().recordingState.get(), RecordingState::recording);

    giveTokens();
    EXPECT_TRUE(printed("startDictation total"));
    const auto timersOfOneRecording = clock().pending();
    advance(0.2);
    EXPECT_EQ(clock().pending(), timersOfOneRecording);
    cancel();
    release(HotkeyAction::pushToTalk);
}

TEST_F(OvertakenStart, KeepsOneLevelLoopAfterEachRestart) {
    giveTokens();
    tap();
    giveTokens();
    ASSERT_TRUE(isListening());
    advance(0.1);
    const auto loops = clock().pending();
    // The input disappears. The mode begins another recording at once, before a loop can notice.
    for (int i = 0; i < 3; ++i) {
        microphone().unplug();
        microphone().setFormat({48000, 1});
        advance(0.06);
        answer("");
        giveTokens();
        advance(0.06);
    }
    ASSERT_TRUE(isListening());
    // Each recording leaves a watchdog, and each commit a timer.
    EXPECT_EQ(clock().pending(), loops + 3 * 2);
    cancel();
}

} // namespace sonvale::core
