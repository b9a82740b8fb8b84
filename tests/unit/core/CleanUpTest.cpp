#include "base/Json.h"
#include "tests/unit/core/CoreFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace sonvale::core {

namespace {

namespace keys = persistence::keys;
using hotkeys::HotkeyAction;
using persistence::DictionaryEntry;
using persistence::Snippet;
using persistence::WritingStyle;
using platform::UrlError;
using Texts = std::vector<std::string>;

/// Dictations that the local recognizer transcribes and a language model cleans. The test acts as both.
class CleanUp : public tests::CoreFixture {
protected:
    CleanUp() {
        addresses.service = "https://service.example";
        addresses.backend = "https://backend.example";
        addresses.key = "sk-own";
        settings().set(keys::transcriptionEngine, "local");
        rebuildState();
    }
    void signInInsteadOfAKey(const std::string& accessToken) {
        addresses.key = std::nullopt;
        settings().set(keys::accessToken, accessToken);
        settings().set(keys::refreshToken, "refresh");
        rebuildState();
    }

    static std::string answer(const std::string& text) {
        return base::jsonText({{"choices", {{{"message", {{"role", "assistant"}, {"content", text}}}}}}});
    }
    void answerNext(const std::string& text) { network().answerNext(200, answer(text)); }

    /// Dictates and releases the key; the clock does not advance afterwards.
    void say(const std::string& text) {
        recognizer().answerWith(text);
        press(HotkeyAction::pushToTalk);
        speak(0.1);
        release(HotkeyAction::pushToTalk);
    }
    std::string systemPrompt() {
        const auto body = base::Json::parse(network().lastRequest()->body.value());
        return body.at("messages").at(0).at("content");
    }
    bool promptHas(const std::string& text) { return systemPrompt().find(text) != std::string::npos; }
    bool printed(const std::string& beginning) const {
        return std::ranges::any_of(
            perfLines, [&](const std::string& line) { return line.starts_with("[PERF] " + beginning); });
    }
    void front(const std::string& bundleID) {
        workspace().setFrontmost(platform::FrontApplication{bundleID, "Front", 7});
    }
    template <class R>
    void keep(R record) {
        state().modelContext->insert(std::move(record));
        state().modelContext->save();
    }
    std::string batch(const std::string& rawText, std::int64_t insertions) {
        return runtimeSupport().wait(state().performBatchAICleanup(rawText, insertions, {}));
    }
    int undone() { return input().count(tests::FakeSyntheticInput::Press::undo); }
};

} // namespace

TEST_F(CleanUp, InsertsTheCleanedTextAndKeepsBoth) {
    answerNext("I went to the store.");
    dictate("um i went to the store");
    EXPECT_EQ(pastedTexts(), Texts{"I went to the store."});
    EXPECT_EQ(state().currentTranscription.get(), "I went to the store.");
    EXPECT_EQ(state().lastTranscription.get(), "I went to the store.");

    const auto rows = history();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].rawText, "um i went to the store");
    EXPECT_EQ(rows[0].processedText, "I went to the store.");
    EXPECT_EQ(rows[0].wordCount, 5);
    EXPECT_EQ(rows[0].appBundleID, std::nullopt);
    EXPECT_EQ(rows[0].durationSeconds, 0);
    EXPECT_TRUE(printed("AI cleanup: 0ms (in: 0, out: 0)"));
    EXPECT_TRUE(printed("AI processing: 0ms (text changed)"));
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
}

TEST_F(CleanUp, WritesTheHistoryBeforeItInserts) {
    answerNext("I went to the store.");
    say("um i went to the store");
    EXPECT_EQ(history().size(), 1U);
    EXPECT_TRUE(pastedTexts().empty());
    EXPECT_EQ(state().recordingState.get(), RecordingState::processing);
    settle();
    EXPECT_EQ(pastedTexts().size(), 1U);
}

TEST_F(CleanUp, SendsTheStyleOfTheApplicationInFrontToTheModel) {
    keep(WritingStyle{.category = "email", .formality = 5, .customInstructions = "Sign as Ann"});
    keep(DictionaryEntry{.word = "Sonvale"});
    keep(DictionaryEntry{.word = "pto", .expansion = "paid time off"});
    keep(DictionaryEntry{.word = "brb", .expansion = ""});
    front("com.apple.mail");
    answerNext("Dear all.");
    dictate("dear all");
    EXPECT_TRUE(promptHas("11. Formality level: Formal — no contractions, precise language"));
    EXPECT_TRUE(promptHas("[Sonvale, pto → paid time off, brb]"));
    EXPECT_TRUE(promptHas("13. Additional style guidance: Sign as Ann"));
    EXPECT_TRUE(promptHas("into a email application."));
    EXPECT_FALSE(promptHas("FRAGMENT MODE"));
}

