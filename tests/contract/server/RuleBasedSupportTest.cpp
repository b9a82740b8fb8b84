#include "tests/support/RuleBasedSupport.h"

#include "base/Json.h"
#include "services/SupportMessages.h"
#include "tests/support/TestServer.h"

#include <gtest/gtest.h>

namespace sonvale::tests {

namespace {

/// Returns the answer as the program reads it.
std::string textIn(const Answer& answer) {
    std::string text;
    services::SupportStream stream;
    for (const auto& piece : answer.pieces) {
        for (std::size_t begin = 0, end = 0; (end = piece.find('\n', begin)) != std::string::npos;
             begin = end + 1)
            text += stream.take(std::string_view(piece).substr(begin, end - begin)).text;
    }
    EXPECT_TRUE(stream.isEnded());
    return text;
}

Answer ask(const std::vector<services::SupportMessage>& messages) {
    return supportByRules({.method = "POST",
                           .target = "/api/support-chat",
                           .body = base::jsonText(services::supportBody(messages))});
}

} // namespace

TEST(RuleBasedSupport, AnswersTheLastQuestionWordByWord) {
    const auto answer = ask({{"user", "my microphone"}, {"assistant", "no"}, {"user", "How do I PASTE?"}});
    EXPECT_EQ(textIn(answer), supportWordsFor("paste"));
    EXPECT_NE(supportWordsFor("paste"), supportWordsFor("microphone"));
    EXPECT_GT(answer.pieces.size(), 10U);
    EXPECT_GT(answer.pieceSeconds, 0);
}

TEST(RuleBasedSupport, AnswersEveryQuestion) {
    for (const auto* const body : {"", "x", "{}", R"({"messages": [1]})", "\xff"})
        EXPECT_EQ(textIn(supportByRules({.method = "POST", .body = body})), supportWordsFor("")) << body;
}

} // namespace sonvale::tests
