#include "services/SupportChatViewModel.h"

#include "base/Json.h"
#include "persistence/SettingsKeys.h"
#include "services/SupportChatError.h"
#include "services/SupportMessages.h"
#include "tests/fakes/FakeUrlSessions.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestRuntime.h"
#include "tests/support/WebToken.h"

#include <gtest/gtest.h>

namespace sonvale::services {

namespace {

namespace keys = persistence::keys;
using platform::UrlError;

constexpr const char* noResponse = "Sorry, I didn't receive a response. Please try again.";
constexpr const char* otherFailure = "Something went wrong. Please check your connection and try again.";

class SupportChatViewModelTest : public testing::Test {
protected:
    SupportChatViewModelTest() {
        addresses_.backend = "https://backend.example/v2";
        addresses_.appVersion = "1.2.3";
        signIn();
        launch();
    }
    ~SupportChatViewModelTest() override { runtime_.endTasks(); }

    void launch() {
        authService_ = std::make_shared<AuthService>(AuthService::Parts{
            .main = runtime_.main(),
            .clock = runtime_.clock(),
            .urlSessions = sessions_,
            .settings = settings_,
            .addresses = addresses_,
        });
        chat_ = std::make_shared<SupportChatViewModel>(
            SupportChatViewModel::Parts{
                .main = runtime_.main(),
                .clock = runtime_.clock(),
                .urlSessions = sessions_,
                .addresses = addresses_,
            },
            authService_);
    }
    void signIn() {
        const auto now = std::chrono::duration<double>(runtime_.clock().date().time_since_epoch()).count();
        token_ = tests::signedWebToken({{"exp", static_cast<std::int64_t>(now) + 3600}}, "secret");
        settings_.set(keys::accessToken, token_);
    }

    /// Asks a question and returns its running request.
    tests::FakeRequest& ask(const std::string& text = "Why?") {
        const auto before = network().requests().size();
        chat_->inputText = text;
        chat_->send();
        runtime_.runUntilIdle();
        EXPECT_EQ(network().requests().size(), before + 1);
        return *network().lastRequest();
    }
    /// Asks a question and returns the body of its answer.
    tests::FakeBody& open(const std::string& text = "Why?") {
        auto& request = ask(text);
        request.answerHead(200);
        runtime_.runUntilIdle();
        return *request.lines;
    }
    void give(tests::FakeBody& body, const std::string& bytes) {
        body.give(bytes);
        runtime_.runUntilIdle();
    }
    void end(tests::FakeBody& body) {
        body.end();
        runtime_.runUntilIdle();
    }
    static std::string piece(const std::string& text) {
        return "data: " + base::jsonText({{"choices", {{{"delta", {{"content", text}}}}}}}) + "\n\n";
    }

    /// Returns the whole conversation after the greeting, one "role: content" for each message.
    std::vector<std::string> conversation() const {
        std::vector<std::string> all;
        for (const auto& message : chat_->messages())
            all.push_back(message.role + ": " + message.content);
        EXPECT_FALSE(all.empty());
        EXPECT_EQ(all.front(), "assistant: " + std::string(supportGreeting));
        all.erase(all.begin());
        return all;
    }
    std::string error() const { return chat_->errorMessage.get().value_or(""); }
    bool isIdle() const {
        return !chat_->isStreaming.get() && !chat_->isWaitingForFirstChunk.get() && !chat_->streamTask();
    }
    static std::vector<base::Json> sentMessages(const tests::FakeRequest& request) {
        return base::Json::parse(request.body.value()).at("messages").get<std::vector<base::Json>>();
    }

    tests::FakeUrlSessions::Control& network() { return sessions_.control(); }

