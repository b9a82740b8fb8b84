#include "tests/e2e/DashboardUser.h"
#include "tests/support/Files.h"
#include "tests/support/MpvPlayer.h"
#include "tests/support/ServiceAnswers.h"
#include "tests/support/TestWindow.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace sonvale::tests {

namespace {

constexpr double timeout = 20;
const std::string languageOfSession = "/session/audio/input/transcription/language";

/// A user with the settings open.
struct SettingsUser : DashboardUser {
    explicit SettingsUser(const Options& options = {})
        : DashboardUser(options) {
        show("Settings");
    }

    /// Changes the switch, and expects that it shows the change.
    void turn(const std::string& name, bool isOn) {
        const auto line = "check box\t" + name + "\t";
        const auto on = line + "on";
        if ((reader.read().find(on) != std::string::npos) == isOn)
            throw std::runtime_error(name + " is so already:\n" + reader.read());
        reader.press(name, "check box");
        if (!(isOn ? reader.waitForText(on, timeout) : reader.waitForNoText(on, timeout)))
            throw std::runtime_error(name + " did not turn:\n" + reader.read());
    }

    /// Chooses an engine by the keyboard, which scrolls to the card. The card is `steps` after the button
    /// above.
    void choose(const std::string& engine, int steps) {
        dashboard.activate();
        reader.focus("Change Hotkeys", "push button");
        for (int i = 0; i < steps; ++i)
            session.keyboard.tap(XK_Tab);
        session.keyboard.tap(XK_Return);
        if (!reader.waitForText("button\t" + engine + "\ton", timeout))
            throw std::runtime_error(engine + " was not chosen:\n" + reader.read());
    }
    void chooseStreaming() { choose("Streaming", 2); }
    void chooseLocal() { choose("Local", 4); }

    bool hasInserted(const std::string& text) { return session.editor.comesToHold(text, timeout); }

    /// Returns the language that was sent to the service for the last utterance.
    std::string languageOfLastUtterance() const {
        const auto sockets = server.sockets();
        const auto last = std::find_if(sockets.rbegin(), sockets.rend(),
                                       [](const Socket& each) { return each.commits > 0; });
        if (last == sockets.rend())
            return "no utterance";
        const auto place = base::Json::json_pointer(languageOfSession);
        const auto update = last->events("session.update").at(0);
        return update.contains(place) ? update.at(place).get<std::string>() : "none";
    }
};

/// Returns whether the window manager omits the window from the taskbar.
bool skipsTaskbar(XcbSession& session, xcb_window_t window) {
    const auto state = xcb_get_property(session.connection(), 0, window, session.atom("_NET_WM_STATE"),
                                        XCB_ATOM_ATOM, 0, 64);
    const std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> reply(
        xcb_get_property_reply(session.connection(), state, nullptr), &std::free);
    if (!reply)
        return false;
    const auto* first = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
    const auto count =
        static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) / sizeof(xcb_atom_t);
    return std::find(first, first + count, session.atom("_NET_WM_STATE_SKIP_TASKBAR")) != first + count;
}

} // namespace

TEST(Settings, OfCleanUpAndPrivacyAndLanguageApplyToTheNextDictation) {
    SettingsUser user(
        {.settings = {{"aiProcessingEnabled", true}, {"language", "en"}},
         .transcripts = {"um one apple", "um two pears", "um three plums", "um four nuts", "um five figs"}});
    for (const auto* cleaned : {"Two pears.", "Three plums.", "Four nuts.", "Five figs."})
        user.server.answer(chatPath, chatCompletion(cleaned));

    user.turn("Text cleanup", false);
    user.dictate();
    EXPECT_TRUE(user.hasInserted("um one apple")) << user.session.program.output();
    EXPECT_TRUE(user.server.requests(chatPath).empty());
    user.turn("Text cleanup", true);
    user.dictate();
    EXPECT_TRUE(user.hasInserted("um one appleTwo pears.")) << user.session.program.output();
    EXPECT_EQ(user.server.requests(chatPath).size(), 1U);
    EXPECT_EQ(user.session.program.history().size(), 2U);

    user.turn("Privacy mode", true);
    user.dictate();
    EXPECT_TRUE(user.hasInserted("um one appleTwo pears.Three plums.")) << user.session.program.output();
    EXPECT_EQ(user.session.program.history().size(), 2U);
    user.turn("Privacy mode", false);
    user.dictate();
    EXPECT_TRUE(user.hasInserted("um one appleTwo pears.Three plums.Four nuts."));
    EXPECT_EQ(user.session.program.history().size(), 3U);
    EXPECT_EQ(user.languageOfLastUtterance(), "en");

    user.dashboard.activate();
    user.scrollDown();
    user.reader.focus("Language", "combo box");
    user.session.keyboard.tap(XK_Down);
    user.dictate();
    EXPECT_TRUE(user.hasInserted("um one appleTwo pears.Three plums.Four nuts.Five figs."));
    EXPECT_EQ(user.languageOfLastUtterance(), "es");
}

