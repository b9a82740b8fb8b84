#include "base/Base64.h"
#include "tests/e2e/Onboarding.h"
#include "tests/e2e/ScreenReader.h"
#include "tests/e2e/Session.h"
#include "tests/support/Files.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace sonvale::tests {

namespace {

/// The settings of a signed-in user with the local recognizer.
constexpr const char* signedIn = R"({"isOnboardingComplete": true, "transcriptionEngine": "local",
                                     "com.sonvale.refreshToken": "refresh", "aiProcessingEnabled": false})";

constexpr double timeout = 20;
const std::string subtitle = "Customize keyboard shortcuts for each action";
const std::string started = "startDictation total: ";
const std::string stopped = "stopDictation total: ";

struct ShortcutsSession : Session {
    ShortcutsSession()
        : Session({.isAccessible = true,
                   .prepare = [](PrivateDesktop& d) { RunningProgram::writeSettings(d, signedIn); }}) {
        program.reopen();
        DashboardOnScreen(desktop).activate();
        reader.press("Settings", "");
        reader.press("Change Hotkeys", "push button");
        if (!reader.waitForText(subtitle, timeout))
            throw std::runtime_error("the sheet did not open: " + reader.read());
    }

    void record(const std::string& label) {
        reader.press("Edit the shortcut of " + label, "push button");
        if (!reader.waitForText("Press shortcut…", timeout))
            throw std::runtime_error("nothing is recorded: " + reader.read());
    }
    void save() {
        reader.press("Save", "push button");
        if (!reader.waitForNoText(subtitle, timeout))
            throw std::runtime_error("the sheet stays: " + reader.read());
    }
    void closeDashboard() { DashboardOnScreen(desktop).close(); }

    /// Holds the key and returns whether that starts a dictation. The dictation has ended when it returns.
    static bool startsDictation(const RunningProgram& running, TestKeyboard& hands, unsigned long key,
                                double seconds) {
        const auto starts = running.timings(started).size();
        const auto stops = running.timings(stopped).size();
        hands.down(key);
        const bool hasBegun = running.waitForTimings(started, starts + 1, seconds);
        hands.up(key);
        if (hasBegun)
            running.waitForTimings(stopped, stops + 1, 60);
        return hasBegun;
    }

    /// Returns the stored hotkeys as text.
    std::string storedBindings() const {
        const auto file = contentOf(desktop.configuration() / "com.sonvale.app/defaults.json");
        const auto encoded = nlohmann::json::parse(file).at("hotkeyBindings").at("base64").get<std::string>();
        return base::decodeBase64(encoded).value_or("");
    }

    ScreenReader reader{desktop};
};

} // namespace

TEST(Shortcuts, ARecordedShortcutReplacesTheOldOneAtOnceAndAfterARestart) {
    const auto& voice = voices().front();
    ShortcutsSession session;
    session.record("Push to Talk");
    session.keyboard.tap(XK_F8);
    ASSERT_TRUE(session.reader.waitForText("F8", timeout)) << session.reader.read();
    session.save();
    session.closeDashboard();

    session.keyboard.down(XK_F8);
    ASSERT_TRUE(session.program.waitForTimings(started, 1, 60)) << session.program.output();
    session.speak(voice);
    session.keyboard.up(XK_F8);
    EXPECT_TRUE(session.editor.comesToHold(voice.sentence, 60)) << session.editor.savedText();
    EXPECT_FALSE(ShortcutsSession::startsDictation(session.program, session.keyboard, XK_Alt_L, 1));

    EXPECT_EQ(session.program.quit(), 0);
    RunningProgram again(session.desktop);
    ASSERT_TRUE(again.waitUntilItListens());
    pauseMilliseconds(1500);
    EXPECT_TRUE(ShortcutsSession::startsDictation(again, session.keyboard, XK_F8, 60)) << again.output();
    EXPECT_FALSE(ShortcutsSession::startsDictation(again, session.keyboard, XK_Alt_L, 1));
    EXPECT_FALSE(session.keyboard.isAnyKeyDown());
}

TEST(Shortcuts, AcceptALetterWithAModifierThatAloneBelongsToAnotherAction) {
    ShortcutsSession session;
    session.record("Cancel");
    session.keyboard.down(XK_Alt_L);
    EXPECT_TRUE(session.reader.waitForText("Already used by Push to Talk", timeout)) << session.reader.read();
    // The listener works meanwhile: the held key begins a dictation, and the letter ends it.
    EXPECT_TRUE(eventually(30, [&] { return session.program.auditCount("recordingStarted") == 1; }))
        << session.program.output();
    session.keyboard.tap(XK_k);
    EXPECT_TRUE(session.reader.waitForText("Option + K", timeout)) << session.reader.read();
    session.keyboard.up(XK_Alt_L);
    EXPECT_TRUE(eventually(30, [&] { return session.program.auditCount("recordingStopped") == 1; }))
        << session.program.output();
    session.save();
    EXPECT_NE(session.storedBindings().find(R"("displayName":"Option + K")"), std::string::npos)
        << session.storedBindings();
    EXPECT_EQ(session.editor.savedText(), "");
}

TEST(Shortcuts, EscapeReachesTheRecorderAndTheListener) {
    ShortcutsSession session;
    session.record("Hands-Free Mode");
    session.keyboard.tap(XK_Escape);
    EXPECT_TRUE(session.reader.waitForNoText("Press shortcut…", timeout)) << session.reader.read();
    EXPECT_NE(session.reader.read().find(subtitle), std::string::npos);
    session.keyboard.tap(XK_Escape);
    EXPECT_TRUE(session.reader.waitForNoText(subtitle, timeout)) << session.reader.read();
}

} // namespace sonvale::tests
