#include "tests/unit/core/CoreFixture.h"

#include <gtest/gtest.h>

namespace sonvale::core {

using hotkeys::HotkeyAction;
using LockedScreen = tests::CoreFixture;

TEST_F(LockedScreen, NoHotkeyStartsARecordingOrPastes) {
    dictate("said before");
    sessionLock().setLocked(true);
    EXPECT_TRUE(systemHas("[AppState] the screen is locked, hotkeys are ignored"));
    for (const auto action : {HotkeyAction::pushToTalk, HotkeyAction::handsFree, HotkeyAction::commandMode,
                              HotkeyAction::pasteLastTranscript}) {
        press(action);
        EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
        release(action);
        settle();
    }
    EXPECT_FALSE(state().isHandsFreeMode.get());
    EXPECT_EQ(pastedTexts().size(), 1U);

    sessionLock().setLocked(false);
    dictate("said after");
    EXPECT_EQ(pastedTexts().back(), "said after");
}

TEST_F(LockedScreen, EndsTheRecordingAndKeepsItsTextWithoutTypingIt) {
    pasteboard().copyElsewhere("what was there before");
    recognizer().answerWith("the last words");
    press(HotkeyAction::pushToTalk);
    speak(0.5);
    sessionLock().setLocked(true);
    settle();

    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_TRUE(pastedTexts().empty());
    EXPECT_EQ(pasteboard().text(), "what was there before");
    ASSERT_EQ(history().size(), 1U);
    EXPECT_EQ(history()[0].processedText, "the last words");
    EXPECT_EQ(state().lastTranscription.get(), "the last words");
    EXPECT_EQ(state().errorMessage.get(),
              "The screen was locked, so nothing was typed. Your text is kept as the last transcript.");

    sessionLock().setLocked(false);
    release(HotkeyAction::pushToTalk);
    press(HotkeyAction::pasteLastTranscript);
    settle();
    EXPECT_EQ(pastedTexts(), std::vector<std::string>{"the last words"});
}

TEST_F(LockedScreen, KeepsATextThatIsBeingTranscribed) {
    recognizer().hold();
    press(HotkeyAction::pushToTalk);
    speak(0.5);
    release(HotkeyAction::pushToTalk);
    sessionLock().setLocked(true);
    recognizer().answer("on its way");
    settle();
    EXPECT_TRUE(pastedTexts().empty());
    EXPECT_EQ(history().size(), 1U);
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
}

TEST_F(LockedScreen, RecordsNoCommandWhoseSelectionWasBeingRead) {
    press(HotkeyAction::commandMode);
    sessionLock().setLocked(true);
    settle();
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_EQ(recordingsLeft(), 0U);
}

} // namespace sonvale::core
