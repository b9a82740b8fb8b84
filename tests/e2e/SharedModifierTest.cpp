#include "tests/e2e/Session.h"
#include "tests/e2e/SpeechService.h"
#include "tests/support/Files.h"
#include "tests/support/TestWindow.h"
#include "tests/support/Voices.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

// Alt alone is the hotkey, and the first key of the desktop's own shortcuts.

namespace sonvale::tests {

namespace {

/// Shows each byte that the terminal's program receives: Alt+X is "^[x".
const std::string showKeys = "stty -icanon -echo; cat -v >> FILE";

const std::string started = "startDictation total: ";
const std::string stopped = "stopDictation total: ";

/// A terminal that shows its keys, and the program with a service that returns a text for any audio.
struct Journey {
    explicit Journey(WindowManager windowManager = WindowManager::openbox)
        : session(options(server, windowManager)) {
        if (!server.waitForSockets(1, 60))
            throw std::runtime_error("no session was opened: " + session.program.output());
    }

    static Session::Options options(TestServer& server, WindowManager windowManager) {
        hear(server, {"words", "words", "words", "words"});
        auto options = streamingTo(server, false, Editor::Program::xfce4Terminal);
        options.windowManager = windowManager;
        options.terminalCommand = showKeys;
        return options;
    }

    /// Waits as long as a recording, its transcript and a paste would take to become visible.
    static void settle() { pauseMilliseconds(2500); }

    bool waitForTyped(const std::string& keys) {
        return eventually(10, [&] { return contentOf(session.editor.file()) == keys; });
    }

    void expectNothingWasRecorded() {
        settle();
        EXPECT_EQ(session.program.auditCount("recordingStarted"), 0U) << session.program.output();
        expectNothingCame();
    }

    void expectNothingCame() {
        EXPECT_EQ(commits(server), 0);
        EXPECT_TRUE(session.program.timings(stopped).empty());
        EXPECT_TRUE(session.program.history().empty());
        EXPECT_TRUE(eventually(10, [&] { return session.program.recordings().empty(); }));
        EXPECT_FALSE(session.keyboard.isAnyKeyDown());
    }

    TestServer server;
    Session session;
};

} // namespace

TEST(SharedModifier, OpensNoMicrophoneForATap) {
    Journey journey;
    journey.session.keyboard.down(XK_Alt_L);
    pauseMilliseconds(50);
    journey.session.keyboard.up(XK_Alt_L);
    journey.expectNothingWasRecorded();
    EXPECT_EQ(contentOf(journey.session.editor.file()), "");
}

TEST(SharedModifier, OpensNoMicrophoneForTheLetterOfAMenu) {
    Journey journey;
    journey.session.keyboard.down(XK_Alt_L);
    pauseMilliseconds(50);
    journey.session.keyboard.tap(XK_x);
    journey.session.keyboard.up(XK_Alt_L);
    EXPECT_TRUE(journey.waitForTyped("^[x")) << contentOf(journey.session.editor.file());
    journey.expectNothingWasRecorded();
    EXPECT_EQ(contentOf(journey.session.editor.file()), "^[x");
}

class SharedModifierOn : public testing::TestWithParam<WindowManager> {};

TEST_P(SharedModifierOn, OpensNoMicrophoneForAltTab) {
    Journey journey(GetParam());
    TestWindow other(journey.session.desktop.display(), {"other", "Other", "Other", {}, {}});
    XcbSession display(journey.session.desktop.display());
    ASSERT_EQ(TestWindow::activeWindow(display), other.id());
    auto& keyboard = journey.session.keyboard;
    keyboard.down(XK_Alt_L);
    pauseMilliseconds(50);
    keyboard.tap(XK_Tab);
    // A user who looks at the list of windows continues to hold Alt.
    pauseMilliseconds(600);
    keyboard.up(XK_Alt_L);
    EXPECT_TRUE(eventually(10, [&] { return TestWindow::activeWindow(display) != other.id(); }));
    journey.expectNothingWasRecorded();
    EXPECT_EQ(contentOf(journey.session.editor.file()), "");
}

INSTANTIATE_TEST_SUITE_P(WindowManagers, SharedModifierOn,
                         testing::Values(WindowManager::openbox, WindowManager::xfwm4), [](const auto& info) {
                             return info.param == WindowManager::openbox ? "openbox" : "xfwm4";
                         });

TEST(SharedModifier, DiscardsTheRecordingIfAnotherKeyFollows) {
    Journey journey;
    auto& session = journey.session;
    session.holdToTalk();
    session.speak(voices().front());
    session.keyboard.tap(XK_x);
    EXPECT_TRUE(eventually(30, [&] { return session.program.auditCount("recordingStopped") == 1; }))
        << session.program.output();
    session.keyboard.up(XK_Alt_L);
    EXPECT_TRUE(journey.waitForTyped("^[x")) << contentOf(session.editor.file());
    Journey::settle();
    journey.expectNothingCame();
    EXPECT_EQ(contentOf(session.editor.file()), "^[x");

    // The next dictation contains none of it.
    session.holdToTalk();
    session.speak(voices().front());
    session.releaseKey();
    EXPECT_TRUE(journey.waitForTyped("^[xwords")) << contentOf(session.editor.file());
}

TEST(SharedModifier, KeepsHandsFreeModeDuringOtherShortcutsAndEndsItByATap) {
    Journey journey;
    auto& session = journey.session;
    session.tapHandsFree();
    ASSERT_TRUE(session.program.waitForTimings(started, 1, 60)) << session.program.output();
    session.keyboard.down(XK_Alt_L);
    pauseMilliseconds(50);
    session.keyboard.tap(XK_x);
    session.keyboard.up(XK_Alt_L);
    EXPECT_TRUE(journey.waitForTyped("^[x")) << contentOf(session.editor.file());
    session.speak(voices().front());
    EXPECT_TRUE(eventually(30, [&] { return commits(journey.server) == 1; })) << "the mode continues";
    EXPECT_TRUE(journey.waitForTyped("^[xwords")) << contentOf(session.editor.file());
    session.keyboard.down(XK_Alt_L);
    pauseMilliseconds(50);
    session.keyboard.up(XK_Alt_L);
    EXPECT_TRUE(eventually(30, [&] { return session.program.auditCount("recordingStopped") >= 1; }))
        << session.program.output();
}

TEST(SharedModifier, PassesAHeldCancelKeyToTheApplicationOnce) {
    Journey journey;
    journey.session.keyboard.down(XK_Escape);
    pauseMilliseconds(1500); // Xvfb repeats after 660 ms
    journey.session.keyboard.up(XK_Escape);
    journey.session.keyboard.tap(XK_x);
    EXPECT_TRUE(journey.waitForTyped("^[x")) << contentOf(journey.session.editor.file());
}

} // namespace sonvale::tests
