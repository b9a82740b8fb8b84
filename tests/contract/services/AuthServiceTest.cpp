#include "services/AuthService.h"

#include "adapters/qt/network/QtUrlSession.h"

#include "persistence/SettingsKeys.h"
#include "runtime/SystemClock.h"
#include "tests/contract/NetworkTasks.h"
#include "tests/support/Accounts.h"
#include "tests/support/ServiceAnswers.h"

#include <gtest/gtest.h>

#include <functional>

namespace sonvale::tests {

namespace {

namespace keys = persistence::keys;
using services::AuthError;
using services::AuthService;

constexpr const char* ada = "ada@example.com";
constexpr const char* password = "difference \"engine\" ü";

/// `AuthService` with real connections to a backend that checks its requests.
class AuthServiceOverTheNetwork : public testing::Test {
protected:
    AuthServiceOverTheNetwork() {
        accounts.add(ada, password);
        launch();
    }
    ~AuthServiceOverTheNetwork() override { service.reset(); }

    void launch() {
        services::ServiceAddresses addresses;
        addresses.backend = server.url();
        service = std::make_shared<AuthService>(AuthService::Parts{
            .main = tasks.serialActor(),
            .clock = clock,
            .urlSessions = sessions,
            .settings = settings,
            .addresses = addresses,
        });
    }
    /// Returns the text for the user; empty after a success.
    std::string failureOf(runtime::Task<> task) {
        try {
            tasks.finish(tasks.startInOrder(std::move(task)));
            return "";
        } catch (const AuthError& error) {
            return error.errorDescription();
        }
    }
    std::optional<std::string> token() { return tasks.finish(service->validAccessToken()); }
    /// Returns the state after the service's own actor has finished its work.
    bool isSignedIn() { return tasks.finish(tasks.startInOrder(readsSignedIn(service))); }

    TestServer server;
    Accounts accounts{server};
    TemporaryDirectory directory;
    persistence::Settings settings{directory.path() + "/own/defaults.json"};
    runtime::SystemClock clock;
    adapters::qt::QtUrlSessions sessions;
    std::shared_ptr<AuthService> service;
    NetworkTasks tasks;

private:
    static runtime::Task<bool> readsSignedIn(std::shared_ptr<AuthService> service) {
        co_return service->isAuthenticated.get();
    }
};

} // namespace

TEST_F(AuthServiceOverTheNetwork, SignsInOutAndUp) {
    EXPECT_EQ(failureOf(service->signIn(ada, password)), "");
    EXPECT_TRUE(isSignedIn());
    EXPECT_TRUE(token().has_value());
    EXPECT_EQ(settings.stored(keys::userEmail), ada);
    launch();
    EXPECT_TRUE(isSignedIn()) << "at the next start too";

    EXPECT_EQ(failureOf(service->signUp("new@example.com", "another engine")), "");
    EXPECT_EQ(settings.stored(keys::userEmail), "new@example.com");
    EXPECT_EQ(accounts.counts().signUps, 1);
}

TEST_F(AuthServiceOverTheNetwork, ReportsTheTextOfTheBackend) {
    EXPECT_EQ(failureOf(service->signIn(ada, "wrong")), "Invalid login credentials");
    EXPECT_NE(failureOf(service->signUp(ada, "word")), "");
    accounts.addUnconfirmed("new@example.com", "word");
    EXPECT_EQ(failureOf(service->signIn("new@example.com", "word")),
              "Please confirm your account using the link sent to your email.");
    EXPECT_FALSE(isSignedIn());
    server.setListening(false);
    server.dropAll();
    EXPECT_EQ(failureOf(service->signIn(ada, password)).find("Network error: "), 0U);
}

TEST_F(AuthServiceOverTheNetwork, RefreshesOnceForManyCallersAndUsesTheNewTokens) {
    accounts.setTokenSeconds(30);
    EXPECT_EQ(failureOf(service->signIn(ada, password)), "");
    accounts.setTokenSeconds(3600);
    accounts.delayNext("/auth/refresh", 0.5);
    std::vector<runtime::TaskHandle<std::optional<std::string>>> asking;
    for (int i = 0; i < 20; ++i)
        asking.push_back(tasks.start(service->validAccessToken()));
    const auto first = tasks.finish(asking.front());
    ASSERT_TRUE(first.has_value());
    for (const auto& each : asking)
        EXPECT_EQ(tasks.finish(each), first);
    EXPECT_EQ(accounts.counts().refreshes, 1);
    EXPECT_EQ(settings.stored(keys::accessToken), first);
}

TEST_F(AuthServiceOverTheNetwork, EndsTheSessionOnlyAfterARefusal) {
    accounts.setTokenSeconds(30);
    EXPECT_EQ(failureOf(service->signIn(ada, password)), "");
    accounts.failNext("/auth/refresh", backendError(500, "out of order"));
    EXPECT_EQ(token(), std::nullopt);
    EXPECT_TRUE(isSignedIn());
    EXPECT_TRUE(token().has_value()) << "the next call tries again";

    accounts.revoke(ada);
    EXPECT_EQ(token(), std::nullopt);
    EXPECT_FALSE(isSignedIn());
    EXPECT_FALSE(settings.has(keys::refreshToken.name));
}

} // namespace sonvale::tests
