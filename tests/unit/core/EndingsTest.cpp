#include "base/Uuid.h"
#include "tests/unit/core/HandsFreeFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace sonvale::core {

namespace {

using hotkeys::HotkeyAction;
using platform::UrlError;
using Preference = transcription::TranscriptionEnginePreference;
using Steps = std::vector<std::string>;

/// The order of the steps in each ending, with paused music.
class EndingsTest : public tests::HandsFreeFixture {
protected:
    EndingsTest() { players().report(true); }

    void hold(double seconds = 0.5) {
        press(HotkeyAction::pushToTalk);
        speak(seconds);
    }
    /// Releases the key. Afterwards `sequence` contains the steps of the ending.
    void releaseKey(double seconds = 3) {
        sequence.clear();
        release(HotkeyAction::pushToTalk);
        advance(seconds);
    }
    /// Returns the steps beginning with the first `from`.
    Steps stepsFrom(const std::string& from) const {
        return {std::ranges::find(sequence, from), sequence.end()};
    }
};

} // namespace

TEST_F(EndingsTest, OfADictation) {
    willHear({"words"});
    hold();
    releaseKey();
    EXPECT_EQ(sequence, (Steps{"state processing", "show processing", "[PERF] Transcript wait",
                               "[PERF] stopDictation → finalize", "state idle", "media", "hide",
                               "[PERF] stopDictation total", "pre-warm"}));
}

TEST_F(EndingsTest, OfASnippet) {
    persistence::Snippet snippet;
    snippet.id = base::Uuid::make();
    snippet.trigger = "my address";
    snippet.content = "Main Street 1";
    state().modelContext->insert(snippet);
    state().modelContext->save();
    willHear({"my address"});
    hold();
    releaseKey();
    EXPECT_EQ(pastedTexts(), Steps{"Main Street 1"});
    EXPECT_EQ(stepsFrom("state idle"), (Steps{"state idle", "media", "hide"}));
}

TEST_F(EndingsTest, OfACommand) {
    accessibility().setSelectedText("selected");
    willHear({"make it shorter"});
    network().answerNext(200, base::jsonText({{"choices", {{{"message", {{"content", "short"}}}}}}}));
    press(HotkeyAction::commandMode);
    speak(0.5);
    release(HotkeyAction::commandMode);
    advance(3);
    EXPECT_EQ(pastedTexts(), Steps{"short"});
    EXPECT_EQ(stepsFrom("state idle"), (Steps{"state idle", "media", "hide"}));
}

TEST_F(EndingsTest, WithoutAudio) {
    prefer(Preference::local);
    hold();
    advance(601);
    releaseKey();
    EXPECT_EQ(sequence, (Steps{"state processing", "show processing", "state idle",
                               "error: No audio recorded.", "media", "hide"}));
}

TEST_F(EndingsTest, OfAFailedTranscription) {
    prefer(Preference::cloud);
    network().answerNext(500, "down");
    hold();
    releaseKey();
    EXPECT_EQ(sequence, (Steps{"state processing", "show processing",
                               "error: Transcription failed: API error (500): down", "state idle", "media",
                               "hide", "[PERF] stopDictation total"}));
}

TEST_F(EndingsTest, OfAFailedTranscriptionWithPreWarmLast) {
    prefer(Preference::streaming);
    network().answerNext(500, "down");
    willHear({std::nullopt});
    hold();
    releaseKey();
    EXPECT_EQ(stepsFrom("error: Transcription failed: API error (500): down"),
              (Steps{"error: Transcription failed: API error (500): down", "state idle", "media", "hide",
                     "[PERF] stopDictation total", "[PERF] WebSocket session start", "pre-warm"}));
}

TEST_F(EndingsTest, OfARecorderThatDoesNotStart) {
    microphone().setFormat({0, 0});
    sequence.clear();
    press(HotkeyAction::pushToTalk);
    EXPECT_EQ(
        sequence,
        (Steps{"state recording", "media", "show recording", "state idle",
               ("error: Failed to start recording: No audio input device is available. Please connect a "
                "microphone and try again."),
               "media", "hide"}));
}

TEST_F(EndingsTest, OfACancel) {
    willHear({});
    hold();
    sequence.clear();
    press(HotkeyAction::cancel);
    advance(1);
    EXPECT_EQ(sequence, (Steps{"session closed", "state idle", "media", "hide",
                               "[PERF] WebSocket session start", "pre-warm"}));
}

TEST_F(EndingsTest, OfACancelDuringTheTranscription) {
    prefer(Preference::local);
    recognizer().hold();
    hold();
    release(HotkeyAction::pushToTalk);
    sequence.clear();
    press(HotkeyAction::cancel);
    EXPECT_EQ(sequence, (Steps{"state idle", "media", "hide"}));
    sequence.clear();
    recognizer().answer("late");
    advance(1);
    EXPECT_EQ(sequence, (Steps{"hide", "[PERF] stopDictation total"}));
}

TEST_F(EndingsTest, OfHandsFreeMode) {
    start({"words", ""});
    utter();
    sequence.clear();
    stop();
    EXPECT_EQ(sequence, (Steps{"state processing", "[PERF] Transcript wait", "session closed",
                               "show processingHandsFree", "state idle", "media", "hide",
                               "[PERF] WebSocket session start", "pre-warm"}));
}

TEST_F(EndingsTest, OfACancelInHandsFreeMode) {
    start({"words"});
    utter();
    sequence.clear();
    press(HotkeyAction::cancel);
    advance(1);
    EXPECT_EQ(sequence, (Steps{"session closed", "state idle", "media", "hide"}))
        << "no session is pre-warmed";
}

TEST_F(EndingsTest, OfHandsFreeModeWithoutAService) {
    network().failHandshakes(UrlError(UrlError::Code::cannotConnectToHost, "nobody there"));
    sequence.clear();
    start({});
    advance(1);
    EXPECT_EQ(stepsFrom("state recording"),
              (Steps{"state recording", "media", "show recording", "state idle",
                     "error: Unable to connect to the transcription service. Please try again.",
                     "session closed", "media", "hide", "pre-warm"}));
}

TEST_F(EndingsTest, OfALongForm) {
    willHear({"the first part", "the rest"});
    hold(6);
    releaseKey();
    EXPECT_EQ(stepsFrom("session closed"), (Steps{"session closed", "show processingHandsFree", "state idle",
                                                  "media", "hide", "[PERF] stopDictation total (long-form)",
                                                  "[PERF] WebSocket session start", "pre-warm"}));
}

} // namespace sonvale::core
