#include "textprocessing/ChatMessages.h"

#include "base/Text.h"
#include "textprocessing/TextProcessingError.h"

#include <gtest/gtest.h>

#include <limits>

namespace sonvale::textprocessing {

namespace {

using platform::UrlResponse;
using Case = TextProcessingError::Case;

/// Returns the name of the error's case, or the content.
std::string outcomeOf(const UrlResponse& response) {
    try {
        return chatAnswerFrom(response).content;
    } catch (const TextProcessingError& error) {
        switch (error.errorCase()) {
        case Case::networkError:
            return "networkError";
        case Case::apiError:
            return "apiError";
        case Case::apiKeyMissing:
            return "apiKeyMissing";
        case Case::invalidResponse:
            return "invalidResponse";
        case Case::emptyResponse:
            return "emptyResponse";
        case Case::upgradeRequired:
            return "upgradeRequired";
        }
        return "unknown";
    }
}

std::string outcomeOf(const std::string& body) {
    return outcomeOf(UrlResponse{200, {}, body});
}

std::string descriptionOf(const UrlResponse& response) {
    try {
        return chatAnswerFrom(response).content;
    } catch (const TextProcessingError& error) {
        return error.errorDescription();
    }
}

std::pair<std::int64_t, std::int64_t> tokensOf(const std::string& usage) {
    const auto answer =
        chatAnswerFrom({200, {}, R"({"choices":[{"message":{"content":"a"}}],"usage":)" + usage + "}"});
    return {answer.promptTokens, answer.completionTokens};
}

const std::string good = R"({"choices":[{"message":{"content":"Hi."}}]})";

} // namespace

TEST(ChatBody, HasExactlyItsKeysWithTheirTypes) {
    const auto body = chatBody("system text", "user text", 4096, 0.0);
    EXPECT_EQ(
        base::jsonText(body),
        R"({"max_tokens":4096,"messages":[{"content":"system text","role":"system"},)"
        R"({"content":"user text","role":"user"}],"model":"gpt-4o-mini","store":false,"temperature":0.0})");
    EXPECT_TRUE(body["max_tokens"].is_number_integer());
    EXPECT_TRUE(body["temperature"].is_number());
    EXPECT_TRUE(body["store"].is_boolean());
}

TEST(ChatBody, HasTheNumbersOfTheCall) {
    const auto body = chatBody("", "", std::numeric_limits<std::int64_t>::max(), 0.3);
    EXPECT_EQ(body["max_tokens"], std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(body["temperature"], 0.3);
}

TEST(ChatAnswer, IsTheFirstChoiceUnchanged) {
    EXPECT_EQ(outcomeOf(good), "Hi.");
    EXPECT_EQ(outcomeOf(R"({"choices":[{"message":{"content":" \n"}}]})"), " \n");
    EXPECT_EQ(outcomeOf(R"({"choices":[{"message":{"content":"a"}},{"message":{"content":"b"}}]})"), "a");
    EXPECT_EQ(outcomeOf(R"({"choices":[{"message":{"content":"a"}},{}]})"), "a");
    EXPECT_EQ(outcomeOf(R"({"choices":[{"message":{"content":"\u00e9\ud83d\ude00"}}]})"), "\u00E9\U0001F600");
}

TEST(ChatAnswer, ChecksItsStatusFirst) {
    EXPECT_EQ(outcomeOf({std::nullopt, {}, good}), "invalidResponse");
    EXPECT_EQ(outcomeOf({426, {}, good}), "upgradeRequired");
    for (const int status : {0, 100, 199, 300, 304, 400, 401, 403, 404, 429, 500, 503, 999})
        EXPECT_EQ(outcomeOf({status, {}, good}), "apiError") << status;
    for (const int status : {200, 201, 204, 299})
        EXPECT_EQ(outcomeOf({status, {}, good}), "Hi.") << status;
}

TEST(ChatAnswer, ReportsTheBodyOfARefusal) {
    EXPECT_EQ(descriptionOf({503, {}, "down \u00E9"}), "API error (503): down \u00E9");
    EXPECT_EQ(descriptionOf({500, {}, "\xFF"}), "API error (500): Unknown error");
    EXPECT_EQ(descriptionOf({500, {}, ""}), "API error (500): ");
    EXPECT_EQ(descriptionOf({426, {}, "\xFF"}), "Please update Son Vale to the latest version.");
}

TEST(ChatAnswer, IsANetworkErrorIfItIsNotJson) {
    for (const std::string body : {"", "oops", "{", "{\"choices\":", "\xFF", "{} {}", "<html></html>"})
        EXPECT_EQ(outcomeOf(body), "networkError") << body;
    EXPECT_EQ(outcomeOf(std::string(100000, '[')), "networkError");
    EXPECT_EQ(descriptionOf({200, {}, "secret"}).find("secret"), std::string::npos);
}

TEST(ChatAnswer, IsInvalidInAnyOtherShape) {
    for (const auto* body : {
             "{}",
             "[]",
             "null",
             "1",
             "\"text\"",
             R"({"error":{"message":"no"}})",
             R"({"choices":null})",
             R"({"choices":[]})",
             R"({"choices":{}})",
             R"({"choices":"a"})",
             R"({"choices":[null]})",
             R"({"choices":["a"]})",
             R"({"choices":[{"message":{"content":"a"}},"b"]})",
             R"({"choices":[{}]})",
             R"({"choices":[{"message":null}]})",
             R"({"choices":[{"message":"a"}]})",
             R"({"choices":[{"message":{}}]})",
             R"({"choices":[{"message":{"content":null}}]})",
             R"({"choices":[{"message":{"content":1}}]})",
             R"({"choices":[{"message":{"content":["a"]}}]})",
             R"({"choices":[{"message":{"Content":"a"}}]})",
             R"({"choices":[{"text":"a"}]})",
             R"({"choices":[{},{"message":{"content":"a"}}]})",
         })
        EXPECT_EQ(outcomeOf(std::string(body)), "invalidResponse") << body;
}

TEST(ChatAnswer, IsEmptyIfItsTextIsEmpty) {
    EXPECT_EQ(outcomeOf(R"({"choices":[{"message":{"content":""}}]})"), "emptyResponse");
}

TEST(ChatAnswer, CountsTokensIfTheyAreReported) {
    using Tokens = std::pair<std::int64_t, std::int64_t>;
    EXPECT_EQ(tokensOf(R"({"prompt_tokens":12,"completion_tokens":3,"total_tokens":15})"), Tokens(12, 3));
    EXPECT_EQ(tokensOf(R"({"prompt_tokens":12})"), Tokens(12, 0));
    EXPECT_EQ(tokensOf(R"({"completion_tokens":3})"), Tokens(0, 3));
    EXPECT_EQ(tokensOf(R"({"prompt_tokens":"12","completion_tokens":null})"), Tokens(0, 0));
    EXPECT_EQ(tokensOf(R"({"prompt_tokens":1.5,"completion_tokens":true})"), Tokens(0, 0));
    EXPECT_EQ(tokensOf(R"({"prompt_tokens":99999999999999999999,"completion_tokens":-1})"), Tokens(0, -1));
    for (const auto* usage : {"null", "[]", "{}", "1", "\"a\""})
        EXPECT_EQ(tokensOf(usage), Tokens(0, 0)) << usage;
    EXPECT_EQ(chatAnswerFrom({200, {}, good}).promptTokens, 0);
}

} // namespace sonvale::textprocessing
