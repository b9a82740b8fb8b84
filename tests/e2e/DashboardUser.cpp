#include "tests/e2e/DashboardUser.h"

#include "tests/support/ServiceAnswers.h"

#include <stdexcept>

namespace sonvale::tests {

namespace {

constexpr double timeout = 30;
constexpr const char* email = "ann@example.com";

} // namespace

DashboardUser::DashboardUser(const Options& options)
    : session(with(options)) {
    openDashboard();
}

Session::Options DashboardUser::with(const Options& options) {
    // The program opens the first session when it starts.
    hear(server, options.transcripts);
    base::Json settings{
        {"isOnboardingComplete", true},          {"transcriptionEngine", "streaming"},
        {"aiProcessingEnabled", false},          {"com.sonvale.accessToken", accessToken(email, 3600)},
        {"com.sonvale.refreshToken", "refresh"}, {"com.sonvale.userEmail", email}};
    for (const auto& [key, value] : options.settings)
        settings[key] = value;
    Session::Options made;
    made.isAccessible = true;
    made.prepare = [text = settings.dump(), prepare = options.prepare](PrivateDesktop& desktop) {
        RunningProgram::writeSettings(desktop, text);
        if (prepare)
            prepare(desktop);
    };
    made.program.info = {{"OPENAI_API_KEY", serviceKey},
                         {"OPENAI_BASE_URL", server.url()},
                         {"BACKEND_URL", server.url()},
                         {"UPDATE_FEED_URL", server.url("/feed.json")},
                         {"CFBundleShortVersionString", "1.0"}};
    made.program.environment = options.environment;
    return made;
}

void DashboardUser::openDashboard() {
    session.program.reopen();
    dashboard.activate();
}

void DashboardUser::show(const std::string& tab) {
    // A push button with Qt 6.4, a page tab with Qt 6.8.
    reader.press(tab, "");
    if (!reader.waitForText("\t" + tab + "\ton", timeout))
        throw std::runtime_error("the tab does not show: " + reader.read());
}

void DashboardUser::scrollDown() {
    const int status =
        run({"timeout", "10", "xdotool", "search", "--onlyvisible", "--name", "^Son Vale Dashboard$",
             "mousemove", "--window", "%1", "600", "400", "click", "--repeat", "150", "--delay", "10", "5"},
            {{"DISPLAY", session.desktop.display()}});
    if (status != 0)
        throw std::runtime_error("the wheel did not turn");
}

void DashboardUser::dictate() {
    // A key that is released at once is a tap and not a hold.
    constexpr int holdMilliseconds = 400;
    activateEditor();
    session.holdToTalk();
    pauseMilliseconds(holdMilliseconds);
    session.releaseKey();
}

void DashboardUser::dictate(const Voice& voice) {
    activateEditor();
    session.dictate(voice);
}

void DashboardUser::activateEditor() {
    if (!session.editor.focus())
        throw std::runtime_error("the editor did not get the keyboard");
}

} // namespace sonvale::tests
