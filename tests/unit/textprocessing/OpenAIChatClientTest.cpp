#include "textprocessing/OpenAIChatClient.h"

#include "tests/unit/textprocessing/ChatFixture.h"

#include <algorithm>

namespace sonvale::textprocessing {

namespace {

using platform::HttpHeader;
using platform::UrlError;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

class OpenAIChatClientTest : public ChatFixture {
protected:
    runtime::Task<std::string> question(const OpenAIChatClient& client) {
        return client.complete("Clean up.", "well hello", 4096, 0.0);
    }
    runtime::Task<std::string> question() { return question(makeClient()); }

    std::string failureAfter(platform::UrlResponse response) {
        network().answerNext(std::move(response));
        return failureOf(question());
    }
};

bool isOverwritten(const std::vector<std::byte>& bytes) {
    return std::ranges::all_of(bytes, [](std::byte byte) { return byte == std::byte(0); });
}

} // namespace

TEST_F(OpenAIChatClientTest, SendsTheKeyToTheService) {
    network().answerNext(200, answerWith(" Hello.\n"));
    EXPECT_EQ(runtime_.wait(question()), " Hello.\n") << "the answer comes back as it is";

    ASSERT_EQ(network().requests().size(), 1U);
    const auto request = network().lastRequest();
    EXPECT_EQ(request->method, "POST");
    EXPECT_EQ(request->url, "https://service.example/v1/chat/completions");
    EXPECT_THAT(request->headers, UnorderedElementsAre(HttpHeader{"Authorization", "Bearer sk-own"},
                                                       HttpHeader{"Content-Type", "application/json"},
                                                       HttpHeader{"Cache-Control", "no-store"}));
    EXPECT_EQ(request->timeoutSeconds, 30);
    EXPECT_EQ(
        request->body,
        R"({"max_tokens":4096,"messages":[{"content":"Clean up.","role":"system"},)"
        R"({"content":"well hello","role":"user"}],"model":"gpt-4o-mini","store":false,"temperature":0.0})");
}

TEST_F(OpenAIChatClientTest, SendsTheUsersTokenToTheBackend) {
    network().answerNext(200, answerWith("Hello."));
    EXPECT_EQ(runtime_.wait(question(makeClient(std::nullopt, "jwt"))), "Hello.");

    const auto request = network().lastRequest();
    EXPECT_EQ(request->method, "POST");
    EXPECT_EQ(request->url, "https://backend.example/api/chat");
    EXPECT_THAT(request->headers, UnorderedElementsAre(HttpHeader{"Authorization", "Bearer jwt"},
                                                       HttpHeader{"Content-Type", "application/json"},
                                                       HttpHeader{"Cache-Control", "no-store"},
                                                       HttpHeader{"X-App-Version", "2.5"}));
    EXPECT_EQ(request->timeoutSeconds, 30);
}

TEST_F(OpenAIChatClientTest, SendsTheSameBodyBothWays) {
    network().answerNext(200, answerWith("a"));
    network().answerNext(200, answerWith("b"));
    runtime_.wait(question());
    runtime_.wait(question(makeClient(std::nullopt, "jwt")));
    EXPECT_EQ(network().requests()[0]->body, network().requests()[1]->body);
}

TEST_F(OpenAIChatClientTest, SendsAnyTextAsUtf8) {
    network().answerNext(200, answerWith("x"));
    runtime_.wait(makeClient().complete("a \"b\"\n\\", "\u00E9\u2192\U0001F600 \xFF", 20, 0.25));
    const auto sent = base::parseJson(network().lastRequest()->body.value());
    ASSERT_TRUE(sent);
    EXPECT_EQ((*sent)["messages"][0]["content"], "a \"b\"\n\\");
    EXPECT_EQ((*sent)["messages"][1]["content"], "\u00E9\u2192\U0001F600 \uFFFD");
    EXPECT_EQ((*sent)["max_tokens"], 20);
    EXPECT_EQ((*sent)["temperature"], 0.25);
}

TEST_F(OpenAIChatClientTest, SendsNothingWithoutAToken) {
    for (const std::optional<std::string>& token : {std::optional<std::string>(), {""}}) {
        EXPECT_EQ(failureOf(question(makeClient(std::nullopt, token))), "API key is not configured.");
        EXPECT_EQ(failureOf(question(makeClient(ownKey, token))), "API key is not configured.");
    }
    EXPECT_TRUE(network().requests().empty());
    EXPECT_TRUE(network().sessions().empty());
    EXPECT_THAT(audit(), testing::Not(HasSubstr("aiProcessing")));
}

TEST_F(OpenAIChatClientTest, MakesOneSessionForAllClientsWithTheFirstCall) {
    const auto first = makeClient();
    const auto second = makeClient();
    EXPECT_TRUE(network().sessions().empty());
    for (const auto* client : {&first, &second, &first}) {
        network().answerNext(200, answerWith("a"));
        runtime_.wait(question(*client));
    }
    EXPECT_EQ(network().sessions().size(), 1U);
    EXPECT_EQ(network().requests().size(), 3U);
}

TEST_F(OpenAIChatClientTest, DoesNotMixItsCalls) {
    const auto client = makeClient();
    const auto first = runtime::spawn(runtime_.main(), question(client));
    const auto second = runtime::spawn(runtime_.main(), question(client));
    const auto third = runtime::spawn(runtime_.main(), question(client));
    runtime_.runUntilIdle();
    ASSERT_EQ(network().requests().size(), 3U);
    network().requests()[2]->answer(500, "down");
    network().requests()[1]->answer(200, answerWith("two"));
    runtime_.runUntilIdle();
    EXPECT_TRUE(third.isDone());
    EXPECT_FALSE(first.isDone());
    network().requests()[0]->answer(200, answerWith("one"));
    EXPECT_EQ(runtime_.wait(first.value()), "one");
    EXPECT_EQ(runtime_.wait(second.value()), "two");
}

TEST_F(OpenAIChatClientTest, TriesOnceOnly) {
    network().failNext(UrlError::Code::networkConnectionLost);
    network().answerNext(200, answerWith("late"));
    EXPECT_EQ(failureOf(question()), "Network error: The request failed.");
    EXPECT_EQ(network().requests().size(), 1U);
}

TEST_F(OpenAIChatClientTest, WrapsTheTransportsError) {
    network().failNext(UrlError::Code::timedOut, "too slow");
    try {
        runtime_.wait(question());
        ADD_FAILURE();
    } catch (const TextProcessingError& error) {
        EXPECT_EQ(error.errorCase(), TextProcessingError::Case::networkError);
        EXPECT_EQ(error.underlying(), (UnderlyingError{"NSURLErrorDomain", -1001, "too slow"}));
    }
}

TEST_F(OpenAIChatClientTest, ThrowsADifferentErrorForEachFailure) {
    EXPECT_EQ(failureAfter({std::nullopt, {}, "x"}), "Invalid response from API.");
    EXPECT_EQ(failureAfter({426, {}, "x"}), "Please update Son Vale to the latest version.");
    EXPECT_EQ(failureAfter({500, {}, "down"}), "API error (500): down");
    EXPECT_EQ(failureAfter({200, {}, "{}"}), "Invalid response from API.");
    EXPECT_EQ(failureAfter({200, {}, answerWith("")}), "API returned an empty response.");
    EXPECT_THAT(failureAfter({200, {}, "oops"}), testing::StartsWith("Network error: "));
    network().answerNext(200, answerWith("fine"));
    EXPECT_EQ(runtime_.wait(question()), "fine") << "a failure has no effect on the next call";
}

TEST_F(OpenAIChatClientTest, ReportsToTheAuditLogAndTheTimings) {
    network().onRequest([this](tests::FakeRequest& request) {
        runtime_.clock().schedule(0.35, [&request] {
            request.answer(200, R"({"choices":[{"message":{"content":"secret words"}}],)"
                                R"("usage":{"prompt_tokens":412,"completion_tokens":7}})");
        });
    });
    runtime_.wait(question());

    const auto log = audit();
    const auto requested = log.find(
        R"({"actor":"system","eventType":"aiProcessingRequested","metadata":{"engine":"gpt-4o-mini"},)"
        R"("outcome":"success","resource":"aiProcessing",)");
    const auto received =
        log.find(R"({"actor":"system","eventType":"aiProcessingReceived","metadata":{"inputTokens":"412",)"
                 R"("latencyMs":"350","outputTokens":"7"},"outcome":"success","resource":"aiProcessing",)");
    ASSERT_NE(requested, std::string::npos) << log;
    ASSERT_NE(received, std::string::npos) << log;
    EXPECT_LT(requested, received);
    EXPECT_THAT(log_.perf(), testing::ElementsAre("[PERF] AI cleanup: 350ms (in: 412, out: 7)"));
    for (const auto* word : {"secret", "hello", "Clean", ownKey})
        EXPECT_THAT(log, testing::Not(HasSubstr(word)));
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(OpenAIChatClientTest, CountsNoTokensWithoutUsage) {
    network().answerNext(200, answerWith("Hi."));
    runtime_.wait(question());
    EXPECT_THAT(log_.perf(), testing::ElementsAre("[PERF] AI cleanup: 0ms (in: 0, out: 0)"));
    EXPECT_THAT(audit(), HasSubstr(R"({"inputTokens":"0","latencyMs":"0","outputTokens":"0"})"));
}

TEST_F(OpenAIChatClientTest, ReportsAFailedCallAsRequestedOnly) {
    for (const auto& body : {std::string("oops"), answerWith("")})
        failureAfter({200, {}, body});
    failureAfter({500, {}, ""});
    EXPECT_THAT(audit(), HasSubstr("aiProcessingRequested"));
    EXPECT_THAT(audit(), testing::Not(HasSubstr("aiProcessingReceived")));
    EXPECT_TRUE(log_.perf().empty());
}

TEST_F(OpenAIChatClientTest, ClosesTheConnectionWhenItIsCancelled) {
    const auto task = runtime::spawn(runtime_.main(), question());
    runtime_.runUntilIdle();
    const auto request = network().lastRequest();
    ASSERT_TRUE(request);
    EXPECT_FALSE(request->isEnded());
    task.cancel();
    runtime_.runUntilIdle();
    EXPECT_TRUE(request->wasCancelled());
    ASSERT_TRUE(task.isDone());
    EXPECT_EQ(failureOf(task.value()), "Network error: cancelled");
}

TEST_F(OpenAIChatClientTest, FinishesACallAfterItsClientIsDestroyed) {
    auto client = std::make_unique<OpenAIChatClient>(makeClient());
    const auto task = runtime::spawn(runtime_.main(), question(*client));
    client.reset();
    runtime_.runUntilIdle();
    ASSERT_TRUE(network().lastRequest());
    network().lastRequest()->answer(200, answerWith("still here"));
    EXPECT_EQ(runtime_.wait(task.value()), "still here");
}

TEST_F(OpenAIChatClientTest, OverwritesTheBodyOnEveryPath) {
    enum class Way { answer, refusal, nonsense, failure, cancellation };
    for (const auto way : {Way::answer, Way::refusal, Way::nonsense, Way::failure, Way::cancellation}) {
        std::shared_ptr<const std::vector<std::byte>> body;
        network().onRequest([&](tests::FakeRequest& request) {
            body = request.liveBody();
            EXPECT_FALSE(isOverwritten(*body));
            if (way == Way::answer)
                request.answer(200, answerWith("fine"));
            else if (way == Way::refusal)
                request.answer(500, "down");
            else if (way == Way::nonsense)
                request.answer(200, "oops");
            else if (way == Way::failure)
                request.fail(UrlError::Code::timedOut);
        });
        const auto task = runtime::spawn(runtime_.main(), question());
        runtime_.runUntilIdle();
        if (way == Way::cancellation) {
            EXPECT_FALSE(task.isDone());
            task.cancel();
            runtime_.runUntilIdle();
        }
        EXPECT_TRUE(task.isDone());
        ASSERT_TRUE(body);
        EXPECT_TRUE(isOverwritten(*body)) << static_cast<int>(way);
    }
}

} // namespace sonvale::textprocessing
