#include "tests/e2e/Session.h"
#include "tests/support/Files.h"
#include "tests/support/ServiceAnswers.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <mutex>

namespace sonvale::tests {

namespace {

constexpr const char* key = "sk-of-this-test";
constexpr const char* chat = "/v1/chat/completions";

Session::Options with(const TestServer& server, bool isCleaned,
                      Editor::Program editor = Editor::Program::mousepad) {
    Session::Options options;
    options.editor = editor;
    options.prepare = [isCleaned](PrivateDesktop& desktop) {
        RunningProgram::writeSettings(desktop, base::Json{{"isOnboardingComplete", true},
                                                          {"transcriptionEngine", "streaming"},
                                                          {"aiProcessingEnabled", isCleaned}}
                                                   .dump());
    };
    options.program.info = {
        {"OPENAI_API_KEY", key}, {"OPENAI_BASE_URL", server.url()}, {"CFBundleShortVersionString", "1.0"}};
    return options;
}

/// Each commit of the sockets to come is answered with the next of these.
void hear(TestServer& server, std::vector<std::string> transcripts) {
    struct Queue {
        std::mutex mutex;
        std::deque<std::string> texts;
    };
    auto queue = std::make_shared<Queue>();
    queue->texts.assign(transcripts.begin(), transcripts.end());
    Realtime realtime;
    realtime.token = key;
    realtime.refusesShortAudio = false;
    realtime.transcriber = [queue](const std::string&) {
        const std::lock_guard lock(queue->mutex);
        if (queue->texts.empty())
            return std::string();
        auto text = std::move(queue->texts.front());
        queue->texts.pop_front();
        return text;
    };
    server.setRealtime(realtime);
}

int commits(const TestServer& server) {
    int count = 0;
    for (const auto& socket : server.sockets())
        count += socket.commits;
    return count;
}

/// Waits until the utterance that was spoken has been cut at its pause.
bool comesToCommits(const TestServer& server, int count) {
    return eventually(10, [&] { return commits(server) >= count; });
}

void tap(Session& session) {
    session.keyboard.down(XK_Alt_L);
    session.keyboard.down(XK_space);
    session.keyboard.up(XK_space);
    session.keyboard.up(XK_Alt_L);
}

/// Runs until the program is ready to be tapped or held.
void expectSession(Session& session, const TestServer& server) {
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();
}

} // namespace

TEST(LongForm, TypesTheFirstPartAfterFiveSecondsAndTheRestAtTheRelease) {
    TestServer server;
    hear(server, {"the first part", "and the rest"});
    server.answer(chat, chatCompletion("The first part, and the rest."));
    Session session(with(server, true));
    expectSession(session, server);

    session.holdToTalk();
    session.speak(voices().front());
    EXPECT_TRUE(session.editor.comesToHold("", 0));
    ASSERT_TRUE(comesToCommits(server, 1));
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

    // Nothing is stuck: the keys type as they did before.
    session.keyboard.tap(XK_x);
    EXPECT_TRUE(session.editor.comesToHold("The first part, and the rest.x", 5))
        << session.editor.savedText();
}

TEST(HandsFree, TypesEachUtteranceAndReplacesThemByTheCleanedWhole) {
    TestServer server;
    hear(server, {"first words", "second words", "third words", ""});
    server.answer(chat, chatCompletion("First words, second words, third words."));
    Session session(with(server, true));
    expectSession(session, server);

    tap(session);
    ASSERT_TRUE(eventually(10, [&] { return session.program.auditCount("recordingStarted") == 1; }))
        << session.program.output();
    for (int utterance = 1; utterance <= 3; ++utterance) {
        ASSERT_EQ(session.startSpeaking(voices().front()).wait(60), 0);
        ASSERT_TRUE(comesToCommits(server, utterance)) << session.program.output();
        EXPECT_TRUE(eventually(
            5, [&] { return session.program.history().size() == static_cast<std::size_t>(utterance); }));
    }
    pauseMilliseconds(600);
    tap(session);
    EXPECT_TRUE(session.editor.comesToHold("First words, second words, third words.", 15))
        << session.editor.savedText() << session.program.output();
    EXPECT_TRUE(eventually(5, [&] { return session.program.history().size() == 4; }));
    EXPECT_TRUE(eventually(5, [&] { return session.program.recordings().empty(); }));
    EXPECT_EQ(server.requests(chat).size(), 1U);
}

TEST(HandsFree, KeepsWhatWasTypedWhenItIsCancelled) {
    TestServer server;
    hear(server, {"first words", "never"});
    Session session(with(server, false));
    expectSession(session, server);

    tap(session);
    ASSERT_TRUE(eventually(10, [&] { return session.program.auditCount("recordingStarted") == 1; }));
    ASSERT_EQ(session.startSpeaking(voices().front()).wait(60), 0);
    ASSERT_TRUE(comesToCommits(server, 1)) << session.program.output();
    EXPECT_TRUE(session.editor.comesToHold("first words", 10)) << session.program.output();
    session.keyboard.tap(XK_Escape);
    EXPECT_TRUE(eventually(5, [&] { return session.program.recordings().empty(); }));
    EXPECT_TRUE(server.waitForClosedSockets(1, 5));
    pauseMilliseconds(3000);
    EXPECT_EQ(session.editor.savedText(), "first words");
    EXPECT_EQ(commits(server), 1);
}

TEST(HandsFree, SaysThatItNeedsTheService) {
    TestServer server;
    auto options = with(server, false);
    server.setListening(false);
    Session session(std::move(options));

    tap(session);
    EXPECT_TRUE(session.program.waitForOutput(
        "Unable to connect to the transcription service. Please try again.", 10))
        << session.program.output();
    EXPECT_TRUE(eventually(5, [&] { return session.program.recordings().empty(); }));
}

} // namespace sonvale::tests
