#include "tests/e2e/CopiedPage.h"
#include "tests/e2e/SpeechService.h"
#include "tests/support/ServiceAnswers.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

namespace sonvale::tests {

namespace {

/// Waits until the program has an open session.
void expectSession(Session& session, const TestServer& server) {
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();
}

void expectRecording(const Session& session) {
    ASSERT_TRUE(eventually(10, [&] { return session.program.auditCount("recordingStarted") == 1; }))
        << session.program.output();
}

bool comesToRows(const Session& session, std::size_t count) {
    return eventually(10, [&] { return session.program.history().size() == count; });
}

/// Speaks shortly and is silent again.
void speakShortly(Session& session) {
    const auto speech = session.startSpeaking(voices().front());
    pauseMilliseconds(1300);
}

/// Presses the hotkey as fast as a keyboard can. If the keys were released in the other order, Alt would be
/// held alone, which is a tap.
void pasteLast(TestKeyboard& keyboard) {
    keyboard.down(XK_Alt_L);
    keyboard.down(XK_Super_L);
    keyboard.tap(XK_v);
    keyboard.up(XK_Alt_L);
    keyboard.up(XK_Super_L);
    pauseMilliseconds(5);
}

} // namespace

TEST(LongForm, TypesTheFirstPieceAfterFiveSecondsAndTheRestAtTheRelease) {
    TestServer server;
    hear(server, {"the first part", "and the rest"});
    server.answer(chatPath, chatCompletion("The first part, and the rest."));
    Session session(streamingTo(server, true));
    expectSession(session, server);

    session.holdToTalk();
    session.speak(voices().front());
    EXPECT_TRUE(session.program.history().empty());
    ASSERT_TRUE(waitForCommits(server, 1));
    ASSERT_TRUE(session.program.waitForTimings("PTT long-form segment: ", 1, 5)) << session.program.output();
    pauseMilliseconds(700);
    const bool isTypedMeanwhile = session.program.history().size() == 1;
    session.speak(voices().front());
    pauseMilliseconds(2000);
    session.keyboard.up(XK_Alt_L);
    ASSERT_TRUE(session.program.waitForTimings("stopDictation total (long-form): ", 1, 15))
        << session.program.output();

    EXPECT_TRUE(isTypedMeanwhile);
    EXPECT_TRUE(session.editor.comesToHold("The first part, and the rest.", 10))
        << session.editor.savedText();
    EXPECT_EQ(commits(server), 2);
    EXPECT_EQ(session.program.history().size(), 3U);
    EXPECT_TRUE(session.program.recordings().empty());

    // No key is stuck: the keys type as before.
    session.keyboard.tap(XK_x);
    EXPECT_TRUE(session.editor.comesToHold("The first part, and the rest.x", 5))
        << session.editor.savedText();
    // Alt works as Alt again: with an arrow key it moves the line.
    session.keyboard.type("\ny");
    session.keyboard.chord(XK_Alt_L, XK_Up);
    EXPECT_TRUE(session.editor.comesToHold("y\nThe first part, and the rest.x", 5))
        << session.editor.savedText();
}

TEST(HandsFree, TypesEachUtteranceAndReplacesThemByTheCleanedWhole) {
    TestServer server;
    hear(server, {"first words", "second words", "third words", ""});
    server.answer(chatPath, chatCompletion("First words, second words, third words."));
    Session session(streamingTo(server, true));
    expectSession(session, server);
    session.keyboard.type("before: ");

    session.tapHandsFree();
    expectRecording(session);
    for (int utterance = 1; utterance <= 3; ++utterance) {
        ASSERT_EQ(session.startSpeaking(voices().front()).wait(60), 0);
        ASSERT_TRUE(waitForCommits(server, utterance)) << session.program.output();
        EXPECT_TRUE(comesToRows(session, static_cast<std::size_t>(utterance)));
    }
    pauseMilliseconds(600);
    session.tapHandsFree();
    EXPECT_TRUE(session.editor.comesToHold("before: First words, second words, third words.", 15))
        << session.editor.savedText() << session.program.output();
    EXPECT_TRUE(comesToRows(session, 4));
    EXPECT_TRUE(eventually(5, [&] { return session.program.recordings().empty(); }));
    EXPECT_EQ(server.requests(chatPath).size(), 1U);
    // The whole is one step for the editor, as each piece was.
    session.keyboard.chord(XK_Control_L, XK_z);
    EXPECT_TRUE(session.editor.comesToHold("before: ", 5)) << session.editor.savedText();
}

TEST(HandsFree, EndsByAPressOfPushToTalk) {
    TestServer server;
    hear(server, {"first words", "last words", "and again"});
    server.answer(chatPath, chatCompletion("First words, last words."));
    server.answer(chatPath, chatCompletion("And again."));
    Session session(streamingTo(server, true));
    expectSession(session, server);

    session.tapHandsFree();
    expectRecording(session);
    speakShortly(session);
    ASSERT_TRUE(waitForCommits(server, 1)) << session.program.output();
    ASSERT_TRUE(comesToRows(session, 1));
    speakShortly(session);
    session.keyboard.down(XK_Alt_L);
    ASSERT_TRUE(waitForCommits(server, 2)) << session.program.output();
    session.keyboard.up(XK_Alt_L);
    session.waitForRingToHide();

    EXPECT_TRUE(session.editor.comesToHold("First words, last words.", 15)) << session.program.output();
    EXPECT_EQ(server.requests(chatPath).size(), 1U);
    EXPECT_EQ(session.program.auditCount("recordingStarted"), 1U) << "the press began no other recording";
    EXPECT_TRUE(eventually(5, [&] { return session.program.recordings().empty(); }));
    EXPECT_FALSE(session.keyboard.isAnyKeyDown());

    // The next press works as usual.
    session.dictate(voices().front());
    EXPECT_TRUE(session.editor.comesToHold("First words, last words.And again.", 10))
        << session.editor.savedText() << session.program.output();
}

TEST(HandsFree, KeepsTheOrderIfAnInsertionIsSlowerThanTheNextUtterance) {
    TestServer server;
    hear(server, {"x", "first words", "second words"});
    Session session(streamingTo(server, false));
    expectSession(session, server);
    session.holdToTalk();
    session.releaseKey();
    const auto copied = copiedPage();
    const SelectionOwner owner(session.desktop.display(), copied);

    session.tapHandsFree();
    ASSERT_TRUE(eventually(10, [&] { return session.program.auditCount("recordingStarted") == 2; }));
    speakShortly(session);
    // All insertions wait for each other, also the insertions of the pieces. Twenty take at least seven
    // seconds, which is longer than the next utterance. The program is stopped until all keys are pressed:
    // otherwise they would mix with the keys of its first insertion.
    session.program.stop();
    for (int i = 0; i < 20; ++i)
        pasteLast(session.keyboard);
    session.program.resume();
    ASSERT_TRUE(waitForCommits(server, 2)) << session.program.output();
    speakShortly(session);
    ASSERT_TRUE(waitForCommits(server, 3)) << session.program.output();

    EXPECT_TRUE(session.editor.comesToHold(std::string(21, 'x') + "first words second words", 90))
        << session.editor.savedText() << session.program.output();
    // A tap of Alt+Space during an insertion may reach the editor as a space: the program lets go of Alt for
    // a moment to press Control-V.
    session.tapHandsFree();
    session.waitForRingToHide();
    expectClipboardHolds(session.desktop.display(), copied);
}

TEST(HandsFree, KeepsTheTypedTextIfItIsCancelled) {
    TestServer server;
    hear(server, {"first words", "never"});
    Session session(streamingTo(server, false));
    expectSession(session, server);

    session.tapHandsFree();
    expectRecording(session);
    ASSERT_EQ(session.startSpeaking(voices().front()).wait(60), 0);
    ASSERT_TRUE(waitForCommits(server, 1)) << session.program.output();
    EXPECT_TRUE(session.editor.comesToHold("first words", 10)) << session.program.output();
    session.keyboard.tap(XK_Escape);
    EXPECT_TRUE(eventually(5, [&] { return session.program.recordings().empty(); }));
    EXPECT_TRUE(server.waitForClosedSockets(1, 5));
    pauseMilliseconds(3000);
    EXPECT_EQ(session.editor.savedText(), "first words");
    EXPECT_EQ(commits(server), 1);
}

TEST(HandsFree, ReportsThatItNeedsTheService) {
    TestServer server;
    auto options = streamingTo(server, false);
    server.setListening(false);
    Session session(options);

    session.tapHandsFree();
    EXPECT_TRUE(session.program.waitForOutput(
        "Unable to connect to the transcription service. Please try again.", 10))
        << session.program.output();
    EXPECT_TRUE(eventually(5, [&] { return session.program.recordings().empty(); }));
}

} // namespace sonvale::tests
