#include "services/AuthService.h"

#include "base/Base64.h"
#include "base/Json.h"
#include "persistence/SettingsKeys.h"
#include "tests/fakes/FakeUrlSessions.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestRuntime.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace sonvale::services {

namespace {

namespace keys = persistence::keys;
using platform::UrlError;

class AuthServiceTest : public testing::Test {
protected:
    AuthServiceTest() { launch(); }

    /// Starts the program again with the current settings.
    void launch() {
        service_ = std::make_shared<AuthService>(AuthService::Parts{
            .main = runtime_.main(),
            .clock = runtime_.clock(),
            .urlSessions = sessions_,
            .settings = settings_,
            .addresses = addresses(),
        });
    }
    void launchWith(const std::string& accessToken, const std::string& refreshToken) {
        settings_.set(keys::accessToken, accessToken);
        settings_.set(keys::refreshToken, refreshToken);
        launch();
    }

    static ServiceAddresses addresses() {
        ServiceAddresses result;
        result.backend = "https://backend.example/v2";
        return result;
    }

    /// Returns a token that expires in that many seconds.
    std::string token(double seconds, const std::string& mark = "") const {
        const auto now = std::chrono::duration<double>(runtime_.clock().date().time_since_epoch()).count();
        auto claims = base::encodeBase64(
            base::jsonText({{"exp", static_cast<std::int64_t>(now + seconds)}, {"mark", mark}}));
        std::erase(claims, '=');
        return "eyJhbGciOiJIUzI1NiJ9." + claims + ".c2ln";
    }
    static std::string session(const std::string& accessToken, const std::string& refreshToken,
                               const base::Json& user = nullptr) {
        return base::jsonText({{"access_token", accessToken},
                               {"refresh_token", refreshToken},
                               {"token_type", "bearer"},
                               {"user", user}});
    }

    /// Starts to request the token; the result is known when the request is answered.
    runtime::TaskHandle<std::optional<std::string>> ask() {
        auto handle = runtime::spawn(runtime_.main(), service_->validAccessToken());
        runtime_.runUntilIdle();
        return handle;
    }
    static std::string outcome(const runtime::TaskHandle<std::optional<std::string>>& handle) {
        if (!handle.isDone())
            return "still waiting";
        auto result = handle.state()->outcome;
        return runtime::detail::take<std::optional<std::string>>(std::move(result)).value_or("nothing");
    }
    std::string validToken() { return runtime_.wait(service_->validAccessToken()).value_or("nothing"); }

    /// Returns the text for the user; empty after a success.
    std::string failureOf(runtime::Task<> task) {
        try {
            runtime_.wait(std::move(task));
        } catch (const AuthError& error) {
            return error.errorDescription();
        }
        return "";
    }
    std::string signIn() { return failureOf(service_->signIn("ann@example.com", "secret \"word\"")); }
    std::string signInAfter(int status, std::string body) {
        network().answerNext(status, std::move(body));
        return signIn();
    }

    tests::FakeUrlSessions::Control& network() { return sessions_.control(); }
    void runUntilIdle() { runtime_.runUntilIdle(); }

    std::string settingsFile() const { return directory_.path() + "/own/defaults.json"; }
    bool holdsNoSession() const {
        return !settings_.has(keys::accessToken.name) && !settings_.has(keys::refreshToken.name) &&
               !settings_.has(keys::userEmail.name);
    }

    tests::LogCapture log_;
    tests::TemporaryDirectory directory_;
    mutable tests::TestRuntime runtime_;
    tests::FakeUrlSessions sessions_;
    persistence::Settings settings_{settingsFile()};
    std::shared_ptr<AuthService> service_;
};

} // namespace

TEST_F(AuthServiceTest, StartsSignedOutWithoutASession) {
    EXPECT_FALSE(service_->isAuthenticated.get());
    EXPECT_EQ(service_->currentUserEmail.get(), std::nullopt);
    EXPECT_EQ(validToken(), "nothing");
    EXPECT_TRUE(network().sessions().empty()) << "nothing is loaded for the network yet";
}

