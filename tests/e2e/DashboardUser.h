#pragma once

#include "tests/e2e/Onboarding.h"
#include "tests/e2e/ScreenReader.h"
#include "tests/e2e/SpeechService.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace sonvale::tests {

/// Somebody who is signed in, whose program has the service's key, and who has the dashboard open beside the
/// editor.
class DashboardUser {
public:
    struct Options {
        /// In place of the streaming engine without clean-up, and more.
        std::map<std::string, base::Json> settings = {};
        std::vector<std::string> transcripts = {};           ///< what the service hears, as for `hear`
        std::function<void(PrivateDesktop&)> prepare = {};   ///< called before the program starts
        std::map<std::string, std::string> environment = {}; ///< more for the program
    };

    DashboardUser()
        : DashboardUser(Options{}) {}
    explicit DashboardUser(const Options& options);

    /// Opens the dashboard of a program that was started again.
    void openDashboard();
    /// Shows the tab of that name.
    void show(const std::string& tab);
    /// Goes to the end of a page that is longer than the window.
    void scrollDown();

    /// Dictates into the editor while the dashboard stays open; the service hears what was scripted for it.
    void dictate();
    /// The same by voice.
    void dictate(const Voice& voice);

    TestServer server;
    Session session;
    ScreenReader reader{session.desktop};
    DashboardOnScreen dashboard{session.desktop};

private:
    Session::Options with(const Options& options);
    void goToTheEditor();
};

} // namespace sonvale::tests
