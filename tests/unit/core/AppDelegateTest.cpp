#include "core/AppDelegate.h"

#include "tests/support/Files.h"
#include "tests/unit/core/CoreFixture.h"

#include <gtest/gtest.h>

namespace sonvale::core {

namespace {

namespace keys = persistence::keys;

constexpr const char* byHand =
    "[AppDelegate] Opening dashboard via NSHostingController (bridge not yet available)";
constexpr const char* byTheMenu = "[AppDelegate] Opening dashboard via stored SwiftUI action";

class AppDelegateTest : public tests::CoreFixture {
protected:
    void launch() {
        delegate_.makeDashboardWindow = [this] { ++made; };
        delegate_.applicationDidFinishLaunching();
        runtimeSupport().runUntilIdle();
    }

    AppDelegate& delegate() { return delegate_; }
    int made = 0;

private:
    AppDelegate delegate_{environment()};
};

} // namespace

TEST_F(AppDelegateTest, OpensTheDashboardForANewUserShortlyAfterTheLaunch) {
    launch();
    advance(0.19);
    EXPECT_EQ(made, 0);
    advance(0.02);
    EXPECT_EQ(made, 1);
    EXPECT_TRUE(systemHas(byHand));
    advance(10);
    EXPECT_EQ(made, 1);
}

TEST_F(AppDelegateTest, OpensTheDashboardForAUserWhoIsNotSignedIn) {
    settings().set(keys::isOnboardingComplete, true);
    launch();
    advance(0.3);
    EXPECT_EQ(made, 1);
}

TEST_F(AppDelegateTest, OpensNoWindowForASignedInUser) {
    settings().set(keys::isOnboardingComplete, true);
    settings().set(keys::refreshToken, "refresh");
    settings().set(keys::accessToken, "access");
    launch();
    advance(10);
    EXPECT_EQ(made, 0);
}

TEST_F(AppDelegateTest, ReportsAStoreThatWasPutAside) {
    const auto folder = environment().directories.applicationSupport / "Sonvale";
    std::filesystem::create_directories(folder);
    tests::writeFile(folder / "Sonvale.store", std::string(5000, 'g'));
    launch();
    const auto& state = *delegate().services()->appState();
    EXPECT_EQ(state.errorMessage.get(),
              "Your saved history could not be opened. It was put aside, and a new one has been started.");
}

TEST_F(AppDelegateTest, ReportsNoErrorIfTheStoreOpens) {
    launch();
    EXPECT_EQ(delegate().services()->appState()->errorMessage.get(), std::nullopt);
}

TEST_F(AppDelegateTest, BringsTheOpenDashboardToTheFront) {
    launch();
    application().windows = {"Son Vale Dashboard"};
    delegate().openDashboard();
    EXPECT_EQ(application().front(), "Son Vale Dashboard");
    EXPECT_EQ(made, 0);
    advance(1);
    EXPECT_EQ(made, 0);
}

TEST_F(AppDelegateTest, OpensTheWindowThroughTheMenuOnceThatIsPossible) {
    launch();
    advance(1);
    std::string opened;
    delegate().openWindow = [&](const std::string& identifier) { opened = identifier; };
    delegate().openDashboard();
    EXPECT_EQ(opened, "dashboard");
    EXPECT_EQ(made, 1);
    EXPECT_TRUE(systemHas(byTheMenu));
}

TEST_F(AppDelegateTest, SetsUpAgainIfTheWindowOpensBeforeTheStore) {
    launch();
    delegate().services()->appState()->modelContext = nullptr;
    delegate().openDashboard();
    EXPECT_TRUE(systemHas("[Dashboard] Initializing AppState from dashboard window (late init)"));
    EXPECT_NE(delegate().services()->appState()->modelContext, nullptr);
    advance(1);
}

TEST_F(AppDelegateTest, ChecksForUpdatesOnlyOnRequest) {
    launch();
    advance(24 * 3600);
    EXPECT_EQ(updater().checks(), 0);

    const platform::NewerVersion newer{"1.3.0", "https://example.org/new", true};
    updater().answer(newer);
    EXPECT_EQ(runtimeSupport().wait(delegate().checkForUpdates()), platform::UpdateOutcome(newer));
    EXPECT_EQ(updater().checks(), 1);
}

TEST_F(AppDelegateTest, OpensNoWindowAfterItIsDestroyed) {
    int opened = 0;
    {
        AppDelegate gone(environment());
        gone.makeDashboardWindow = [&] { ++opened; };
        gone.applicationDidFinishLaunching();
    }
    advance(1);
    EXPECT_EQ(opened, 0);
}

} // namespace sonvale::core