TEST_F(AuthServiceTest, RestoresTheSessionOfTheLastLaunch) {
    settings_.set(keys::userEmail, "ann@example.com");
    launchWith(token(3600), "");
    EXPECT_TRUE(service_->isAuthenticated.get());
    EXPECT_EQ(service_->currentUserEmail.get(), "ann@example.com");
    EXPECT_EQ(validToken(), token(3600));

    launchWith(token(-3600), "refresh");
    EXPECT_TRUE(service_->isAuthenticated.get()) << "it can be refreshed";
    launchWith("", "refresh");
    EXPECT_TRUE(service_->isAuthenticated.get());

    settings_.set(keys::userEmail, "");
    launchWith(token(-3600), "");
    EXPECT_FALSE(service_->isAuthenticated.get());
    EXPECT_EQ(service_->currentUserEmail.get(), std::nullopt);
}

TEST_F(AuthServiceTest, SignsInWithOneFlatObject) {
    network().answerNext(200, session(token(3600), "refresh-1", {{"email", "ann@example.com"}}));
    EXPECT_EQ(signIn(), "");

    const auto request = network().lastRequest();
    EXPECT_EQ(request->method, "POST");
    EXPECT_EQ(request->url, "https://backend.example/v2/auth/login");
    EXPECT_EQ(request->headers, (std::vector<platform::HttpHeader>{{"Content-Type", "application/json"}}));
    EXPECT_EQ(request->timeoutSeconds, 30);
    EXPECT_EQ(base::Json::parse(request->body.value()),
              (base::Json{{"email", "ann@example.com"}, {"password", "secret \"word\""}}));

    EXPECT_TRUE(service_->isAuthenticated.get());
    EXPECT_EQ(service_->currentUserEmail.get(), "ann@example.com");
    EXPECT_EQ(validToken(), token(3600));
    EXPECT_EQ(settings_.stored(keys::accessToken), token(3600));
    EXPECT_EQ(settings_.stored(keys::refreshToken), "refresh-1");
    EXPECT_EQ(settings_.stored(keys::userEmail), "ann@example.com");
}

TEST_F(AuthServiceTest, SignsUpAtItsOwnPath) {
    network().answerNext(201, session(token(3600), "refresh-1"));
    EXPECT_EQ(failureOf(service_->signUp("new@example.com", "secret")), "");
    EXPECT_EQ(network().lastRequest()->url, "https://backend.example/v2/auth/signup");
    EXPECT_TRUE(service_->isAuthenticated.get());
}

TEST_F(AuthServiceTest, KeepsNeitherThePasswordNorTheTokensAnywhereElse) {
    network().hangNext();
    const auto signing =
        runtime::spawn(runtime_.main(), service_->signIn("ann@example.com", "a-secret-word"));
    runUntilIdle();
    const auto request = network().lastRequest();
    const auto body = request->liveBody();
    ASSERT_TRUE(body);
    request->answer(200, session(token(3600), "refresh-1"));
    runUntilIdle();
    EXPECT_TRUE(std::ranges::all_of(*body, [](std::byte byte) { return byte == std::byte{0}; }));

    EXPECT_EQ(tests::modeOf(settingsFile()), 0600U);
    const auto file = tests::contentOf(settingsFile());
    EXPECT_NE(file.find("refresh-1"), std::string::npos);
    EXPECT_EQ(file.find("a-secret-word"), std::string::npos);
    for (const auto& line : log_.lines())
        EXPECT_EQ(line.text.find("refresh-1"), std::string::npos) << line.text;
}

TEST_F(AuthServiceTest, KeepsTheAddressIfTheAnswerContainsNone) {
    signInAfter(200, session(token(3600), "refresh-1", {{"email", "ann@example.com"}}));
    signInAfter(200, session(token(3600), "refresh-2"));
    EXPECT_EQ(service_->currentUserEmail.get(), "ann@example.com");
    EXPECT_EQ(settings_.stored(keys::userEmail), "ann@example.com");

    signInAfter(200, session(token(3600), "refresh-3", {{"email", ""}}));
    EXPECT_EQ(service_->currentUserEmail.get(), std::nullopt);
    EXPECT_EQ(settings_.stored(keys::userEmail), "");
}

