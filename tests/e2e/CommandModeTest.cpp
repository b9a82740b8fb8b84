#include "tests/e2e/CopiedPage.h"
#include "tests/e2e/SpeechService.h"
#include "tests/support/ServiceAnswers.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <ostream>

namespace sonvale::tests {

namespace {

struct Place {
    std::string name;
    Editor::Program editor;
    bool isAccessible;
};

void PrintTo(const Place& place, std::ostream* stream) {
    *stream << place.name;
}

std::string nameOf(const testing::TestParamInfo<Place>& info) {
    return info.param.name;
}

/// Selects some of the text's characters with the arrow keys.
void select(TestKeyboard& keyboard, int from, int count) {
    keyboard.chord(XK_Control_L, XK_Home);
    for (int i = 0; i < from; ++i)
        keyboard.tap(XK_Right);
    keyboard.down(XK_Shift_L);
    for (int i = 0; i < count; ++i)
        keyboard.tap(XK_Right);
    keyboard.up(XK_Shift_L);
    // The editor reports the selection a moment later.
    pauseMilliseconds(500);
}

/// Speaks for a second. The server returns its next transcript.
void speakAndRelease(Session& session) {
    const auto speech = session.startSpeaking(voices().front());
    pauseMilliseconds(1000);
    session.releaseCommandKeys();
}

void expectNoKeyDown(const Session& session) {
    EXPECT_FALSE(session.keyboard.isAnyKeyDown());
    EXPECT_EQ(session.keyboard.modifiers(), 0U);
}

} // namespace

class CommandInEditor : public testing::TestWithParam<Place> {};

TEST_P(CommandInEditor, RewritesTheSelectionOrTypesTheWordsWithoutOne) {
    TestServer server;
    hear(server, {"say it as a figure", " and four"});
    server.answer(chatPath, chatCompletion(" 2\n"));
    auto options = streamingTo(server, false, GetParam().editor);
    options.text = "one two three";
    options.isAccessible = GetParam().isAccessible;
    Session session(options);
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();
    const auto copied = copiedPage();
    {
        const SelectionOwner owner(session.desktop.display(), copied);
        select(session.keyboard, 4, 3);
        session.holdToCommand();
        // An editor on a busy machine may report its selection too late, and then the program copies too.
        if (!GetParam().isAccessible)
            EXPECT_FALSE(owner.isOwner()) << "the program did not copy the selection";
        speakAndRelease(session);
        session.waitForRingToHide();
        EXPECT_TRUE(session.editor.comesToHold("one 2 three", 10)) << session.program.output();
        expectClipboardHolds(session.desktop.display(), copied);
    }
    const auto asked = server.requests(chatPath);
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_TRUE(systemPromptOf(asked[0]).ends_with("Selected text:\n---\ntwo\n---"));
    EXPECT_EQ(userMessageOf(asked[0]), "say it as a figure");
    EXPECT_TRUE(session.program.history().empty());
    expectNoKeyDown(session);

    const SelectionOwner owner(session.desktop.display(), copied);
    session.keyboard.tap(XK_End);
    session.holdToCommand();
    EXPECT_TRUE(owner.isOwner()) << "there is no selection to copy";
    speakAndRelease(session);
    session.waitForRingToHide();
    EXPECT_TRUE(session.editor.comesToHold("one 2 threeand four", 10)) << session.program.output();
    expectClipboardHolds(session.desktop.display(), copied);
    EXPECT_EQ(server.requests(chatPath).size(), 1U);
    EXPECT_EQ(session.program.history().size(), 1U);
    EXPECT_EQ(session.program.auditCount("error"), 0U);
    EXPECT_TRUE(session.program.recordings().empty());
    expectNoKeyDown(session);
}

INSTANTIATE_TEST_SUITE_P(Places, CommandInEditor,
                         testing::Values(Place{"mousepad", Editor::Program::mousepad, true},
                                         Place{"mousepadThatTellsNothing", Editor::Program::mousepad, false},
                                         Place{"featherpad", Editor::Program::featherpad, true},
                                         Place{"featherpadThatTellsNothing", Editor::Program::featherpad,
                                               false}),
                         nameOf);

class CommandInTerminal : public testing::TestWithParam<Place> {};

// The output of a terminal cannot be overwritten: a paste goes to the input of its program.
TEST_P(CommandInTerminal, TypesTheRewrittenTextAtTheCursor) {
    TestServer server;
    hear(server, {"in capitals", "and more"});
    server.answer(chatPath, chatCompletion("MARKED"));
    Session session(streamingTo(server, false, GetParam().editor));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();
    const auto copied = copiedPage();
    const SelectionOwner owner(session.desktop.display(), copied);
    session.keyboard.type("marked words ");
    pauseMilliseconds(500);
    session.editor.markFirstWord();

    session.holdToCommand();
    speakAndRelease(session);
    session.waitForRingToHide();

    EXPECT_TRUE(session.editor.comesToHold("marked words MARKED", 10))
        << session.editor.savedText() << session.program.output();
    expectClipboardHolds(session.desktop.display(), copied);
    const auto asked = server.requests(chatPath);
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_TRUE(systemPromptOf(asked[0]).ends_with("---\nmarked\n---"));
    EXPECT_EQ(userMessageOf(asked[0]), "in capitals");
    expectNoKeyDown(session);
}

INSTANTIATE_TEST_SUITE_P(Places, CommandInTerminal,
                         testing::Values(Place{"xterm", Editor::Program::xterm, false},
                                         Place{"xfce4Terminal", Editor::Program::xfce4Terminal, false}),
                         nameOf);

TEST(Command, TypesTheInstructionIfTheModelFailsOrDoesNotAnswer) {
    TestServer server;
    hear(server, {"make it shorter", "make it longer"});
    server.answer(chatPath, serviceError(500, "The server had an error."));
    server.answer(chatPath, {.fault = Answer::Fault::neverAnswers});
    auto options = streamingTo(server, false);
    options.text = "one two three";
    options.isAccessible = true;
    Session session(options);
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();
    const auto copied = copiedPage();
    const SelectionOwner owner(session.desktop.display(), copied);

    select(session.keyboard, 4, 3);
    session.holdToCommand();
    speakAndRelease(session);
    session.waitForRingToHide();
    EXPECT_TRUE(session.editor.comesToHold("one make it shorter three", 10)) << session.program.output();
    EXPECT_EQ(session.program.auditCount("error", "command-processing-failed"), 1U);
    expectClipboardHolds(session.desktop.display(), copied);

    session.keyboard.chord(XK_Control_L, XK_a);
    pauseMilliseconds(500);
    session.holdToCommand();
    speakAndRelease(session);
    const double releaseKey = monotonicSeconds();
    ASSERT_TRUE(session.program.waitForTimings("stopDictation total: ", 2, 60)) << session.program.output();
    EXPECT_GE(monotonicSeconds() - releaseKey, 29) << "the limit of an instruction is 30 s";
    EXPECT_TRUE(session.editor.comesToHold("make it longer", 10)) << session.program.output();
    EXPECT_EQ(session.program.auditCount("error", "command-processing-failed"), 2U);
    EXPECT_EQ(session.program.history().size(), 2U);
    expectClipboardHolds(session.desktop.display(), copied);
    expectNoKeyDown(session);
}

} // namespace sonvale::tests