TEST(Settings, PauseTheMusicOnlyIfThatIsTurnedOn) {
    SettingsUser user({.transcripts = {"one", "two"}});
    user.turn("Pause audio during dictation", false);
    MpvPlayer player(user.session.desktop.environment().at("DBUS_SESSION_BUS_ADDRESS"), true);
    const auto comesTo = [&](const char* status) {
        return eventually(10, [&] { return player.status() == status && player.reportedStatus() == status; });
    };
    ASSERT_TRUE(comesTo("Playing"));

    ASSERT_TRUE(user.session.editor.focus());
    user.session.holdToTalk();
    pauseMilliseconds(1000);
    EXPECT_EQ(player.status(), "Playing");
    user.session.releaseKey();
    EXPECT_TRUE(user.hasInserted("one")) << user.session.program.output();
    EXPECT_EQ(player.status(), "Playing");

    user.turn("Pause audio during dictation", true);
    user.session.holdToTalk();
    EXPECT_TRUE(comesTo("Paused"));
    user.session.releaseKey();
    EXPECT_TRUE(comesTo("Playing"));
    EXPECT_TRUE(user.hasInserted("onetwo")) << user.session.program.output();
}

TEST(Settings, OfTheEngineApplyToTheNextDictationAndReturnAfterLocalOnlyMode) {
    const auto& voice = voices().front();
    SettingsUser user(
        {.settings = {{"transcriptionEngine", "local"}}, .transcripts = {"streamed", "streamed again"}});
    auto& program = user.session.program;

    user.chooseStreaming();
    user.dictate();
    EXPECT_TRUE(user.hasInserted("streamed")) << program.output();
    EXPECT_EQ(commits(user.server), 1);

    user.chooseLocal();
    user.dictate(voice);
    auto text = "streamed" + voice.sentence;
    EXPECT_TRUE(user.hasInserted(text)) << program.output();
    EXPECT_EQ(commits(user.server), 1);

    user.chooseStreaming();
    user.turn("Local-only mode", true);
    const auto requests = user.server.requests().size();
    EXPECT_TRUE(user.server.waitForOpenConnections(0, timeout)) << "no session waits for a dictation";
    const auto connections = user.server.connections();
    user.dictate(voice);
    text += voice.sentence;
    EXPECT_TRUE(user.hasInserted(text)) << program.output();

    ASSERT_EQ(program.quit(), 0);
    program.restart();
    pauseMilliseconds(1500);
    user.dictate(voice);
    text += voice.sentence;
    EXPECT_TRUE(user.hasInserted(text)) << program.output();
    EXPECT_EQ(user.server.requests().size(), requests);
    EXPECT_EQ(user.server.connections(), connections);

    user.openDashboard();
    user.show("Settings");
    user.turn("Local-only mode", false);
    user.dictate();
    EXPECT_TRUE(user.hasInserted(text + "streamed again")) << program.output();
    EXPECT_EQ(commits(user.server), 2);
}

TEST(Settings, OfTheDesktopTakeEffectAtOnce) {
    const TemporaryDirectory programs;
    const auto browser = std::filesystem::path(programs.path()) / "xdg-open";
    const auto visited = std::filesystem::path(programs.path()) / "visited";
    writeFile(browser, "#!/bin/sh\nprintf '%s' \"$1\" > '" + visited.string() + "'\n");
    std::filesystem::permissions(browser, std::filesystem::perms::owner_all);
    SettingsUser user({.environment = {{"PATH", programs.path() + ":" + std::string(std::getenv("PATH"))}}});

    XcbSession xcb(user.session.desktop.display());
    const auto window = TestWindow::activeWindow(xcb);
    EXPECT_FALSE(skipsTaskbar(xcb, window));
    user.turn("Show in Dock", false);
    EXPECT_TRUE(eventually(timeout, [&] { return skipsTaskbar(xcb, window); }));
    user.turn("Show in Dock", true);
    EXPECT_TRUE(eventually(timeout, [&] { return !skipsTaskbar(xcb, window); }));

    const auto entry = user.session.desktop.configuration() / "autostart/com.sonvale.app.desktop";
    EXPECT_FALSE(std::filesystem::exists(entry));
    user.turn("Launch at login", true);
    EXPECT_NE(contentOf(entry).find("Exec="), std::string::npos);
    user.turn("Launch at login", false);
    EXPECT_FALSE(std::filesystem::exists(entry));

    user.scrollDown();
    user.server.answer("/feed.json",
                       {.body = base::Json{{"version", "1.1"}, {"page", "https://example.org/new"}}.dump()});
    user.reader.press("Check for Updates", "push button");
    EXPECT_TRUE(user.reader.waitForText("Version 1.1 is available. Its page has been opened.", timeout))
        << user.reader.read();
    EXPECT_TRUE(eventually(timeout, [&] { return contentOf(visited) == "https://example.org/new"; }));
    user.server.forget("/feed.json");
    user.server.answer("/feed.json",
                       {.body = base::Json{{"version", "1.0"}, {"page", "https://example.org/new"}}.dump()});
    user.reader.press("Check for Updates", "push button");
    EXPECT_TRUE(user.reader.waitForText("Son Vale is up to date.", timeout)) << user.reader.read();
}

} // namespace sonvale::tests