TEST_F(AuthServiceTest, DescribesWhySigningInFailed) {
    constexpr const char* unexpected = "Unexpected response from the server. Please try again.";
    EXPECT_EQ(signInAfter(400, R"({"message":"second","msg":"first"})"), "first");
    EXPECT_EQ(signInAfter(400, R"({"error_code":"email_not_confirmed","msg":"first"})"),
              "Please confirm your account using the link sent to your email.");
    EXPECT_EQ(signInAfter(500, ""), "Server error (500).");
    EXPECT_EQ(signInAfter(302, "elsewhere"), "Server error (302).");
    EXPECT_EQ(signInAfter(200, "no JSON"), unexpected);
    EXPECT_EQ(signInAfter(200, R"({"access_token":"a"})"), unexpected);
    network().answerNext({std::nullopt, {}, "no HTTP"});
    EXPECT_EQ(signIn(), unexpected);
    network().failNext(UrlError::Code::notConnectedToInternet, "There is no link.");
    EXPECT_EQ(signIn(), "Network error: There is no link.");

    EXPECT_FALSE(service_->isAuthenticated.get());
    EXPECT_TRUE(holdsNoSession());
}

TEST_F(AuthServiceTest, IsLoadingWhileItSignsIn) {
    std::vector<bool> seen;
    const auto subscription =
        service_->isLoading.subscribe([&](bool isLoading) { seen.push_back(isLoading); });
    service_->errorMessage = "of before";
    network().hangNext();
    const auto signing = runtime::spawn(runtime_.main(), service_->signIn("ann@example.com", "secret"));
    runUntilIdle();
    EXPECT_TRUE(service_->isLoading.get());
    EXPECT_EQ(service_->errorMessage.get(), std::nullopt);
    network().lastRequest()->answer(500, "");
    runUntilIdle();
    EXPECT_FALSE(service_->isLoading.get());
    signInAfter(200, session(token(3600), "refresh-1"));
    EXPECT_FALSE(service_->isLoading.get());
    EXPECT_EQ(std::ranges::count(seen, true), 2);
}

TEST_F(AuthServiceTest, EndsARequestWhoseTaskIsCancelled) {
    network().hangNext();
    const auto signing = runtime::spawn(runtime_.main(), service_->signIn("ann@example.com", "secret"));
    runUntilIdle();
    signing.cancel();
    runUntilIdle();
    EXPECT_TRUE(signing.isDone());
    EXPECT_TRUE(network().lastRequest()->wasCancelled());
    EXPECT_FALSE(service_->isLoading.get());
}

TEST_F(AuthServiceTest, SignsOutOnThisMachineOnly) {
    signInAfter(200, session(token(3600), "refresh-1", {{"email", "ann@example.com"}}));
    const auto requests = network().requests().size();
    service_->errorMessage = "of before";
    service_->signOut();
    EXPECT_FALSE(service_->isAuthenticated.get());
    EXPECT_EQ(service_->currentUserEmail.get(), std::nullopt);
    EXPECT_EQ(service_->errorMessage.get(), std::nullopt);
    EXPECT_TRUE(holdsNoSession());
    EXPECT_EQ(validToken(), "nothing");
    EXPECT_EQ(network().requests().size(), requests);
}

TEST_F(AuthServiceTest, RefreshesATokenThatHasLessThanAMinute) {
    launchWith(token(61, "old"), "refresh-1");
    EXPECT_EQ(validToken(), token(61, "old"));

    launchWith(token(30, "old"), "refresh-1");
    network().answerNext(200, session(token(3600, "new"), "refresh-2"));
    EXPECT_EQ(validToken(), token(3600, "new"));
    const auto request = network().lastRequest();
    EXPECT_EQ(request->url, "https://backend.example/v2/auth/refresh");
    EXPECT_EQ(base::Json::parse(request->body.value()), (base::Json{{"refresh_token", "refresh-1"}}));
    EXPECT_EQ(settings_.stored(keys::accessToken), token(3600, "new"));
    EXPECT_EQ(settings_.stored(keys::refreshToken), "refresh-2");
}