    tests::LogCapture log_;
    tests::TemporaryDirectory directory_;
    tests::TestRuntime runtime_;
    tests::FakeUrlSessions sessions_;
    persistence::Settings settings_{directory_.path() + "/own/defaults.json"};
    ServiceAddresses addresses_;
    std::string token_;
    std::shared_ptr<AuthService> authService_;
    std::shared_ptr<SupportChatViewModel> chat_;
};

} // namespace

TEST_F(SupportChatViewModelTest, StartsWithTheGreetingOnly) {
    ASSERT_EQ(chat_->messages().size(), 1U);
    EXPECT_EQ(chat_->messages()[0].role, "assistant");
    EXPECT_EQ(chat_->messages()[0].content,
              "Hi! I'm here to help with setup, troubleshooting, or account questions. What's going on?");
    EXPECT_EQ(chat_->messages()[0].timestamp, runtime_.clock().date());
    EXPECT_EQ(chat_->inputText.get(), "");
    EXPECT_EQ(error(), "");
    EXPECT_TRUE(isIdle());
    EXPECT_TRUE(network().sessions().empty()) << "nothing is loaded for the network yet";
}

TEST_F(SupportChatViewModelTest, DoesNothingForBlanks) {
    for (const auto* blanks : {"", " ", " \t\n\r\n ", "\u3000"}) {
        chat_->inputText = std::string(blanks);
        chat_->send();
        runtime_.runUntilIdle();
        EXPECT_EQ(conversation().size(), 0U);
        EXPECT_EQ(chat_->inputText.get(), blanks);
        EXPECT_TRUE(isIdle());
    }
    EXPECT_TRUE(network().requests().empty());
}

TEST_F(SupportChatViewModelTest, AsksWithTheTrimmedTextAtOnceAndEmptiesTheField) {
    chat_->inputText = std::string("  Why is\nit \"so\"? \n");
    chat_->send();
    EXPECT_EQ(conversation(), std::vector<std::string>{"user: Why is\nit \"so\"?"});
    EXPECT_EQ(chat_->inputText.get(), "");
    EXPECT_TRUE(chat_->streamTask());
    EXPECT_FALSE(chat_->isStreaming.get()) << "the task has its first turn later";
}

TEST_F(SupportChatViewModelTest, PostsToTheBackendWithTheTokenAndNoVersion) {
    const auto& request = ask("Why?");
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, "https://backend.example/v2/api/support-chat");
    EXPECT_EQ(request.headers, (std::vector<platform::HttpHeader>{{"Content-Type", "application/json"},
                                                                  {"Authorization", "Bearer " + token_}}));
    EXPECT_EQ(request.timeoutSeconds, 60);
    EXPECT_EQ(base::Json::parse(request.body.value()),
              (base::Json{{"messages", {{{"role", "user"}, {"content", "Why?"}}}}, {"variant", "support"}}));
    EXPECT_TRUE(chat_->isStreaming.get());
    EXPECT_TRUE(chat_->isWaitingForFirstChunk.get());
    EXPECT_EQ(conversation(), (std::vector<std::string>{"user: Why?", "assistant: "}));
}

TEST_F(SupportChatViewModelTest, ReleasesTheRequestsBodyWhenTheAnswerBegins) {
    auto& request = ask();
    EXPECT_NE(request.liveBody(), nullptr);
    request.answerHead(200);
    runtime_.runUntilIdle();
    EXPECT_EQ(request.liveBody(), nullptr);
}

TEST_F(SupportChatViewModelTest, ExtendsTheAnswerPieceByPiece) {
    auto& body = open();
    give(body, piece("Be"));
    EXPECT_EQ(conversation().back(), "assistant: Be");
    EXPECT_FALSE(chat_->isWaitingForFirstChunk.get());
    EXPECT_TRUE(chat_->isStreaming.get());
    give(body, piece("cause 🎉\n"));
    EXPECT_EQ(conversation().back(), "assistant: Because 🎉\n");
    const auto id = chat_->messages().back().id;
    give(body, piece("of <b>this</b>."));
    EXPECT_EQ(conversation().back(), "assistant: Because 🎉\nof <b>this</b>.");
    EXPECT_EQ(chat_->messages().back().id, id);
    give(body, "data: [DONE]\n\n");
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(error(), "");
    EXPECT_EQ(conversation(),
              (std::vector<std::string>{"user: Why?", "assistant: Because 🎉\nof <b>this</b>."}));
}

TEST_F(SupportChatViewModelTest, EndsAtDoneAndClosesTheOpenConnection) {
    auto& body = open();
    give(body, piece("Yes.") + "data: [DONE]\n");
    EXPECT_TRUE(isIdle());
    EXPECT_TRUE(body.wasClosed());
    EXPECT_EQ(conversation().back(), "assistant: Yes.");
}

