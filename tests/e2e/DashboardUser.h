#pragma once

#include "tests/e2e/Onboarding.h"
#include "tests/e2e/ScreenReader.h"
#include "tests/e2e/SpeechService.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A signed-in user whose program has the service's key, with the dashboard open beside the editor.
class DashboardUser {
public:
    struct Options {
        /// Override the streaming engine and the disabled clean-up, or add other settings.
        std::map<std::string, base::Json> settings = {};
        std::vector<std::string> transcripts = {};         ///< the transcripts of the service, as for `hear`
        std::function<void(PrivateDesktop&)> prepare = {}; ///< called before the program starts
        std::map<std::string, std::string> environment = {}; ///< more variables for the program
    };

    DashboardUser()
        : DashboardUser(Options{}) {}
    explicit DashboardUser(const Options& options);

    /// Opens the dashboard after a restart of the program.
    void openDashboard();
    /// Shows the tab with this name.
    void show(const std::string& tab);
    /// Scrolls to the end of a page that is longer than the window.
    void scrollDown();

    /// Dictates into the editor while the dashboard stays open. The service returns the next transcript.
    void dictate();
    /// Works as `dictate()`, with this voice.
    void dictate(const Voice& voice);

    TestServer server;
    Session session;
    ScreenReader reader{session.desktop};
    DashboardOnScreen dashboard{session.desktop};

private:
    Session::Options with(const Options& options);
    void activateEditor();
};

} // namespace sonvale::tests
