#include "tests/unit/transcription/RealtimeFixture.h"
#include "transcription/RealtimeMessages.h"

namespace sonvale::transcription {

using RealtimeSession = RealtimeFixture;
using platform::UrlError;

TEST_F(RealtimeSession, OpensTheSocketWithTheKeyAndSendsItsSettings) {
    start();
    EXPECT_EQ(socket().request.url, "wss://service.example/v1/realtime");
    EXPECT_EQ(socket().request.headers,
              (std::vector<platform::HttpHeader>{{"Authorization", "Bearer sk-own"}}));
    EXPECT_EQ(socket().request.timeoutSeconds, 60);
    EXPECT_TRUE(network().requests().empty()) << "a key needs no other token";
    EXPECT_EQ(types(), std::vector<std::string>{"session.update"});
    EXPECT_TRUE(engine_->hasReadySession());
    EXPECT_TRUE(logged("RealtimeSTT: WebSocket connecting (input: 24000.000000 Hz, 1 ch)"));
    EXPECT_TRUE(logged("RealtimeSTT: Session started"));
    EXPECT_TRUE(printed("WebSocket session start: 0ms (reused: false)"));
}

TEST_F(RealtimeSession, SendsTheLanguageUnlessTheServiceDetectsIt) {
    start();
    const auto transcription = [&] {
        return frames(socket()).front().at("/session/audio/input/transcription"_json_pointer);
    };
    EXPECT_EQ(transcription(), (base::Json{{"model", "gpt-4o-mini-transcribe"}}));
    for (const auto& [chosen, isSent] :
         std::vector<std::pair<std::string, bool>>{{"auto", false}, {"de", true}}) {
        language_ = chosen;
        engine_->cancelSession();
        start();
        EXPECT_EQ(transcription().contains("language"), isSent) << chosen;
    }
    EXPECT_EQ(transcription().at("language"), "de");
}

TEST_F(RealtimeSession, IsNotReusedInAnotherLanguage) {
    start();
    start();
    EXPECT_EQ(network().sockets().size(), 1U);
    language_ = "de";
    EXPECT_FALSE(engine_->hasReadySession());
    start();
    ASSERT_EQ(network().sockets().size(), 2U);
    EXPECT_EQ(frames(socket()).front().at("/session/audio/input/transcription/language"_json_pointer), "de");
    EXPECT_TRUE(engine_->hasReadySession());
}

TEST_F(RealtimeSession, FailsWithoutATokenBeforeASocketIsOpened) {
    for (const auto& token : {std::optional<std::string>(), std::optional<std::string>("")}) {
        makeEngine(std::nullopt, token);
        EXPECT_EQ(errorOf(engine_->startSession(format)), "apiKeyMissing");
    }
    EXPECT_TRUE(network().sessions().empty());
    EXPECT_EQ(countOf("RealtimeSTT: Cannot start session — auth token is missing"), 2);
}

TEST_F(RealtimeSession, GetsTheTokenOfTheSocketFromTheBackend) {
    makeEngine(std::nullopt, "jwt");
    network().answerNext(200, R"({"value":"ek_1","expires_at":1})");
    start();
    const auto request = network().lastRequest();
    EXPECT_EQ(request->method, "POST");
    EXPECT_EQ(request->url, "https://backend.example/base/api/realtime/session");
    EXPECT_EQ(request->timeoutSeconds, 10);
    EXPECT_EQ(request->body, std::nullopt);
    EXPECT_EQ(request->headers, (std::vector<platform::HttpHeader>{{"Authorization", "Bearer jwt"},
                                                                   {"Content-Type", "application/json"},
                                                                   {"X-App-Version", "2.5"}}));
    EXPECT_TRUE(network().sessions().at(static_cast<std::size_t>(request->session)).isInvalidated);
    EXPECT_EQ(socket().header("Authorization"), "Bearer ek_1");
    EXPECT_TRUE(printed("Ephemeral token: 0ms (HTTP 200)"));
    EXPECT_TRUE(logged("RealtimeSTT: Ephemeral token obtained (length 4)"));
}

TEST_F(RealtimeSession, ReportsTheErrorInTheAnswerToTheTokenRequest) {
    struct Row {
        platform::UrlResponse response;
        std::string error;
        std::string line;
    };
    const std::vector<Row> rows = {
        {{std::nullopt, {}, "?"},
         "invalidResponse",
         "RealtimeSTT: Ephemeral token request returned non-HTTP response"},
        {{426, {}, ""}, "upgradeRequired", "RealtimeSTT: App version too old, upgrade required"},
        {{401, {}, "{}"}, "apiKeyMissing", "RealtimeSTT: Ephemeral token request failed (HTTP 401)"},
        {{302, {}, "{}"}, "apiKeyMissing", "RealtimeSTT: Ephemeral token request failed (HTTP 302)"},
        {{200, {}, "[1]"}, "invalidResponse", "RealtimeSTT: Ephemeral token response is not valid JSON"},
        {{200, {}, "{"}, "invalidResponse", "RealtimeSTT: Ephemeral token response is not valid JSON"},
        {{200, {}, R"({"value":""})"},
         "invalidResponse",
         "RealtimeSTT: Ephemeral token response missing token value"},
        {{299, {}, R"({"client_secret":{"value":7}})"},
         "invalidResponse",
         "RealtimeSTT: Ephemeral token response missing token value"},
    };
    makeEngine(std::nullopt, "jwt");
    for (const auto& row : rows) {
        network().answerNext(row.response);
        EXPECT_EQ(errorOf(engine_->startSession(format)), row.error) << row.line;
        EXPECT_TRUE(logged(row.line)) << row.line;
    }
    network().failNext(UrlError::Code::timedOut, "too slow");
    EXPECT_EQ(errorOf(engine_->startSession(format)), "too slow");
    EXPECT_TRUE(network().sockets().empty());
    EXPECT_FALSE(engine_->hasReadySession());
}

TEST_F(RealtimeSession, AcceptsBothFormsOfTheToken) {
    const auto token = [](const std::string& body) { return ephemeralTokenFrom({200, {}, body}); };
    EXPECT_EQ(token(R"({"value":"a","client_secret":{"value":"b"}})"), "a");
    EXPECT_EQ(token(R"({"value":"","client_secret":{"value":"b"}})"), "b");
    EXPECT_EQ(token(R"({"value":5,"client_secret":{"value":"b"}})"), "b");
}

TEST_F(RealtimeSession, ReusesAnOpenSession) {
    start();
    start();
    EXPECT_EQ(network().sockets().size(), 1U);
    EXPECT_TRUE(logged("RealtimeSTT: Reusing pre-warmed session"));
    EXPECT_TRUE(printed("WebSocket session start: 0ms (reused: true)"));
}

TEST_F(RealtimeSession, ThrowsTheErrorOfAFailedHandshakeAndKeepsTheAudio) {
    append(6000);
    network().failHandshakes(UrlError(UrlError::Code::cannotConnectToHost, "nobody there"));
    EXPECT_EQ(errorOf(engine_->startSession(format)), "nobody there");
    EXPECT_FALSE(engine_->hasReadySession());

    network().failHandshakes(std::nullopt);
    start();
    EXPECT_EQ(network().sockets().size(), 2U);
    EXPECT_EQ(network().sockets().front()->cancelCodes(), std::vector<int>{1001});
    run();
    EXPECT_EQ(frameSizes(), std::vector<std::size_t>{4800});
}

TEST_F(RealtimeSession, WaitsForTheHandshakeAndMeasuresIt) {
    network().holdHandshakes();
    const auto task = runtime::spawn(runtime_.main(), engine_->startSession(format));
    run();
    EXPECT_FALSE(engine_->hasReadySession());
    clock().advance(0.25);
    socket().open();
    run();
    EXPECT_TRUE(task.isDone());
    EXPECT_TRUE(printed("WebSocket session start: 250ms (reused: false)"));
}

TEST_F(RealtimeSession, UsesTheLatestOfTwoStarts) {
    makeEngine(std::nullopt, "jwt");
    network().hangNext();
    const auto first = runtime::spawn(runtime_.main(), engine_->startSession(format));
    run();
    network().answerNext(200, R"({"value":"ek_2"})");
    start();
    network().requests().front()->answer(200, R"({"value":"ek_1"})");
    run();
    ASSERT_TRUE(first.isDone());
    EXPECT_THROW(runtime::detail::take<void>(first.state()->outcome), runtime::CancellationError);
    EXPECT_EQ(network().sockets().size(), 1U) << "the first start must not replace the second one's socket";
    EXPECT_EQ(socket().header("Authorization"), "Bearer ek_2");
    EXPECT_TRUE(engine_->hasReadySession());
}

TEST_F(RealtimeSession, OpensNoSocketAfterACancelDuringTheStart) {
    tokenSeconds_ = 1;
    const auto task = runtime::spawn(runtime_.main(), engine_->startSession(format));
    run();
    engine_->cancelSession();
    clock().advance(2);
    ASSERT_TRUE(task.isDone());
    EXPECT_THROW(runtime::detail::take<void>(task.state()->outcome), runtime::CancellationError);
    EXPECT_TRUE(network().sockets().empty());
}

TEST_F(RealtimeSession, TranscribesNoFile) {
    EXPECT_EQ(errorOf(engine_->transcribe("a.m4a", "en")), "engineUnavailable");
    EXPECT_TRUE(engine_->isAvailable());
}

TEST_F(RealtimeSession, ClosesItsSocketWhenDestroyed) {
    start();
    const auto left = network().lastSocket();
    engine_.reset();
    run();
    EXPECT_TRUE(left->isEnded());
    EXPECT_EQ(left->cancelCodes().front(), 1001);
}

// Pre-warming.

TEST_F(RealtimeSession, PreWarmsOnceAndClosesTheUnusedSession) {
    runtime_.wait(engine_->preWarm(format));
    EXPECT_TRUE(engine_->hasReadySession());
    EXPECT_TRUE(logged("RealtimeSTT: Pre-warm session established"));
    EXPECT_TRUE(printed("Pre-warm session: 0ms (success)"));

    runtime_.wait(engine_->preWarm(format));
    EXPECT_TRUE(logged("RealtimeSTT: Pre-warm skipped — session already active"));
    EXPECT_EQ(network().sockets().size(), 1U);

    clock().advance(99.9);
    EXPECT_TRUE(engine_->hasReadySession());
    clock().advance(0.2);
    EXPECT_FALSE(engine_->hasReadySession());
    EXPECT_TRUE(logged("RealtimeSTT: Pre-warm token expiring — refreshing session"));
    EXPECT_TRUE(logged("RealtimeSTT: Session lifecycle — duration: 100.0s, audio_sent: false"));
    EXPECT_EQ(socket().cancelCodes().front(), 1001);
    clock().advance(300);
    EXPECT_EQ(network().sockets().size(), 1U) << "it is not opened again in the background";
}

TEST_F(RealtimeSession, KeepsAPreWarmedSessionThatIsInUse) {
    runtime_.wait(engine_->preWarm(format));
    clock().advance(50);
    engine_->clearPreWarmState();
    clock().advance(500);
    EXPECT_TRUE(engine_->hasReadySession());
}

TEST_F(RealtimeSession, MeasuresTheLifetimeOfALaterPreWarmFromItsStart) {
    runtime_.wait(engine_->preWarm(format));
    clock().advance(60);
    engine_->cancelSession();
    runtime_.wait(engine_->preWarm(format));
    clock().advance(60);
    EXPECT_TRUE(engine_->hasReadySession());
    clock().advance(41);
    EXPECT_FALSE(engine_->hasReadySession());
}

TEST_F(RealtimeSession, ReportsAFailedPreWarmAndReturns) {
    makeEngine(std::nullopt, std::nullopt);
    runtime_.wait(engine_->preWarm(format));
    EXPECT_TRUE(printed("Pre-warm session: 0ms (failed: API key is not configured.)"));
    EXPECT_TRUE(logged("RealtimeSTT: Pre-warm failed — API key is not configured."));
    clock().advance(200);
    EXPECT_FALSE(logged("RealtimeSTT: Pre-warm token expiring — refreshing session"));
}

TEST_F(RealtimeSession, EndsTheTokenRequestOfACancelledPreWarm) {
    makeEngine(std::nullopt, "jwt");
    network().hangNext();
    const auto task = runtime::spawn(runtime_.main(), engine_->preWarm(format));
    run();
    task.cancel();
    run();
    EXPECT_TRUE(task.isDone());
    EXPECT_TRUE(network().lastRequest()->wasCancelled());
}

} // namespace sonvale::transcription