TEST_F(SupportChatViewModelTest, EndsWithTheConnectionWithoutDone) {
    auto& body = open();
    give(body, piece("Yes."));
    end(body);
    EXPECT_TRUE(isIdle());
    EXPECT_EQ(error(), "");
    EXPECT_EQ(conversation().back(), "assistant: Yes.");
}

TEST_F(SupportChatViewModelTest, WaitsForTheFirstDataLine) {
    auto& body = open();
    give(body, ": keep-alive\n\nevent: message\nid: 4\ndata:no\nDATA: no\n data: no\n");
    EXPECT_TRUE(chat_->isWaitingForFirstChunk.get());
    EXPECT_EQ(conversation().back(), "assistant: ");
    give(body, "data: {}\n");
    EXPECT_FALSE(chat_->isWaitingForFirstChunk.get()) << "whatever it holds";
    EXPECT_EQ(conversation().back(), "assistant: ");
}

TEST_F(SupportChatViewModelTest, IgnoresPayloadsWithoutAText) {
    auto& body = open();
    for (const auto* payload :
         {"", "no json", "{", "[]", "{}", R"({"choices": []})", R"({"choices": {}})", R"({"choices": [4]})",
          R"({"choices": [{}]})", R"({"choices": [{"delta": 4}]})", R"({"choices": [{"delta": {}}]})",
          R"({"choices": [{"delta": {"content": null}}]})", R"({"choices": [{"delta": {"content": 4}}]})",
          R"({"choices": [{}, {"delta": {"content": "no"}}]})", "\xff\xfe", "[DONE] "})
        give(body, std::string("data: ") + payload + "\n");
    EXPECT_TRUE(chat_->isStreaming.get());
    give(body, piece("Yes."));
    end(body);
    EXPECT_EQ(conversation().back(), "assistant: Yes.");
}

TEST_F(SupportChatViewModelTest, RemovesTheEmptyAnswerAndApologizes) {
    for (const auto* bytes : {"", ": comment\n\n\n", "data: {}\n\ndata: [DONE]\n\n"}) {
        chat_->clear();
        auto& body = open();
        give(body, bytes);
        end(body);
        EXPECT_EQ(conversation(), std::vector<std::string>{"user: Why?"}) << bytes;
        EXPECT_EQ(error(), noResponse) << bytes;
        EXPECT_TRUE(isIdle());
    }
}

TEST_F(SupportChatViewModelTest, ShowsTheStatusOfAFailedAnswer) {
    for (const int status : {199, 300, 400, 401, 403, 404, 429, 500, 503}) {
        chat_->clear();
        ask().answer(status, "data: {\"choices\":[{\"delta\":{\"content\":\"no\"}}]}\n");
        runtime_.runUntilIdle();
        EXPECT_EQ(error(),
                  "Server returned an error (HTTP " + std::to_string(status) + "). Please try again.");
        EXPECT_EQ(conversation(), std::vector<std::string>{"user: Why?"});
        EXPECT_TRUE(isIdle());
        EXPECT_FALSE(network().lastRequest()->lines->isOpen());
    }
}

TEST_F(SupportChatViewModelTest, AcceptsEveryStatusOfSuccess) {
    for (const int status : {200, 201, 299}) {
        chat_->clear();
        ask().answer(status, piece("Yes."));
        runtime_.runUntilIdle();
        EXPECT_EQ(error(), "") << status;
        EXPECT_EQ(conversation().back(), "assistant: Yes.");
    }
}

TEST_F(SupportChatViewModelTest, ReportsAnAnswerThatIsNotHttp) {
    ask().answer(platform::UrlResponse{});
    runtime_.runUntilIdle();
    EXPECT_EQ(error(), "Received an unexpected response from the server. Please try again.");
    EXPECT_EQ(conversation(), std::vector<std::string>{"user: Why?"});
    EXPECT_TRUE(isIdle());
}

