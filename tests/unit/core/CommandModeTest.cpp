#include "base/Json.h"
#include "tests/unit/core/CoreFixture.h"

#include <gtest/gtest.h>

namespace sonvale::core {

namespace {

namespace keys = persistence::keys;
using hotkeys::HotkeyAction;
using Texts = std::vector<std::string>;
using Press = tests::FakeSyntheticInput::Press;

/// Spoken instructions, transcribed by the local recognizer. The test acts as the language model and as the
/// application in front.
class CommandModeTest : public tests::CoreFixture {
protected:
    CommandModeTest() {
        addresses.service = "https://service.example";
        addresses.key = "sk-own";
        settings().set(keys::transcriptionEngine, "local");
        rebuildState();
    }

    void command(const std::string& instruction) {
        recognizer().answerWith(instruction);
        press(HotkeyAction::commandMode);
        advance(0.2);
        speak(0.1);
        release(HotkeyAction::commandMode);
        settle();
    }
    void willAnswer(const std::string& text) {
        network().answerNext(200, base::jsonText({{"choices", {{{"message", {{"content", text}}}}}}}));
    }
    Texts texts_;
    base::Json question() { return base::Json::parse(network().lastRequest()->body.value()); }
    std::string prompt() { return question().at("messages").at(0).at("content"); }
};

} // namespace

TEST_F(CommandModeTest, RewritesTheSelection) {
    accessibility().setSelectedText("a rather long text");
    willAnswer("  A short text.\n");
    command("make it shorter");
    EXPECT_EQ(pastedTexts(), Texts{"A short text."});
    EXPECT_EQ(state().lastTranscription.get(), "A short text.");
    EXPECT_EQ(state().currentTranscription.get(), "A short text.");
    EXPECT_EQ(state().selectedTextForCommand.get(), std::nullopt);
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    EXPECT_TRUE(history().empty());
    EXPECT_EQ(panel().shown(), std::nullopt);

    EXPECT_EQ(question().at("messages").at(1).at("content"), "make it shorter");
    EXPECT_EQ(question().at("temperature"), 0.3);
    EXPECT_EQ(question().at("max_tokens"), 4096);
    EXPECT_TRUE(prompt().ends_with("Selected text:\n---\na rather long text\n---"));
    EXPECT_EQ(input().count(Press::copy), 0);
    EXPECT_EQ(input().count(Press::paste), 1);
}

TEST_F(CommandModeTest, RecordsTheRequestWithoutTheText) {
    accessibility().setSelectedText("häß");
    willAnswer("x");
    command("make it shorter");
    int found = 0;
    for (const auto& line : auditLines()) {
        const auto entry = base::Json::parse(line);
        if (entry.at("resource") != "commandMode")
            continue;
        ++found;
        EXPECT_EQ(entry.at("eventType"), "aiProcessingRequested");
        EXPECT_EQ(entry.at("actor"), "user");
        EXPECT_EQ(entry.at("outcome"), "success");
        EXPECT_EQ(entry.at("metadata"), (base::Json{{"selectedTextLength", "3"}}));
    }
    EXPECT_EQ(found, 1);
}

TEST_F(CommandModeTest, CopiesASelectionThatTheApplicationDoesNotExpose) {
    pasteboard().copyElsewhere("the user's own");
    input().setOnPress([this](Press press) {
        if (press == Press::copy)
            pasteboard().copyElsewhere("selected there");
        if (press == Press::paste)
            texts_.push_back(pasteboard().text().value_or("nothing"));
    });
    willAnswer("rewritten");
    command("make it shorter");
    EXPECT_TRUE(prompt().ends_with("selected there\n---"));
    EXPECT_EQ(texts_, Texts{"rewritten"});
    EXPECT_EQ(pasteboard().text(), "the user's own");
}

TEST_F(CommandModeTest, IsAPlainDictationWithoutASelection) {
    const auto before = pasteboard().contents();
    willAnswer("Words at the cursor.");
    command("words at the cursor");
    EXPECT_EQ(pastedTexts(), Texts{"Words at the cursor."});
    EXPECT_EQ(history().size(), 1U);
    EXPECT_EQ(input().count(Press::copy), 1);
    EXPECT_EQ(pasteboard().contents(), before);
}

TEST_F(CommandModeTest, TypesTheInstructionIfTheModelFails) {
    accessibility().setSelectedText("a rather long text");
    network().answerNext(500, "");
    willAnswer("Make it shorter.");
    command("make it shorter");
    EXPECT_EQ(pastedTexts(), Texts{"Make it shorter."});
    EXPECT_TRUE(auditHas("error", "commandProcessor", "command-processing-failed"));
    EXPECT_EQ(state().errorMessage.get(), std::nullopt);
    EXPECT_EQ(history().size(), 1U);
}

TEST_F(CommandModeTest, IsAPlainDictationIfNoModelMayBeUsed) {
    accessibility().setSelectedText("a rather long text");
    settings().set(keys::localOnlyMode, true);
    command("make it shorter");
    EXPECT_EQ(pastedTexts(), Texts{"make it shorter"});
    EXPECT_EQ(state().selectedTextForCommand.get(), std::nullopt);

    settings().set(keys::localOnlyMode, false);
    addresses.key = std::nullopt;
    rebuildState();
    command("and longer");
    EXPECT_EQ(pastedTexts().back(), "and longer");
    EXPECT_TRUE(network().requests().empty());
}

TEST_F(CommandModeTest, HasNoTimeLimit) {
    accessibility().setSelectedText("a rather long text");
    network().hangNext();
    command("make it shorter");
    advance(20);
    EXPECT_EQ(state().recordingState.get(), RecordingState::processing);
    network().lastRequest()->answer(200,
                                    base::jsonText({{"choices", {{{"message", {{"content", "Short."}}}}}}}));
    settle();
    EXPECT_EQ(pastedTexts(), Texts{"Short."});
}

TEST_F(CommandModeTest, IgnoresAReleaseWhileTheSelectionIsRead) {
    recognizer().answerWith("words");
    settings().set(keys::aiProcessingEnabled, false);
    press(HotkeyAction::commandMode);
    release(HotkeyAction::commandMode);
    EXPECT_EQ(state().recordingState.get(), RecordingState::idle);
    advance(0.2);
    EXPECT_EQ(state().recordingState.get(), RecordingState::recording);
    speak(0.1);
    press(HotkeyAction::commandMode);
    release(HotkeyAction::commandMode);
    settle();
    EXPECT_EQ(pastedTexts(), Texts{"words"});
    press(HotkeyAction::cancel);
    EXPECT_FALSE(state().forceCommandMode.get());
}

TEST_F(CommandModeTest, MakesTheNextPressACommandIfItsOwnPressCameTooEarly) {
    recognizer().answerWith("words");
    accessibility().setSelectedText("a rather long text");
    press(HotkeyAction::pushToTalk);
    speak(0.1);
    press(HotkeyAction::commandMode);
    EXPECT_TRUE(state().forceCommandMode.get());
    EXPECT_EQ(state().selectedTextForCommand.get(), std::nullopt);
    willAnswer("Words.");
    release(HotkeyAction::pushToTalk);
    settle();

    willAnswer("Short.");
    recognizer().answerWith("make it shorter");
    press(HotkeyAction::pushToTalk);
    EXPECT_EQ(state().selectedTextForCommand.get(), "a rather long text");
    EXPECT_FALSE(state().forceCommandMode.get());
    speak(0.1);
    release(HotkeyAction::pushToTalk);
    settle();
    EXPECT_EQ(pastedTexts().back(), "Short.");
}

TEST_F(CommandModeTest, ForgetsTheSelectionIfItIsCancelled) {
    accessibility().setSelectedText("a rather long text");
    press(HotkeyAction::commandMode);
    speak(0.1);
    press(HotkeyAction::cancel);
    EXPECT_EQ(state().selectedTextForCommand.get(), std::nullopt);
    EXPECT_FALSE(state().forceCommandMode.get());
    settle();
}

} // namespace sonvale::core