TEST_F(CleanUp, UsesTheApplicationAtKeyDown) {
    front("com.apple.mail");
    press(HotkeyAction::pushToTalk);
    speak(0.1);
    front("com.apple.Notes");
    recognizer().answerWith("dear all");
    answerNext("Dear all.");
    release(HotkeyAction::pushToTalk);
    settle();
    EXPECT_TRUE(promptHas("into a email application."));
}

TEST_F(CleanUp, UsesTheApplicationInFrontWithoutATarget) {
    front("com.apple.Notes");
    const auto context = state().buildProcessingContext();
    EXPECT_EQ(context.appCategory, "notes");
    EXPECT_EQ(context.formality, 3);
    state().modelContext = nullptr;
    EXPECT_TRUE(state().buildProcessingContext().dictionaryEntries.empty());
}

TEST_F(CleanUp, InsertsTheUncleanedTextAfterFiveSeconds) {
    network().hangNext();
    say("um i went to the store");
    advance(4.9);
    EXPECT_TRUE(pastedTexts().empty());
    advance(0.5);
    EXPECT_EQ(pastedTexts(), Texts{"um i went to the store"});
    EXPECT_TRUE(network().lastRequest()->wasCancelled());
    EXPECT_TRUE(printed("AI processing timed out after 5000ms (>5s), using raw text"));
    EXPECT_TRUE(printed("AI processing: 5000ms (unchanged)"));

    network().lastRequest()->answer(200, answer("I went to the store."));
    settle();
    EXPECT_EQ(pastedTexts().size(), 1U) << "a late answer is dropped";
    EXPECT_EQ(history().at(0).processedText, "um i went to the store");
}

TEST_F(CleanUp, DoesNotWaitLongerForAToken) {
    signInInsteadOfAKey("header.eyJleHAiOjF9.signature");
    network().hangNext();
    say("um i went to the store");
    EXPECT_EQ(network().lastRequest()->url, "https://backend.example/auth/refresh");
    advance(5.5);
    EXPECT_EQ(pastedTexts(), Texts{"um i went to the store"});
    EXPECT_FALSE(network().lastRequest()->wasCancelled()) << "later requests use the refreshed token";
}

TEST_F(CleanUp, InsertsTheUncleanedTextAfterAFailure) {
    network().answerNext(500, "out of order");
    dictate("um i went to the store");
    EXPECT_EQ(pastedTexts(), Texts{"um i went to the store"});
    EXPECT_TRUE(printed("AI processing failed after 0ms: API error (500): out of order"));
    EXPECT_TRUE(printed("AI processing: 0ms (unchanged)"));
    EXPECT_EQ(state().errorMessage.get(), std::nullopt);

    network().failNext(UrlError::Code::notConnectedToInternet, "There is no link.");
    dictate("and to the mall");
    EXPECT_EQ(pastedTexts().back(), "and to the mall");
    EXPECT_TRUE(printed("AI processing failed after 0ms: Network error: There is no link."));
}

TEST_F(CleanUp, InsertsTheUncleanedTextIfTheModelAnswersIt) {
    answerNext("A quarter past nine, good morning.");
    dictate("what time is it");
    EXPECT_EQ(pastedTexts(), Texts{"what time is it"});
}

TEST_F(CleanUp, SendsNoRequestIfTheSettingIsOff) {
    settings().set(keys::aiProcessingEnabled, false);
    dictate("first words");
    settings().set(keys::aiProcessingEnabled, true);
    settings().set(keys::localOnlyMode, true);
    dictate("second words");
    settings().set(keys::localOnlyMode, false);
    addresses.key = std::nullopt;
    rebuildState();
    dictate("third words");
    EXPECT_EQ(pastedTexts(), (Texts{"first words", "second words", "third words"}));
    EXPECT_TRUE(network().requests().empty());
    EXPECT_TRUE(network().sessions().empty());
    EXPECT_FALSE(printed("AI processing"));
    EXPECT_EQ(state().lastTranscription.get(), "third words");
}