TEST_F(AuthServiceTest, RefreshesOnceForAllCallers) {
    launchWith(token(-5), "refresh-1");
    network().hangNext();
    const auto first = ask();
    const auto second = ask();
    const auto third = ask();
    EXPECT_EQ(network().requests().size(), 1U);
    network().lastRequest()->answer(200, session(token(3600, "new"), "refresh-2"));
    runUntilIdle();
    for (const auto& each : {first, second, third})
        EXPECT_EQ(outcome(each), token(3600, "new"));
    EXPECT_EQ(validToken(), token(3600, "new"));
    EXPECT_EQ(network().requests().size(), 1U);
}

TEST_F(AuthServiceTest, RefreshesAgainWhenTheNewTokenExpires) {
    launchWith(token(-5), "refresh-1");
    network().answerNext(200, session(token(3600), "refresh-2"));
    EXPECT_EQ(validToken(), token(3600));
    runtime_.clock().advance(3600);
    network().answerNext(200, session(token(3600, "second"), "refresh-3"));
    EXPECT_EQ(validToken(), token(3600, "second"));
    EXPECT_EQ(base::Json::parse(network().lastRequest()->body.value()),
              (base::Json{{"refresh_token", "refresh-2"}}));
}

TEST_F(AuthServiceTest, StaysSignedInAfterATemporaryFailure) {
    launchWith(token(-5), "refresh-1");
    const auto stale = token(-5);
    const auto staysAfter = [&](const std::string& what) {
        EXPECT_EQ(validToken(), "nothing") << what;
        EXPECT_TRUE(service_->isAuthenticated.get()) << what;
        EXPECT_EQ(settings_.stored(keys::accessToken), stale) << what;
        EXPECT_EQ(settings_.stored(keys::refreshToken), "refresh-1") << what;
    };
    for (const int status : {500, 404, 400, 426}) {
        network().answerNext(status, session(token(3600), "refresh-2"));
        staysAfter(std::to_string(status));
    }
    network().answerNext(200, R"({"access_token":"a"})");
    staysAfter("no session in it");
    network().answerNext({std::nullopt, {}, "no HTTP"});
    staysAfter("no HTTP");
    network().failNext(UrlError::Code::timedOut);
    staysAfter("timed out");

    network().answerNext(200, session(token(3600), "refresh-2"));
    EXPECT_EQ(validToken(), token(3600)) << "the next call tries again";
}

TEST_F(AuthServiceTest, EndsASessionThatTheBackendRefuses) {
    for (const int status : {401, 403}) {
        settings_.set(keys::userEmail, "ann@example.com");
        launchWith(token(-5), "refresh-1");
        network().answerNext(status, "{}");
        EXPECT_EQ(validToken(), "nothing");
        EXPECT_FALSE(service_->isAuthenticated.get());
        EXPECT_EQ(service_->currentUserEmail.get(), std::nullopt);
        EXPECT_TRUE(holdsNoSession());
    }
}

TEST_F(AuthServiceTest, EndsASessionThatCannotBeRefreshed) {
    launchWith(token(70), "");
    EXPECT_TRUE(service_->isAuthenticated.get());
    runtime_.clock().advance(20);
    EXPECT_EQ(validToken(), "nothing");
    EXPECT_FALSE(service_->isAuthenticated.get());
    EXPECT_TRUE(holdsNoSession());
    EXPECT_TRUE(network().requests().empty());
}

TEST_F(AuthServiceTest, HasNoTokenWithoutAnAccessTokenAndStaysSignedIn) {
    launchWith("", "refresh-1");
    EXPECT_EQ(validToken(), "nothing");
    EXPECT_TRUE(service_->isAuthenticated.get());
    EXPECT_TRUE(network().requests().empty());
}

TEST_F(AuthServiceTest, DropsARefreshAfterASignOut) {
    launchWith(token(-5), "refresh-1");
    network().hangNext();
    const auto asking = ask();
    service_->signOut();
    network().lastRequest()->answer(200, session(token(3600), "refresh-2"));
    runUntilIdle();
    EXPECT_EQ(outcome(asking), "nothing");
    EXPECT_FALSE(service_->isAuthenticated.get());
    EXPECT_TRUE(holdsNoSession());
}

TEST_F(AuthServiceTest, DropsTheRefusalOfAnEarlierSession) {
    launchWith(token(-5), "refresh-1");
    network().hangNext();
    const auto asking = ask();
    const auto refresh = network().lastRequest();
    EXPECT_EQ(signInAfter(200, session(token(3600, "own"), "refresh-of-sign-in")), "");
    refresh->answer(401, "{}");
    runUntilIdle();
    EXPECT_EQ(outcome(asking), "nothing");
    EXPECT_TRUE(service_->isAuthenticated.get());
    EXPECT_EQ(validToken(), token(3600, "own"));
}

