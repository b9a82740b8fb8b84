#include "tests/e2e/Session.h"
#include "tests/support/Files.h"
#include "tests/support/Voices.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

namespace sonvale::tests {

namespace {

/// Shows each byte that the terminal's program receives: Alt+X is "^[x".
const std::string showKeys = "stty -icanon -echo; cat -v >> FILE";

/// Longer than the time between the keys of a chord, shorter than any dictation.
constexpr int quickMilliseconds = 50;

/// Expects that the program still works.
void expectNextDictationWorks(Session& session, const std::string& before) {
    const auto& voice = voices().front();
    session.dictate(voice);
    EXPECT_TRUE(session.editor.comesToHold(before + voice.sentence, 10)) << session.editor.savedText();
    EXPECT_TRUE(session.program.recordings().empty());
    EXPECT_FALSE(session.keyboard.isAnyKeyDown());
}

} // namespace

TEST(QuickTap, WithoutTheGuardTypesNoTextAndKeepsTheNextDictation) {
    Session session({.prepare = [](PrivateDesktop& desktop) {
        RunningProgram::writeSettings(desktop,
                                      R"({"isOnboardingComplete": true, "guardModifierHotkeys": false})");
    }});

    session.keyboard.down(XK_Alt_L);
    pauseMilliseconds(quickMilliseconds);
    session.keyboard.up(XK_Alt_L);

    ASSERT_TRUE(session.program.waitForTimings("stopDictation total: ", 1, 60)) << session.program.output();
    EXPECT_EQ(session.editor.savedText(), "");
    expectNextDictationWorks(session, "");
}

TEST(Cancel, ByAnotherModifierDiscardsTheRecording) {
    const auto& voice = voices().front();
    Session session;

    session.holdToTalk();
    session.speak(voice);
    session.keyboard.down(XK_Shift_L);
    ASSERT_TRUE(eventually(30, [&] { return session.program.auditCount("recordingStopped") == 1; }))
        << session.program.output();
    // In the other order Alt would be held alone again, which is a tap.
    session.keyboard.up(XK_Alt_L);
    session.keyboard.up(XK_Shift_L);

    EXPECT_TRUE(eventually(10, [&] { return session.program.recordings().empty(); }));
    // The local recognizer would need this long if it had been called.
    pauseMilliseconds(2500);
    EXPECT_TRUE(session.program.timings("stopDictation total: ").empty());
    EXPECT_TRUE(session.program.history().empty());
    EXPECT_EQ(session.editor.savedText(), "");
    expectNextDictationWorks(session, "");
}

TEST(Shortcut, OfTheApplicationArrivesIfItBeginsWithTheHeldKey) {
    Session session({.editor = Editor::Program::xfce4Terminal, .terminalCommand = showKeys});

    session.keyboard.chord(XK_Alt_L, XK_x);
    session.keyboard.tap(XK_a);

    EXPECT_TRUE(eventually(10, [&] { return contentOf(session.editor.file()) == "^[xa"; }))
        << contentOf(session.editor.file());
}

class OwnShortcut : public testing::TestWithParam<WindowManager> {};

TEST_P(OwnShortcut, ReachesNeitherTheApplicationNorTheWindowManager) {
    Session session(
        {.windowManager = GetParam(), .editor = Editor::Program::xfce4Terminal, .terminalCommand = showKeys});

    session.keyboard.chord(XK_Alt_L, XK_space);
    // A menu of the window manager would receive this letter.
    session.keyboard.tap(XK_a);

    EXPECT_TRUE(eventually(10, [&] { return !contentOf(session.editor.file()).empty(); }));
    pauseMilliseconds(500);
    EXPECT_EQ(contentOf(session.editor.file()), "a");
    EXPECT_FALSE(session.keyboard.isAnyKeyDown());
}

INSTANTIATE_TEST_SUITE_P(WindowManagers, OwnShortcut,
                         testing::Values(WindowManager::openbox, WindowManager::xfwm4), [](const auto& info) {
                             return info.param == WindowManager::openbox ? "openbox" : "xfwm4";
                         });

TEST(PasteLast, InsertsTheTextOfTheLastDictationAgain) {
    const auto& voice = voices().front();
    Session session;
    session.dictate(voice);

    session.keyboard.down(XK_Alt_L);
    session.keyboard.down(XK_Super_L);
    session.keyboard.tap(XK_v);
    // Holds the keys while the text is pasted, as users do.
    pauseMilliseconds(600);
    session.keyboard.up(XK_Super_L);
    session.keyboard.up(XK_Alt_L);

    EXPECT_TRUE(session.editor.comesToHold(voice.sentence + voice.sentence, 10))
        << session.editor.savedText();
    EXPECT_FALSE(session.keyboard.isAnyKeyDown());
    EXPECT_EQ(session.keyboard.modifiers(), 0u);
}

} // namespace sonvale::tests
