#include "tests/e2e/SpeechService.h"
#include "tests/support/MpvPlayer.h"
#include "tests/support/ServiceAnswers.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iostream>
#include <vector>

namespace sonvale::tests {

namespace {

constexpr const char* files = "/v1/audio/transcriptions";

std::string busOf(const Session& session) {
    return session.desktop.environment().at("DBUS_SESSION_BUS_ADDRESS");
}

/// The program and the user's player, which starts after it and plays on request.
class ListeningSession {
public:
    explicit ListeningSession(const Session::Options& options)
        : session(options)
        , player_(busOf(session), false) {}

    void startMusic() { player_.setPlaying(true); }
    void pauseMusic() { player_.setPlaying(false); }
    std::string status() const { return player_.status(); }

    /// Waits until the player has this status and has reported it. Returns whether that happened in time.
    bool waitForMusic(const std::string& wanted) {
        const bool isSo =
            eventually(10, [&] { return player_.status() == wanted && player_.reportedStatus() == wanted; });
        // The program received the report at the same moment and handles it within this time.
        pauseMilliseconds(100);
        return isSo;
    }

    /// Waits for this number of started recordings. Returns whether there were so many in time.
    bool waitForRecordings(std::size_t count) {
        return eventually(10, [&] { return session.program.auditCount("recordingStarted") == count; });
    }

    Session session;

private:
    MpvPlayer player_;
};

double medianOf(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

} // namespace

TEST(Media, IsPausedWhileTheUserSpeaksAndResumesAfterEveryEnding) {
    TestServer server;
    hear(server, {"plain words", "hands-free words"});
    server.answer(files, {.status = 500, .body = "down"});
    ListeningSession listening(streamingTo(server, false));
    auto& session = listening.session;
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();
    listening.startMusic();
    ASSERT_TRUE(listening.waitForMusic("Playing"));

    // The end of a dictation.
    session.holdToTalk();
    EXPECT_TRUE(listening.waitForMusic("Paused"));
    session.releaseKey();
    EXPECT_TRUE(listening.waitForMusic("Playing"));
    EXPECT_TRUE(session.editor.comesToHold("plain words", 10));

    // A cancel by another modifier.
    session.holdToTalk();
    EXPECT_TRUE(listening.waitForMusic("Paused"));
    session.keyboard.down(XK_Shift_L);
    EXPECT_TRUE(listening.waitForMusic("Playing"));
    // In the other order Alt would be held alone again, which is a tap.
    session.keyboard.up(XK_Alt_L);
    session.keyboard.up(XK_Shift_L);

    // Hands-free mode that ends by a tap and by a cancel.
    session.tapHandsFree();
    EXPECT_TRUE(listening.waitForMusic("Paused"));
    ASSERT_TRUE(listening.waitForRecordings(3));
    session.tapHandsFree();
    EXPECT_TRUE(listening.waitForMusic("Playing"));
    EXPECT_TRUE(session.editor.comesToHold("plain wordshands-free words", 10)) << session.editor.savedText();
    session.tapHandsFree();
    EXPECT_TRUE(listening.waitForMusic("Paused"));
    ASSERT_TRUE(listening.waitForRecordings(4));
    session.keyboard.tap(XK_Escape);
    EXPECT_TRUE(listening.waitForMusic("Playing"));

    // A service that drops the session and then does not accept the file.
    Realtime dropping;
    dropping.closesAtCommit = true;
    server.setRealtime(dropping);
    session.holdToTalk();
    EXPECT_TRUE(listening.waitForMusic("Paused"));
    session.releaseKey();
    EXPECT_TRUE(listening.waitForMusic("Playing"));
    EXPECT_EQ(session.program.auditCount("error", "transcription-failed"), 1U) << session.program.output();

    // No service in hands-free mode.
    server.setListening(false);
    server.dropAll();
    session.tapHandsFree();
    EXPECT_TRUE(session.program.waitForOutput("Unable to connect to the transcription service.", 10));
    EXPECT_TRUE(listening.waitForMusic("Playing"));

    // No microphone.
    session.desktop.sound().removeMicrophone();
    session.keyboard.down(XK_Alt_L);
    EXPECT_TRUE(session.program.waitForOutput("Failed to start recording: ", 10)) << session.program.output();
    session.keyboard.up(XK_Alt_L);
    EXPECT_TRUE(listening.waitForMusic("Playing"));
}

TEST(Media, StaysAsTheUserSetIt) {
    TestServer server;
    hear(server, {"plain words"});
    ListeningSession listening(streamingTo(server, false));
    auto& session = listening.session;
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();
    listening.startMusic();
    ASSERT_TRUE(listening.waitForMusic("Playing"));
    listening.pauseMusic();
    ASSERT_TRUE(listening.waitForMusic("Paused"));

    // The user has paused the music before.
    session.holdToTalk();
    EXPECT_EQ(listening.status(), "Paused");
    session.releaseKey();
    pauseMilliseconds(500);
    EXPECT_EQ(listening.status(), "Paused");

    // The user starts the music meanwhile.
    session.holdToTalk();
    listening.startMusic();
    EXPECT_TRUE(listening.waitForMusic("Playing"));
    session.releaseKey();
    pauseMilliseconds(500);
    EXPECT_EQ(listening.status(), "Playing");
}

TEST(Media, IsPausedByEveryRecording) {
    TestServer server;
    hear(server, {});
    ListeningSession listening(streamingTo(server, false));
    auto& session = listening.session;
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();
    listening.startMusic();

    std::vector<double> milliseconds;
    for (std::size_t run = 1; run <= 20; ++run) {
        ASSERT_TRUE(listening.waitForMusic("Playing"));
        const double start = monotonicSeconds();
        session.tapHandsFree();
        ASSERT_TRUE(eventually(10, [&] { return listening.status() == "Paused"; })) << run;
        milliseconds.push_back((monotonicSeconds() - start) * 1000);
        ASSERT_TRUE(listening.waitForRecordings(run));
        session.keyboard.tap(XK_Escape);
    }
    const double median = medianOf(milliseconds);
    std::cout << "paused " << median << " ms after the key went down (median)\n";
    RecordProperty("median_microseconds", static_cast<int>(median * 1000));
}

} // namespace sonvale::tests