TEST_F(SupportChatViewModelTest, ShowsOneSentenceForAnyOtherFailure) {
    for (const auto code :
         {UrlError::Code::timedOut, UrlError::Code::cannotFindHost, UrlError::Code::notConnectedToInternet,
          UrlError::Code::serverCertificateUntrusted, UrlError::Code::cancelled, UrlError::Code::unknown}) {
        chat_->clear();
        ask().fail(code);
        runtime_.runUntilIdle();
        EXPECT_EQ(error(), otherFailure);
        EXPECT_EQ(conversation(), std::vector<std::string>{"user: Why?"});
        EXPECT_TRUE(isIdle());
    }
}

TEST_F(SupportChatViewModelTest, KeepsThePiecesOfAnInterruptedAnswer) {
    auto& body = open();
    give(body, piece("Half of"));
    body.fail(UrlError::Code::networkConnectionLost);
    runtime_.runUntilIdle();
    EXPECT_EQ(conversation(), (std::vector<std::string>{"user: Why?", "assistant: Half of"}));
    EXPECT_EQ(error(), otherFailure);
    EXPECT_TRUE(isIdle());
}

TEST_F(SupportChatViewModelTest, RemovesAnAnswerThatIsInterruptedBeforeAnyText) {
    auto& body = open();
    give(body, "data: {}\n");
    body.fail(UrlError::Code::timedOut);
    runtime_.runUntilIdle();
    EXPECT_EQ(conversation(), std::vector<std::string>{"user: Why?"});
    EXPECT_EQ(error(), otherFailure);
}

TEST_F(SupportChatViewModelTest, ReportsAMissingSignIn) {
    authService_->signOut();
    chat_->inputText = std::string("Why?");
    chat_->send();
    runtime_.runUntilIdle();
    EXPECT_EQ(error(), "You must be signed in to use support chat.");
    EXPECT_EQ(conversation(), std::vector<std::string>{"user: Why?"});
    EXPECT_TRUE(isIdle());
    EXPECT_TRUE(network().requests().empty());
}

TEST_F(SupportChatViewModelTest, ReportsARequestThatCannotBeBuilt) {
    addresses_.backend = "https://backend.example:no port/";
    launch();
    chat_->inputText = std::string("Why?");
    chat_->send();
    runtime_.runUntilIdle();
    EXPECT_EQ(error(), "Failed to build request. Please try again.");
    EXPECT_EQ(conversation(), std::vector<std::string>{"user: Why?"});
    EXPECT_TRUE(isIdle());
    EXPECT_TRUE(network().requests().empty());
}

TEST_F(SupportChatViewModelTest, SendsTheConversationWithoutTheGreetingAndEqualMessages) {
    auto& first = open("One");
    give(first, piece(std::string(supportGreeting)) + "data: [DONE]\n");
    auto& second = open(std::string(supportGreeting));
    give(second, piece("Answer") + "data: [DONE]\n");
    const auto sent = sentMessages(ask("Three"));
    EXPECT_EQ(sent, (std::vector<base::Json>{{{"role", "user"}, {"content", "One"}},
                                             {{"role", "user"}, {"content", supportGreeting}},
                                             {{"role", "assistant"}, {"content", "Answer"}},
                                             {{"role", "user"}, {"content", "Three"}}}));
    EXPECT_EQ(network().sessions().size(), 1U) << "one session for all";
}

TEST_F(SupportChatViewModelTest, ForgetsTheErrorWithTheNextQuestion) {
    ask("One").answer(500, "");
    runtime_.runUntilIdle();
    EXPECT_NE(error(), "");
    chat_->inputText = std::string("Two");
    chat_->send();
    EXPECT_EQ(error(), "");
    runtime_.runUntilIdle();
    EXPECT_EQ(sentMessages(*network().lastRequest()).size(), 2U) << "what was not answered stays";
}

TEST_F(SupportChatViewModelTest, IgnoresAQuestionWhileAnAnswerIsArriving) {
    chat_->inputText = std::string("One");
    chat_->send();
    const auto sendAgain = [this] {
        chat_->inputText = std::string("Two");
        chat_->send();
        EXPECT_EQ(chat_->inputText.get(), "Two");
        runtime_.runUntilIdle();
        EXPECT_EQ(network().requests().size(), 1U);
    };
    sendAgain();
    network().lastRequest()->answerHead(200);
    sendAgain();
    auto& body = *network().lastRequest()->lines;
    give(body, piece("Yes."));
    sendAgain();
    end(body);
    EXPECT_EQ(conversation(), (std::vector<std::string>{"user: One", "assistant: Yes."}));
    chat_->send();
    runtime_.runUntilIdle();
    EXPECT_EQ(network().requests().size(), 2U);
}

