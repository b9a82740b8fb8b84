#include "persistence/ModelContainer.h"
#include "tests/e2e/DashboardUser.h"
#include "tests/support/SelectionRequestor.h"
#include "tests/support/XcbSession.h"

#include <X11/keysym.h>
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <chrono>

namespace sonvale::tests {

namespace {

/// The settings of a signed-in user with the local recognizer.
constexpr const char* signedIn = R"({"isOnboardingComplete": true, "transcriptionEngine": "local",
                                     "com.sonvale.refreshToken": "refresh", "aiProcessingEnabled": false})";

struct DashboardSession : Session {
    DashboardSession()
        : Session({.isAccessible = true,
                   .prepare = [](PrivateDesktop& d) { RunningProgram::writeSettings(d, signedIn); }}) {}

    ScreenReader reader{desktop};
};

constexpr double timeout = 20;

/// Creates a long history. All its rows are from yesterday.
void fillHistory(PrivateDesktop& desktop, int count) {
    const auto store = persistence::ModelContainer::open(desktop.data());
    const auto yesterday = base::daysBefore(std::chrono::system_clock::now(), 1).value();
    for (int i = 1; i <= count; ++i)
        store->mainContext().insert(
            persistence::Transcription{.rawText = "raw",
                                       .processedText = fmt::format("former words {}", i),
                                       .timestamp = yesterday - std::chrono::milliseconds(count - i),
                                       .wordCount = 1});
    store->mainContext().save();
}

/// Returns the text that a paste would insert.
std::string clipboardOf(const Session& session) {
    SelectionRequestor requestor(session.desktop.display());
    const auto answer = requestor.convert("UTF8_STRING", 1);
    if (!answer)
        return {};
    return {reinterpret_cast<const char*>(answer->data.data()), answer->data.size()};
}

} // namespace

TEST(Dashboard, OpensOnASecondStartAndShowsEachTab) {
    DashboardSession session;
    session.program.reopen();
    DashboardOnScreen(session.desktop).activate();
    for (const auto* tab : {"Snippets", "Style", "Scratchpad", "Settings", "Help", "Home"}) {
        session.reader.press(tab, "");
        EXPECT_TRUE(session.reader.waitForText("\t" + std::string(tab) + "\ton", 10))
            << session.reader.read();
    }
}

TEST(Dashboard, ShowsADictationIntoAnotherProgramAtOnce) {
    DashboardUser user({.transcripts = {"three fresh words"}});
    ASSERT_TRUE(user.reader.waitForText("No transcriptions yet", timeout)) << user.reader.read();
    user.dictate();
    EXPECT_TRUE(user.session.editor.comesToHold("three fresh words", timeout));
    EXPECT_TRUE(user.reader.waitForText(" three fresh words\t", timeout)) << user.reader.read();
    const auto seen = user.reader.read();
    for (const auto* expected : {"\t1 days\t", "\t3 words\t", "\tToday\t"})
        EXPECT_NE(seen.find(expected), std::string::npos) << expected << " in\n" << seen;
    EXPECT_EQ(seen.find("No transcriptions yet"), std::string::npos);

    // Tab reaches the new row first after the card above it.
    user.dashboard.activate();
    user.reader.focus("Start now", "push button");
    user.session.keyboard.tap(XK_Tab);
    user.session.keyboard.tap(XK_Return);
    EXPECT_TRUE(eventually(timeout, [&] { return clipboardOf(user.session) == "three fresh words"; }));
    EXPECT_TRUE(user.reader.waitForText("Copied", timeout)) << user.reader.read();
}

TEST(Dashboard, OpensWithALongHistoryAndShowsANewDictationFirst) {
    constexpr int count = 3000;
    DashboardUser user({.transcripts = {"three fresh words"},
                        .prepare = [](PrivateDesktop& desktop) { fillHistory(desktop, count); }});
    ASSERT_TRUE(user.reader.waitForText(fmt::format("former words {}\t", count), timeout))
        << user.reader.read();
    EXPECT_TRUE(user.reader.waitForText("\t3.0K words\t", timeout));
    EXPECT_EQ(user.reader.read().find("former words 1\t"), std::string::npos)
        << "only the visible rows are created";
    user.dictate();
    EXPECT_TRUE(user.reader.waitForText(" three fresh words\t", timeout)) << user.reader.read();
    EXPECT_TRUE(user.reader.waitForText("\t2 days\t", timeout)) << user.reader.read();

    // Tab reaches the row that was the first; there is only one above it.
    user.dashboard.activate();
    user.reader.focus("Start now", "push button");
    for (const auto key : {XK_Tab, XK_Up, XK_Up, XK_Return})
        user.session.keyboard.tap(key);
    EXPECT_TRUE(eventually(timeout, [&] { return clipboardOf(user.session) == "three fresh words"; }));
}

TEST(Dashboard, LoadsQtQuickWithTheFirstWindow) {
    DashboardSession session;
    session.dictate(voices().front());
    EXPECT_TRUE(session.program.hasMapped("/libQt6Gui.so"));
    EXPECT_FALSE(session.program.hasMapped("/libQt6Qml.so"));
    EXPECT_FALSE(session.program.hasMapped("/libQt6Quick.so"));
    EXPECT_FALSE(session.program.hasMapped("/sonvale-views.so"));

    session.program.reopen();
    DashboardOnScreen(session.desktop).activate();
    EXPECT_TRUE(session.program.hasMapped("/libQt6Qml.so"));
    EXPECT_TRUE(session.program.hasMapped("/libQt6Quick.so"));
    EXPECT_TRUE(session.program.hasMapped("/sonvale-views.so"));
}

TEST(Dashboard, LeavesDictationWorkingIfItCannotBeLoaded) {
    Session session({.prepare = [](PrivateDesktop& d) { RunningProgram::writeSettings(d, signedIn); },
                     .program = {.info = {{"CFBundleShortVersionString", "1.0"}}, .isWithoutViews = true}});
    session.program.reopen();
    EXPECT_TRUE(session.program.waitForOutput("The windows cannot be opened: ", timeout))
        << session.program.output();
    session.dictate(voices().front());
    EXPECT_EQ(session.program.history().size(), 1U);
}

TEST(SignIn, NamesItsFieldsForAScreenReader) {
    const Session session({.isAccessible = true});
    session.program.reopen();
    const DashboardOnScreen dashboard(session.desktop);
    dashboard.activate();
    const ScreenReader reader(session.desktop);
    EXPECT_TRUE(reader.waitForText("password text\tPassword\t", timeout)) << reader.read();
    reader.press("Don't have an account? Sign up", "push button");
    EXPECT_TRUE(reader.waitForText("password text\tConfirm password\t", timeout)) << reader.read();
}

} // namespace sonvale::tests
