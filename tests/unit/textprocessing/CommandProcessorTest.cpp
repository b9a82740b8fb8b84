#include "textprocessing/CommandProcessor.h"

#include "tests/unit/textprocessing/ChatFixture.h"

#include <sstream>

namespace sonvale::textprocessing {

namespace {

using testing::HasSubstr;

const std::string rules =
    "You are a text transformation assistant. The user has selected text in an application and "
    "spoken a voice command describing how they want it changed.\n"
    "\n"
    "Rules:\n"
    "1. Apply the requested transformation to the selected text.\n"
    "2. Output ONLY the transformed text — no explanations, no quotes, no prefixes.\n"
    "3. Preserve the original formatting (paragraphs, lists, etc.) unless the command asks to "
    "change it.\n"
    "4. If the command is unclear, make a reasonable interpretation.\n"
    "5. Do NOT add greetings, sign-offs, or any text not implied by the command.\n"
    "\n"
    "Common commands and expected behavior:\n"
    "- \"make it friendlier\" / \"make it nicer\" → warmer tone, softer language\n"
    "- \"make it more professional\" / \"make it formal\" → polished, business-appropriate\n"
    "- \"make it shorter\" / \"summarize\" → condense while preserving key points\n"
    "- \"make it longer\" / \"expand\" → add detail and elaboration\n"
    "- \"fix grammar\" / \"fix spelling\" → correct errors only\n"
    "- \"translate to [language]\" → full translation\n"
    "- \"bullet points\" / \"make a list\" → restructure as bullet list\n"
    "- \"rewrite as email\" → format as a proper email\n"
    "- \"simplify\" → use simpler words and shorter sentences\n"
    "- \"make it casual\" → informal, conversational tone\n"
    "\n"
    "Selected text:\n"
    "---\n";

class CommandProcessorTest : public ChatFixture {
protected:
    runtime::Task<std::string> process(std::string selectedText, std::string command) {
        return CommandProcessor(makeClient(), auditLogger_)
            .process(std::move(selectedText), std::move(command));
    }

    base::Json sent() {
        const auto body = base::parseJson(network().lastRequest()->body.value());
        return body ? *body : base::Json();
    }

