#include "tests/e2e/FirstSteps.h"
#include "tests/e2e/ScreenReader.h"
#include "tests/e2e/Session.h"

#include <gtest/gtest.h>

namespace sonvale::tests {

namespace {

/// A signed-in user with the recogniser of this machine.
constexpr const char* signedIn = R"({"isOnboardingComplete": true, "transcriptionEngine": "local",
                                     "com.sonvale.refreshToken": "refresh", "aiProcessingEnabled": false})";

struct DashboardSession : Session {
    DashboardSession()
        : Session({.isAccessible = true,
                   .prepare = [](PrivateDesktop& d) { RunningProgram::writeSettings(d, signedIn); }}) {}

    ScreenReader reader{desktop};
};

} // namespace

TEST(Dashboard, OpensForWhoStartsTheProgramAgainAndShowsEachTab) {
    DashboardSession session;
    session.program.reopen();
    DashboardOnScreen(session.desktop).activate();
    for (const auto* tab : {"Snippets", "Style", "Scratchpad", "Settings", "Help", "Home"}) {
        session.reader.press(tab, "push button");
        EXPECT_TRUE(session.reader.comesToSay("push button\t" + std::string(tab) + "\ton", 10))
            << session.reader.read();
    }
}

} // namespace sonvale::tests