TEST_F(AuthServiceTest, ReturnsToACancelledCallerWhileTheRefreshContinues) {
    launchWith(token(-5), "refresh-1");
    network().hangNext();
    const auto cancelled = ask();
    const auto waiting = ask();
    cancelled.cancel();
    runUntilIdle();
    EXPECT_EQ(outcome(cancelled), "nothing");
    EXPECT_EQ(outcome(waiting), "still waiting");
    EXPECT_FALSE(network().lastRequest()->wasCancelled());
    network().lastRequest()->answer(200, session(token(3600), "refresh-2"));
    runUntilIdle();
    EXPECT_EQ(outcome(waiting), token(3600));
    EXPECT_EQ(settings_.stored(keys::refreshToken), "refresh-2");
}

TEST_F(AuthServiceTest, AnswersTasksOfAnyActor) {
    launchWith(token(-5), "refresh-1");
    network().answerNext(200, session(token(3600), "refresh-2"));
    const auto asking = runtime::spawn(runtime_.pool(), service_->validAccessToken());
    runUntilIdle();
    EXPECT_EQ(outcome(asking), token(3600));
}

TEST_F(AuthServiceTest, UsesOneEphemeralSessionForAllItsCalls) {
    signInAfter(500, "");
    signInAfter(200, session(token(-5), "refresh-1"));
    network().answerNext(200, session(token(3600), "refresh-2"));
    validToken();
    EXPECT_EQ(network().requests().size(), 3U);
    EXPECT_EQ(network().sessions().size(), 1U);
}

// Tests with another desktop session of the user.

TEST_F(AuthServiceTest, UsesTheTokensThatAnotherProgramHasRefreshed) {
    launchWith(token(-3600), "old");
    persistence::Settings other(settingsFile());
    other.set(keys::accessToken, token(3600, "other"));
    other.set(keys::refreshToken, "rotated");
    EXPECT_EQ(validToken(), token(3600, "other"));
    EXPECT_TRUE(network().requests().empty());

    other.set(keys::accessToken, token(-3600));
    other.set(keys::refreshToken, "rotated again");
    network().answerNext(200, session(token(3600), "own"));
    EXPECT_EQ(validToken(), token(3600));
    EXPECT_EQ(network().lastRequest()->body, base::jsonText({{"refresh_token", "rotated again"}}));
    EXPECT_EQ(other.stored(keys::refreshToken), "own");
}

TEST_F(AuthServiceTest, StaysSignedInIfAnotherProgramHasUsedTheRefreshTokenFirst) {
    launchWith(token(-3600), "old");
    const auto waiting = ask();
    persistence::Settings other(settingsFile());
    other.set(keys::accessToken, token(3600, "other"));
    other.set(keys::refreshToken, "rotated");
    network().lastRequest()->answer(401, R"({"error_code":"refresh_token_already_used"})");
    runUntilIdle();
    EXPECT_EQ(outcome(waiting), token(3600, "other"));
    EXPECT_TRUE(service_->isAuthenticated.get());
    EXPECT_EQ(other.stored(keys::refreshToken), "rotated");
}

TEST_F(AuthServiceTest, AdoptsASignOutAndSignInOfAnotherProgram) {
    launchWith(token(3600), "refresh");
    persistence::Settings other(settingsFile());
    for (const auto* key : {&keys::accessToken, &keys::refreshToken, &keys::userEmail})
        other.remove(*key);
    EXPECT_EQ(validToken(), "nothing");
    EXPECT_FALSE(service_->isAuthenticated.get());

    other.set(keys::accessToken, token(3600));
    other.set(keys::refreshToken, "refresh");
    other.set(keys::userEmail, "ann@example.com");
    EXPECT_EQ(validToken(), token(3600));
    EXPECT_TRUE(service_->isAuthenticated.get());
    EXPECT_EQ(service_->currentUserEmail.get(), "ann@example.com");
}

} // namespace sonvale::services
