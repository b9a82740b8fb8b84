#include "tests/e2e/CopiedPage.h"
#include "tests/e2e/Session.h"
#include "tests/support/Voices.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <ostream>

namespace sonvale::tests {

namespace {

namespace fs = std::filesystem;

struct Place {
    std::string name;
    WindowManager windowManager;
    Editor::Program editor;
};

void PrintTo(const Place& place, std::ostream* stream) {
    *stream << place.name;
}

void expectPrivate(const fs::path& file) {
    const auto others = fs::perms::group_all | fs::perms::others_all;
    EXPECT_EQ(fs::status(file).permissions() & others, fs::perms::none) << file;
    EXPECT_EQ(fs::status(file.parent_path()).permissions() & others, fs::perms::none) << file.parent_path();
}

} // namespace

class DictationInto : public testing::TestWithParam<Place> {};

TEST_P(DictationInto, InsertsTheWordsAtTheCursorAndLeavesNoOtherTrace) {
    const auto& voice = voices().front();
    Session session({.windowManager = GetParam().windowManager, .editor = GetParam().editor});
    const auto copied = copiedPage();
    const SelectionOwner owner(session.desktop.display(), copied);

    session.dictate(voice);

    EXPECT_TRUE(session.editor.comesToHold(voice.sentence, 10)) << session.editor.savedText();
    expectClipboardHolds(session.desktop.display(), copied);
    EXPECT_FALSE(session.keyboard.isAnyKeyDown());
    EXPECT_EQ(session.keyboard.modifiers(), 0u);

    const auto rows = session.program.history();
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].rawText, voice.sentence);
    EXPECT_EQ(rows[0].processedText, voice.sentence);

    EXPECT_EQ(session.program.auditCount("appLaunch"), 1u);
    EXPECT_EQ(session.program.auditCount("recordingStarted"), 1u);
    EXPECT_EQ(session.program.auditCount("recordingStopped"), 1u);
    EXPECT_EQ(session.program.auditCount("error"), 0u);

    EXPECT_TRUE(session.program.recordings().empty());
    expectPrivate(session.program.storeFile());
    expectPrivate(session.desktop.data() / "com.sonvale.app" / "audit.log");
    expectPrivate(session.desktop.configuration() / "com.sonvale.app" / "defaults.json");
    // The text is in the history and in the editor, and in no log.
    EXPECT_EQ(session.program.output().find(voice.sentence), std::string::npos);

    EXPECT_EQ(session.program.quit(), 0) << session.program.output();
}

INSTANTIATE_TEST_SUITE_P(
    Places, DictationInto,
    testing::Values(Place{"mousepadOnOpenbox", WindowManager::openbox, Editor::Program::mousepad},
                    Place{"mousepadOnXfwm4", WindowManager::xfwm4, Editor::Program::mousepad},
                    Place{"featherpad", WindowManager::openbox, Editor::Program::featherpad},
                    Place{"featherpadOnXfwm4", WindowManager::xfwm4, Editor::Program::featherpad},
                    Place{"xterm", WindowManager::openbox, Editor::Program::xterm},
                    Place{"xfce4Terminal", WindowManager::openbox, Editor::Program::xfce4Terminal}),
    [](const auto& info) { return info.param.name; });

TEST(Dictation, CanFollowAnotherOneAtOnce) {
    const auto& first = voices().at(0);
    const auto& second = voices().at(1);
    Session session;

    session.dictate(first);
    session.dictate(second);

    EXPECT_TRUE(session.editor.comesToHold(first.sentence + second.sentence, 10))
        << session.editor.savedText();
    EXPECT_EQ(session.program.history().size(), 2u);
}

TEST(Dictation, OnThisMachineLoadsNoTlsLibrary) {
    Session session;
    session.dictate(voices().front());
    EXPECT_TRUE(session.program.hasMapped("/libQt6Network.so"));
    EXPECT_FALSE(session.program.hasMapped("/libqopensslbackend.so"));
}

TEST(Dictation, LoadsFfmpegWithTheFirstRecording) {
    Session session;
    EXPECT_TRUE(session.program.hasMapped("/libsoxr.so"));
    EXPECT_FALSE(session.program.hasMapped("/libavcodec.so"));
    EXPECT_FALSE(session.program.hasMapped("/sonvale-ffmpeg.so"));

    session.dictate(voices().front());
    EXPECT_TRUE(session.program.hasMapped("/libavcodec.so"));
    EXPECT_TRUE(session.program.hasMapped("/sonvale-ffmpeg.so"));
    EXPECT_TRUE(session.editor.comesToHold(voices().front().sentence, 10)) << session.editor.savedText();
}

TEST(Dictation, InsertsTwentyTextsInARowAndLeavesNoKeyDown) {
    Session session;
    std::string expected;
    for (std::size_t i = 0; i < 20; ++i) {
        const auto& voice = voices().at(i % voices().size());
        session.dictate(voice);
        expected += voice.sentence;
        ASSERT_FALSE(session.keyboard.isAnyKeyDown()) << "dictation " << i + 1;
        ASSERT_EQ(session.keyboard.modifiers(), 0u) << "dictation " << i + 1;
    }

    EXPECT_TRUE(session.editor.comesToHold(expected, 20)) << session.editor.savedText();
    EXPECT_EQ(session.program.history().size(), 20u);
    EXPECT_TRUE(session.program.recordings().empty());
    EXPECT_EQ(session.program.auditCount("error"), 0u);
}

TEST(Dictation, IsNotWrittenToTheHistoryInPrivacyMode) {
    const auto& voice = voices().front();
    Session session({.prepare = [](PrivateDesktop& desktop) {
        RunningProgram::writeSettings(desktop,
                                      R"({"isOnboardingComplete": true, "privacyModeEnabled": true})");
    }});

    session.dictate(voice);

    EXPECT_TRUE(session.editor.comesToHold(voice.sentence, 10)) << session.editor.savedText();
    EXPECT_TRUE(session.program.history().empty());
}

} // namespace sonvale::tests