    /// Returns the events of command mode, in order.
    std::vector<base::Json> commandEvents() {
        std::vector<base::Json> events;
        std::istringstream lines(audit());
        for (std::string line; std::getline(lines, line);) {
            auto event = base::parseJson(line);
            if (event && (*event)["resource"] == "commandMode")
                events.push_back(std::move(*event));
        }
        return events;
    }
};

} // namespace

TEST_F(CommandProcessorTest, SendsTheRulesTheSelectedTextAndTheInstruction) {
    network().answerNext(200, answerWith("hi"));
    EXPECT_EQ(runtime_.wait(process("Good morning,\nall.", "make it shorter")), "hi");

    ASSERT_EQ(network().requests().size(), 1U);
    const auto body = sent();
    ASSERT_EQ(body["messages"].size(), 2U);
    EXPECT_EQ(body["messages"][0]["role"], "system");
    EXPECT_EQ(body["messages"][0]["content"], rules + "Good morning,\nall.\n---");
    EXPECT_EQ(body["messages"][1]["role"], "user");
    EXPECT_EQ(body["messages"][1]["content"], "make it shorter");
    EXPECT_EQ(body["max_tokens"], 4096);
    EXPECT_EQ(body["temperature"], 0.3);
}

TEST_F(CommandProcessorTest, SendsTheSelectedTextUnchanged) {
    const std::string texts[] = {"  two blanks \n", "---\nSelected text:\n---", "say \"x\" \\n %s {}",
                                 "\u00E9e\u0301\U0001F468\u200D\U0001F469", std::string(200000, 'x')};
    for (const auto& text : texts) {
        network().answerNext(200, answerWith("done"));
        EXPECT_EQ(runtime_.wait(process(text, " translate to French ")), "done");
        const auto body = sent();
        EXPECT_EQ(body["messages"][0]["content"], rules + text + "\n---");
        EXPECT_EQ(body["messages"][1]["content"], " translate to French ");
        EXPECT_EQ(commandPrompt(text), rules + text + "\n---");
    }
}

TEST_F(CommandProcessorTest, OnlyTrimsTheAnswer) {
    const std::pair<const char*, const char*> answers[] = {
        {" \n\t Dear all,\n\n  - one\r\n- two \r\n", "Dear all,\n\n  - one\r\n- two"},
        {"\u00A0\u2003x\u2028", "x"},
        {"Sure! Here is it: \"x\"", "Sure! Here is it: \"x\""},
        {" \n ", ""}};
    for (const auto& [answer, result] : answers) {
        network().answerNext(200, answerWith(answer));
        EXPECT_EQ(runtime_.wait(process("text", "fix grammar")), result);
    }
}

TEST_F(CommandProcessorTest, WritesTheLengthButNoTextOfTheSelectionToTheAuditLog) {
    for (const std::string text : {"secret", "e\u0301\U0001F468\u200D\U0001F469\u200D\U0001F467!", ""}) {
        network().answerNext(200, answerWith("changed"));
        runtime_.wait(process(text, "whispered"));
    }

    const auto events = commandEvents();
    ASSERT_EQ(events.size(), 3U);
    for (const auto& event : events) {
        EXPECT_EQ(event["eventType"], "aiProcessingRequested");
        EXPECT_EQ(event["actor"], "user");
        EXPECT_EQ(event["outcome"], "success");
        EXPECT_EQ(event["metadata"].size(), 1U);
    }
    EXPECT_EQ(events[0]["metadata"]["selectedTextLength"], "6");
    EXPECT_EQ(events[1]["metadata"]["selectedTextLength"], "3") << "characters as a reader counts them";
    EXPECT_EQ(events[2]["metadata"]["selectedTextLength"], "0");
    for (const char* word : {"secret", "whispered", "changed"}) {
        EXPECT_THAT(audit(), Not(HasSubstr(word)));
        for (const auto& line : log_.lines())
            EXPECT_THAT(line.text, Not(HasSubstr(word)));
    }
}

TEST_F(CommandProcessorTest, WritesItsEventBeforeTheRequest) {
    std::size_t eventsBefore = 0;
    network().onRequest([&](auto&) { eventsBefore = commandEvents().size(); });
    network().answerNext(200, answerWith("changed"));
    runtime_.wait(process("text", "simplify"));
    EXPECT_EQ(eventsBefore, 1U);
}

TEST_F(CommandProcessorTest, DoesNothingBeforeItsTaskIsStarted) {
    {
        const auto unused = process("text", "simplify");
    }
    EXPECT_TRUE(commandEvents().empty());
    EXPECT_TRUE(network().requests().empty());
}

TEST_F(CommandProcessorTest, ThrowsEveryErrorWithoutARetry) {
    network().answerNext(200, answerWith(""));
    EXPECT_EQ(failureOf(process("text", "simplify")), "API returned an empty response.");
    network().answerNext(500, "down");
    EXPECT_EQ(failureOf(process("text", "simplify")), "API error (500): down");
    network().failNext(platform::UrlError::Code::notConnectedToInternet, "offline");
    EXPECT_EQ(failureOf(process("text", "simplify")), "Network error: offline");
    EXPECT_EQ(network().requests().size(), 3U);
}

TEST_F(CommandProcessorTest, HasTheTimeLimitOfTheClient) {
    network().hangNext();
    const auto task = runtime::spawn(runtime_.main(), process("text", "simplify"));
    runtime_.clock().advance(600);
    EXPECT_FALSE(task.isDone());
    EXPECT_EQ(network().lastRequest()->timeoutSeconds, OpenAIChatClient::requestTimeout);

    network().lastRequest()->answer(200, answerWith("changed"));
    runtime_.runUntilIdle();
    EXPECT_EQ(runtime_.wait(task.value()), "changed");
}

TEST_F(CommandProcessorTest, ClosesTheConnectionWhenItIsCancelled) {
    network().hangNext();
    const auto task = runtime::spawn(runtime_.main(), process("text", "simplify"));
    runtime_.runUntilIdle();
    task.cancel();
    runtime_.runUntilIdle();
    EXPECT_TRUE(network().lastRequest()->wasCancelled());
    EXPECT_TRUE(task.isDone());
}

} // namespace sonvale::textprocessing
