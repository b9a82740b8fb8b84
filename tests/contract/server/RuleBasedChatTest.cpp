#include "tests/support/RuleBasedChat.h"

#include "tests/support/RawClient.h"
#include "tests/support/ServiceAnswers.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace sonvale::tests {

namespace {

using base::Json;

struct Row {
    std::string dictated;
    std::string cleaned;
};

void PrintTo(const Row& row, std::ostream* stream) {
    *stream << row.dictated;
}

class RuleBasedCleanUp : public testing::TestWithParam<Row> {};

TEST_P(RuleBasedCleanUp, FollowsItsRulesAndKeepsCleanText) {
    EXPECT_EQ(cleanedByRules(GetParam().dictated), GetParam().cleaned);
    EXPECT_EQ(cleanedByRules(GetParam().cleaned), GetParam().cleaned);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, RuleBasedCleanUp,
    testing::Values(
        Row{"i will be ten minutes late for the meeting", "I will be ten minutes late for the meeting."},
        Row{"um so uh the the report is ready", "So the report is ready."},
        Row{"I I went home", "I went home."}, Row{"i um i went, uh, home", "I went, home."},
        Row{"Well, um, I mean, it works", "Well, it works."},
        Row{"Um, it works. Uh, it does.", "It works. It does."}, Row{"you know we can try", "We can try."},
        Row{"do you know what i mean", "Do you know what I mean."},
        Row{"it was good, um. now the rest", "It was good. now the rest."},
        Row{"wh- what is st-stopping us", "What is st-stopping us."},
        Row{"he said that that had had no effect", "He said that that had had no effect."},
        Row{"call five five five 12 12", "Call five five five 12 12."},
        Row{"No. No one knows", "No. No one knows."}, Row{"i'm sure i'll come", "I'm sure I'll come."},
        Row{"is it ready?", "Is it ready?"}, Row{"first, second,", "First, second."},
        Row{"he said \"no.\"", "He said \"no.\""}, Row{"(in brackets)", "(In brackets)."},
        Row{"iPhone and umbrella", "iPhone and umbrella."}, Row{"étude in blue", "Étude in blue."},
        Row{"  two \n\n lines\t", "Two lines."}, Row{"42 is it", "42 is it."}, Row{"um, uh", ""}, Row{"", ""},
        Row{" \n", ""}, Row{"-", ""}, Row{"ok \xff then", "Ok \xEF\xBF\xBD then."}));

Request asking(const Json& messages) {
    return {.method = "POST",
            .target = "/api/chat",
            .body = base::jsonText({{"model", "m"}, {"max_tokens", 10}, {"messages", messages}})};
}

std::string textIn(const Answer& answer) {
    return base::parseJson(answer.body)->at("/choices/0/message/content"_json_pointer);
}

TEST(RuleBasedChat, CleansTheTextBetweenTheTagsOfTheLastUserMessage) {
    const auto cleaned = [](const std::string& message) {
        return textIn(
            chatByRules(asking({{{"role", "system"}, {"content", "Clean <dictation>um</dictation>."}},
                                {{"role", "user"}, {"content", "earlier"}},
                                {{"role", "user"}, {"content", message}}})));
    };
    EXPECT_EQ(cleaned("<dictation>\num hello there\n</dictation>"), "Hello there.");
    EXPECT_EQ(cleaned("Text: <dictation>a </dictation> tag</dictation> and more"), "A </dictation> tag.");
    EXPECT_EQ(cleaned("<dictation>no end"), "No end.");
    EXPECT_EQ(cleaned("</dictation><dictation>turned round"), "Turned round.");
    EXPECT_EQ(cleaned("um no tags"), "No tags.");
}

TEST(RuleBasedChat, AnswersLikeTheServiceAndSaysThatItIsNotAModel) {
    const auto answer =
        chatByRules(asking({{{"role", "system"}, {"content", std::string(400, 'x')}},
                            {{"role", "user"}, {"content", "<dictation>hello</dictation>"}}}));
    EXPECT_EQ(answer.status, 200);
    const auto body = *base::parseJson(answer.body);
    EXPECT_EQ(body.at("object"), "chat.completion");
    EXPECT_EQ(body.at("model"), "rule-based-stand-in");
    EXPECT_EQ(body.at("/choices/0/finish_reason"_json_pointer), "stop");
    const auto& usage = body.at("usage");
    EXPECT_GT(usage.at("prompt_tokens"), 100);
    EXPECT_EQ(usage.at("completion_tokens"), roughTokens("Hello."));
    EXPECT_EQ(usage.at("total_tokens").get<int>(),
              usage.at("prompt_tokens").get<int>() + usage.at("completion_tokens").get<int>());
}

TEST(RuleBasedChat, Answers400ToAnInvalidRequest) {
    for (const auto* const body : {"", "{", "[]", "{}", R"({"messages":1})", R"({"messages":[1,null]})",
                                   R"({"messages":[{"role":"user","content":7}]})",
                                   R"({"messages":[{"role":"system","content":"hi"}]})"}) {
        const auto answer = chatByRules({.method = "POST", .target = "/api/chat", .body = body});
        EXPECT_EQ(answer.status, 400) << body;
        EXPECT_TRUE(base::parseJson(answer.body)->at("error").contains("message")) << body;
    }
}

TEST(RuleBasedChat, AnswersThroughAListeningServer) {
    TestServer server;
    serveEverything(server, Listening{});
    const auto body =
        asking({{{"role", "user"}, {"content", "<dictation>\ni I um went\n</dictation>"}}}).body;
    for (const auto* const path : {"/v1/chat/completions", "/api/chat"}) {
        RawClient client(server.port());
        client.send(fmt::format("POST {} HTTP/1.1\r\nContent-Length: {}\r\n\r\n{}", path, body.size(), body));
        EXPECT_THAT(client.readUntil("\"usage\""), testing::HasSubstr("\"content\":\"I went.\"")) << path;
    }
}

} // namespace

} // namespace sonvale::tests
