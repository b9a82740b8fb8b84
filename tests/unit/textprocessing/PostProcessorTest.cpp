#include "textprocessing/PostProcessor.h"

#include "tests/unit/textprocessing/ChatFixture.h"
#include "textprocessing/CleanUpPrompt.h"

namespace sonvale::textprocessing {

namespace {

class PostProcessorTest : public ChatFixture {
protected:
    runtime::Task<std::string> process(std::string text, bool isFragment = false) {
        return PostProcessor(makeClient()).process(std::move(text), context(), isFragment);
    }

    static ProcessingContext context() {
        return {.formality = 4,
                .customInstructions = "Short.",
                .dictionaryEntries = {"Sonvale"},
                .appCategory = "email"};
    }

    base::Json sent() {
        const auto body = base::parseJson(network().lastRequest()->body.value());
        return body ? *body : base::Json();
    }
};

} // namespace

TEST_F(PostProcessorTest, ReturnsTextsOfLessThanFourCharactersUnchanged) {
    for (const std::string text : {"", "a", "abc", " a ", "\u00E9\u00E9\u00E9", "e\u0301e\u0301e\u0301",
                                   "\U0001F468\u200D\U0001F469\u200D\U0001F467\U0001F1E9\U0001F1EA!"})
        EXPECT_EQ(runtime_.wait(process(text)), text);
    EXPECT_TRUE(network().requests().empty());
}

TEST_F(PostProcessorTest, SendsTextsOfFourCharacters) {
    for (const std::string text : {"abcd", "    ", "e\u0301e\u0301e\u0301e\u0301"}) {
        network().answerNext(200, answerWith(text));
        runtime_.wait(process(text));
        EXPECT_EQ(sent()["messages"][1]["content"], "<dictation>\n" + text + "\n</dictation>");
    }
    EXPECT_EQ(network().requests().size(), 3U);
}

TEST_F(PostProcessorTest, SendsThePromptOfTheContext) {
    for (const bool isFragment : {false, true}) {
        network().answerNext(200, answerWith("Well hello."));
        EXPECT_EQ(runtime_.wait(process("well hello", isFragment)), "Well hello.");
        const auto body = sent();
        EXPECT_EQ(body["messages"][0]["content"], buildSystemPrompt(context(), isFragment));
        EXPECT_EQ(body["max_tokens"], 4096);
        EXPECT_EQ(body["temperature"], 0.0);
    }
}

TEST_F(PostProcessorTest, CleansTheAnswer) {
    network().answerNext(200, answerWith("Sure! I went home.\nNote: fixed."));
    EXPECT_EQ(runtime_.wait(process("um i went home")), "I went home.");
}

TEST_F(PostProcessorTest, KeepsTheRawTextIfTheModelRepliesOrReturnsNothing) {
    for (const auto* answer : {"Noon in London, of course.", "   ", "\n", "."}) {
        network().answerNext(200, answerWith(answer));
        EXPECT_EQ(runtime_.wait(process("what time is it")), "what time is it") << answer;
    }
}

TEST_F(PostProcessorTest, ThrowsEveryError) {
    network().answerNext(200, answerWith(""));
    EXPECT_EQ(failureOf(process("well hello")), "API returned an empty response.");
    network().answerNext(500, "down");
    EXPECT_EQ(failureOf(process("well hello")), "API error (500): down");
    network().failNext(platform::UrlError::Code::notConnectedToInternet, "offline");
    EXPECT_EQ(failureOf(process("well hello")), "Network error: offline");
    EXPECT_EQ(network().requests().size(), 3U) << "there is no second try";
}

TEST_F(PostProcessorTest, ClosesTheConnectionWhenItIsCancelled) {
    const auto task = runtime::spawn(runtime_.main(), process("well hello"));
    runtime_.runUntilIdle();
    task.cancel();
    runtime_.runUntilIdle();
    EXPECT_TRUE(network().lastRequest()->wasCancelled());
    EXPECT_TRUE(task.isDone());
}

} // namespace sonvale::textprocessing
