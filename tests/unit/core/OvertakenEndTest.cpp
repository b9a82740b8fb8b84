#include "tests/unit/core/HandsFreeFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace sonvale::core {

namespace {

using hotkeys::HotkeyAction;
using Texts = std::vector<std::string>;

/// Escape while the service works on a dictation, and another dictation before the service answers.
class OvertakenEnd : public tests::HandsFreeFixture {
protected:
    OvertakenEnd() { willHear({}); }

    void hold(double seconds) {
        press(HotkeyAction::pushToTalk);
        speak(seconds);
    }
    void releaseKey() {
        release(HotkeyAction::pushToTalk);
        runtimeSupport().runUntilIdle();
    }
    void cancel() {
        press(HotkeyAction::cancel);
        release(HotkeyAction::cancel);
    }
    /// Makes a dictation that the service has not answered yet, and cancels it.
    void dictateAndCancel() {
        hold(1);
        releaseKey();
        cancel();
    }
    void failAtTheService() {
        socket().deliverText(base::jsonText({{"type", "error"}, {"error", {{"message", "down"}}}}));
        runtimeSupport().runUntilIdle();
    }
    /// Returns the raw texts of the history, sorted, because either of two may come first.
    Texts historyTexts() {
        Texts texts;
        for (const auto& row : history())
            texts.push_back(row.rawText);
        std::ranges::sort(texts);
        return texts;
    }
};

} // namespace

TEST_F(OvertakenEnd, TypesTheFirstTextAndKeepsTheSecond) {
    network().answerNext(200, "second words");
    dictateAndCancel();
    hold(1);
    answer("first words");
    advance(3);
    EXPECT_EQ(pastedTexts(), Texts{"first words"});
    EXPECT_EQ(historyTexts(), (Texts{"first words", "second words"}));
    EXPECT_EQ(state().lastTranscription.get(), "second words");
    releaseKey();
    expectAtRest();
}

TEST_F(OvertakenEnd, TranscribesTheFirstFileIfTheServiceFails) {
    network().answerNext(200, "words from a file");
    network().answerNext(200, "words from a file");
    hold(1);
    releaseKey();
    cancel();
    hold(2);
    failAtTheService();
    advance(3);
    EXPECT_EQ(pastedTexts(), Texts{"words from a file"});
    EXPECT_EQ(historyTexts(), (Texts{"words from a file", "words from a file"}));
    releaseKey();
    expectAtRest();
}

TEST_F(OvertakenEnd, TypesBothIfTheSecondKeyIsReleasedBeforeTheFirstText) {
    dictateAndCancel();
    hold(1);
    releaseKey();
    EXPECT_EQ(commits(), 1U) << "an answer does not say to which of two commits it belongs";
    answer("first words");
    advance(1);
    EXPECT_EQ(commits(), 2U);
    answer("second words");
    advance(3);
    EXPECT_EQ(pastedTexts(), (Texts{"first words", "second words"}));
    EXPECT_EQ(historyTexts(), (Texts{"first words", "second words"}));
    expectAtRest();
}

TEST_F(OvertakenEnd, TranscribesBothFilesIfTheServiceFails) {
    network().answerNext(200, "words from a file");
    network().answerNext(200, "words from a file");
    dictateAndCancel();
    hold(1);
    releaseKey();
    failAtTheService();
    advance(3);
    EXPECT_EQ(pastedTexts(), (Texts{"words from a file", "words from a file"}));
    expectAtRest();
}

TEST_F(OvertakenEnd, OfThreeDictationsKeepsEveryWord) {
    network().answerNext(200, "words from a file");
    network().answerNext(200, "words from a file");
    dictateAndCancel();
    hold(1);
    releaseKey();
    cancel();
    hold(1);
    answer("first words");
    advance(12);
    EXPECT_EQ(pastedTexts(), (Texts{"first words", "words from a file"}));
    EXPECT_EQ(historyTexts(), (Texts{"first words", "words from a file", "words from a file"}));
    releaseKey();
    expectAtRest();
}

TEST_F(OvertakenEnd, OfALongFormKeepsItsLastPieceAndTheNextDictation) {
    hold(6);
    answer("first piece");
    advance(1);
    network().answerNext(200, "the whole first dictation");
    network().answerNext(200, "second words");
    releaseKey();
    cancel();
    hold(1);
    failAtTheService();
    advance(12);
    releaseKey();
    advance(3);
    EXPECT_EQ(pastedTexts(), Texts{"first piece"});
    EXPECT_EQ(historyTexts(), (Texts{"first piece", "second words", "the whole first dictation"}));
    expectAtRest();
}

TEST_F(OvertakenEnd, OfALongFormTypesItsLastPiece) {
    hold(6);
    answer("first piece");
    advance(1);
    network().answerNext(200, "second words");
    releaseKey();
    cancel();
    hold(1);
    answer("last piece");
    advance(3);
    releaseKey();
    advance(3);
    EXPECT_EQ(pastedTexts(), (Texts{"first piece", " last piece"}));
    EXPECT_EQ(historyTexts(), (Texts{"first piece", "last piece", "second words"}));
    expectAtRest();
}

TEST_F(OvertakenEnd, OfHandsFreeModeKeepsItsLastUtteranceAndTheNextDictation) {
    tap();
    utter();
    answer("first words");
    speak(1);
    network().answerNext(200, "second words");
    tap();
    advance(0.1);
    ASSERT_EQ(state().recordingState.get(), RecordingState::processing);
    cancel();
    hold(1);
    answer("last words");
    advance(3);
    releaseKey();
    advance(3);
    EXPECT_EQ(pastedTexts(), (Texts{"first words", " last words"}));
    EXPECT_EQ(historyTexts(), (Texts{"first words", "last words", "second words"}));
    expectAtRest();
}

} // namespace sonvale::core
