#include "tests/e2e/Onboarding.h"
#include "tests/e2e/Session.h"
#include "tests/support/Files.h"
#include "tests/support/Voices.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace sonvale::tests {

namespace {

namespace fs = std::filesystem;

void expectDictationWorks(Session& session, const std::string& before = {}) {
    const auto& voice = voices().front();
    session.dictate(voice);
    EXPECT_TRUE(session.editor.comesToHold(before + voice.sentence, 10)) << session.editor.savedText() << "\n"
                                                                         << session.program.output();
}

/// Holds Alt and expects that no recording begins.
void expectStartFails(Session& session) {
    session.keyboard.down(XK_Alt_L);
    EXPECT_TRUE(eventually(30, [&] {
        return session.program.auditCount("error", "recording-start-failed") == 1;
    })) << session.program.output();
    session.keyboard.up(XK_Alt_L);
    EXPECT_TRUE(session.program.timings("startDictation total: ").empty());
    EXPECT_TRUE(session.program.isRunning());
    EXPECT_EQ(session.editor.savedText(), "");
}

} // namespace

TEST(WithoutMicrophone, NoRecordingStartsUntilThereIsOne) {
    Session session({.sound = PrivateDesktop::Sound::withoutMicrophone});
    expectStartFails(session);

    session.desktop.sound().addMicrophone();
    expectDictationWorks(session);
}

TEST(WithoutSoundServer, TheProgramRunsAndEndsOnRequest) {
    Session session({.sound = PrivateDesktop::Sound::none});
    expectStartFails(session);
    EXPECT_EQ(session.program.quit(), 0) << session.program.output();
}

TEST(UnpluggedMicrophone, InsertsTheWordsSpokenBefore) {
    const auto& voice = voices().front();
    Session session;

    session.holdToTalk();
    session.speak(voice);
    session.desktop.sound().removeMicrophone();
    pauseMilliseconds(500);
    session.releaseKey();

    EXPECT_TRUE(session.editor.comesToHold(voice.sentence, 10)) << session.editor.savedText();
    session.desktop.sound().addMicrophone();
    expectDictationWorks(session, voice.sentence);
}

TEST(CrashedSoundServer, InsertsTheWordsSpokenBefore) {
    const auto& voice = voices().front();
    Session session;

    session.holdToTalk();
    session.speak(voice);
    session.desktop.sound().server().signal(SIGKILL);
    pauseMilliseconds(500);
    session.releaseKey();

    EXPECT_TRUE(session.editor.comesToHold(voice.sentence, 10)) << session.editor.savedText();
    EXPECT_TRUE(session.program.recordings().empty());
    EXPECT_EQ(session.program.quit(), 0) << session.program.output();
}

TEST(Silence, InsertsNoText) {
    Session session;

    session.holdToTalk();
    pauseMilliseconds(2000);
    session.releaseKey();

    EXPECT_EQ(session.editor.savedText(), "");
    EXPECT_TRUE(session.program.recordings().empty());
    expectDictationWorks(session);
}

TEST(GarbageInTheStore, IsReplacedByAnEmptyStore) {
    Session session({.prepare = [](PrivateDesktop& desktop) {
        fs::create_directories(desktop.data() / "Sonvale");
        writeFile(desktop.data() / "Sonvale" / "Sonvale.store", std::string(5000, 'x'));
    }});
    expectDictationWorks(session);
    EXPECT_EQ(session.program.history().size(), 1u);
    EXPECT_NE(session.program.output().find("SwiftData: store reopened successfully after delete"),
              std::string::npos)
        << session.program.output();
}

TEST(StoreThatCannotBeCreated, IsNotNeededForDictation) {
    Session session({.prepare = [](PrivateDesktop& desktop) {
        // A file has the name of its folder.
        writeFile(desktop.data() / "Sonvale", "taken");
    }});
    expectDictationWorks(session);
    EXPECT_NE(session.program.output().find("falling back to in-memory store"), std::string::npos)
        << session.program.output();
}

TEST(InvalidSettingsFile, IsPutAsideAndTheDefaultsApply) {
    const std::string broken = R"({"isOnboardingComplete": tru)";
    // The settings of the user are lost.
    Session session({.isNewUser = true, .prepare = [&](PrivateDesktop& desktop) {
                         RunningProgram::writeSettings(desktop, broken);
                     }});
    expectDictationWorks(session);

    const auto folder = session.desktop.configuration() / "com.sonvale.app";
    EXPECT_EQ(contentOf(folder / "defaults.json.broken-1"), broken);
}

TEST(SecondProgram, ReportsTheRunningOneAndEnds) {
    Session session;
    const auto log = (session.desktop.folder() / "second.log").string();
    EXPECT_EQ(session.desktop.start({SONVALE_PROGRAM}, log).wait(30), 0);

    // Qt 6.8 prints a warning before it if the locale does not exist.
    EXPECT_TRUE(contentOf(log).ends_with("Son Vale is already running.\n")) << contentOf(log);
    // A user who starts it again wants to see it.
    const DashboardOnScreen dashboard(session.desktop);
    dashboard.activate();
    dashboard.close();
    session.editor.focus();
    expectDictationWorks(session);
}

} // namespace sonvale::tests
