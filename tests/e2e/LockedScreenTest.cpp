#include "tests/e2e/Session.h"
#include "tests/support/Files.h"
#include "tests/support/ScreenSaver.h"
#include "tests/support/Voices.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

namespace sonvale::tests {

TEST(LockedScreen, EndsADictationWithoutTypingItAndIgnoresHotkeys) {
    const auto& voice = voices().front();
    Session session;
    ScreenSaver saver(session.desktop.environment().at("DBUS_SESSION_BUS_ADDRESS"));

    session.holdToTalk();
    session.speak(voice);
    saver.setActive(true);
    ASSERT_TRUE(session.program.waitForTimings("stopDictation total: ", 1, 60)) << session.program.output();
    session.keyboard.up(XK_Alt_L);
    const auto rows = session.program.history();
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].processedText, voice.sentence);
    EXPECT_EQ(session.editor.savedText(), "");

    // A user who types the password may hold Alt.
    session.keyboard.down(XK_Alt_L);
    pauseMilliseconds(1500);
    session.keyboard.up(XK_Alt_L);
    EXPECT_EQ(session.program.auditCount("recordingStarted"), 1U) << session.program.output();

    saver.setActive(false);
    pauseMilliseconds(500);
    session.dictate(voice);
    EXPECT_TRUE(session.editor.comesToHold(voice.sentence, 10)) << session.editor.savedText();
}

} // namespace sonvale::tests