TEST_F(CleanUp, UsesTheBackendForASignedInUser) {
    // The token expires in the year 2286.
    signInInsteadOfAKey("header.eyJleHAiOjk5OTk5OTk5OTl9.signature");
    answerNext("I went to the store.");
    dictate("um i went to the store");
    EXPECT_EQ(network().lastRequest()->url, "https://backend.example/api/chat");
    EXPECT_EQ(network().lastRequest()->header("Authorization"),
              "Bearer header.eyJleHAiOjk5OTk5OTk5OTl9.signature");
    EXPECT_EQ(pastedTexts(), Texts{"I went to the store."});
}

TEST_F(CleanUp, KeepsNothingInPrivacyMode) {
    settings().set(keys::privacyModeEnabled, true);
    answerNext("I went to the store.");
    dictate("um i went to the store");
    EXPECT_TRUE(history().empty());
    EXPECT_EQ(state().lastTranscription.get(), "I went to the store.");
    EXPECT_EQ(pastedTexts(), Texts{"I went to the store."});
}

TEST_F(CleanUp, InsertsASnippetUntouched) {
    keep(Snippet{.trigger = "My Address", .content = "1 Main Street\n um um", .usageCount = 4});
    dictate("please insert my address.");
    EXPECT_EQ(pastedTexts(), Texts{"1 Main Street\n um um"});
    EXPECT_EQ(state().currentTranscription.get(), "1 Main Street\n um um");
    EXPECT_EQ(state().lastTranscription.get(), "1 Main Street\n um um");
    EXPECT_EQ(state().modelContext->fetch<Snippet>().at(0).usageCount, 5);
    EXPECT_TRUE(network().requests().empty());
    EXPECT_TRUE(history().empty());
    EXPECT_FALSE(printed("stopDictation total"));
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_EQ(panel().shown(), std::nullopt);
}

TEST_F(CleanUp, InsertsNoEmptyText) {
    runtimeSupport().wait(state().processAndInsert("", false, false));
    EXPECT_TRUE(network().requests().empty());
    ASSERT_EQ(history().size(), 1U);
    EXPECT_EQ(history()[0].processedText, "");
    EXPECT_EQ(history()[0].wordCount, 0);
    EXPECT_EQ(pastedTexts(), Texts()) << "pasting an empty text deletes the selection";
}

TEST_F(CleanUp, AddsTheBlankToTheInsertedTextOnly) {
    answerNext("and then we left");
    runtimeSupport().wait(state().processAndInsert("and then we left", true, true));
    EXPECT_EQ(pastedTexts(), Texts{" and then we left"});
    EXPECT_EQ(state().lastTranscription.get(), "and then we left");
    EXPECT_EQ(history().at(0).processedText, "and then we left");
    EXPECT_TRUE(promptHas("FRAGMENT MODE"));
    EXPECT_TRUE(printed("AI processing: 0ms (unchanged)"));
}

TEST_F(CleanUp, ReplacesThePiecesOfALongDictation) {
    answerNext("I went to the store. Then I left.");
    EXPECT_EQ(batch("i went to the store then i left", 3), "I went to the store. Then I left.");
    EXPECT_EQ(undone(), 3);
    EXPECT_EQ(pastedTexts(), Texts{"I went to the store. Then I left."});
    EXPECT_TRUE(printed("Batch AI cleanup: 0ms (31 chars → 33 chars)"));
    EXPECT_FALSE(promptHas("FRAGMENT MODE"));
    EXPECT_TRUE(history().empty());
}

TEST_F(CleanUp, KeepsThePiecesIfTheTextIsUnchanged) {
    answerNext("I went to the store.");
    EXPECT_EQ(batch("I went to the store.", 2), "I went to the store.");
    EXPECT_EQ(undone(), 0);
    EXPECT_TRUE(pastedTexts().empty());
}

TEST_F(CleanUp, KeepsThePiecesAfterEightSecondsOrAFailure) {
    network().hangNext();
    EXPECT_EQ(batch("i went to the store", 2), "i went to the store");
    EXPECT_TRUE(printed("Batch AI cleanup failed/timed out after 8000ms"));
    EXPECT_TRUE(network().lastRequest()->wasCancelled());

    network().answerNext(500, "");
    EXPECT_EQ(batch("i went to the store", 2), "i went to the store");
    EXPECT_TRUE(printed("Batch AI cleanup failed/timed out after 0ms"));
    EXPECT_EQ(undone(), 0);
    EXPECT_TRUE(pastedTexts().empty());
}

} // namespace sonvale::core