TEST_F(SupportChatViewModelTest, ClearsEverythingButTheGreeting) {
    const auto greeting = chat_->messages()[0].id;
    auto& body = open();
    give(body, piece("Yes.") + "data: [DONE]\n");
    ask().answer(500, "");
    runtime_.runUntilIdle();
    chat_->inputText = std::string("a draft");
    chat_->clear();
    EXPECT_TRUE(conversation().empty());
    EXPECT_NE(chat_->messages()[0].id, greeting);
    EXPECT_EQ(error(), "");
    EXPECT_EQ(chat_->inputText.get(), "a draft");
    EXPECT_EQ(sentMessages(ask("Two")).size(), 1U);
}

TEST_F(SupportChatViewModelTest, CancelsTheAnswerIfItIsClearedAtAnyTime) {
    chat_->inputText = std::string("One");
    chat_->send();
    chat_->clear();
    runtime_.runUntilIdle();
    EXPECT_TRUE(conversation().empty()) << "before the task began";
    EXPECT_TRUE(isIdle());
    EXPECT_TRUE(network().requests().empty());

    auto& request = ask();
    chat_->clear();
    EXPECT_TRUE(isIdle()) << "at once";
    runtime_.runUntilIdle();
    EXPECT_TRUE(request.wasCancelled());
    EXPECT_TRUE(conversation().empty());

    auto& body = open();
    give(body, piece("Half"));
    body.give(piece("late"));
    chat_->clear();
    runtime_.runUntilIdle();
    EXPECT_TRUE(body.wasClosed());
    EXPECT_TRUE(conversation().empty());
    EXPECT_EQ(error(), "");
    EXPECT_TRUE(isIdle());
}

TEST_F(SupportChatViewModelTest, KeepsACancelledAnswerOutOfTheNextTurn) {
    auto& old = open("One");
    give(old, piece("Half"));
    chat_->clear();
    chat_->inputText = std::string("Two");
    chat_->send();
    old.give(piece("late"));
    runtime_.runUntilIdle();
    EXPECT_EQ(conversation(), (std::vector<std::string>{"user: Two", "assistant: "}));
    EXPECT_TRUE(chat_->isStreaming.get());
    network().lastRequest()->answer(200, piece("Yes."));
    runtime_.runUntilIdle();
    EXPECT_EQ(conversation(), (std::vector<std::string>{"user: Two", "assistant: Yes."}));
}

TEST_F(SupportChatViewModelTest, ClosesTheConnectionAtItsDestruction) {
    auto& body = open();
    give(body, piece("Half"));
    const std::weak_ptr<SupportChatViewModel> weak = chat_;
    chat_.reset();
    EXPECT_TRUE(weak.expired()) << "its task does not hold it";
    runtime_.runUntilIdle();
    EXPECT_TRUE(body.wasClosed());
    EXPECT_EQ(runtime_.registry().count(), 0U);
}

TEST_F(SupportChatViewModelTest, LogsNoTextOfTheConversation) {
    auto& body = open("secretquestion");
    give(body, piece("secretanswer") + "data: secretbroken\n");
    body.fail(UrlError::Code::networkConnectionLost);
    runtime_.runUntilIdle();
    for (const auto& line : log_.lines())
        EXPECT_EQ(line.text.find("secret"), std::string::npos) << line.text;
}

TEST(SupportChatError, DescribesEachCase) {
    const auto server = SupportChatError::serverError(418);
    EXPECT_EQ(server.errorCase(), SupportChatError::Case::serverError);
    EXPECT_EQ(server.status(), 418);
    EXPECT_STREQ(server.what(), "Server returned an error (HTTP 418). Please try again.");
    EXPECT_EQ(SupportChatError::invalidResponse().errorCase(), SupportChatError::Case::invalidResponse);
}

} // namespace sonvale::services
