#include "adapters/ffmpeg/FfmpegAudioFiles.h"

#include "tests/e2e/Session.h"
#include "tests/support/FfmpegModule.h"
#include "tests/support/Files.h"
#include "tests/support/PipeMicrophone.h"
#include "tests/support/PrivateNetwork.h"
#include "tests/support/ServiceAnswers.h"
#include "tests/support/TestCertificates.h"
#include "tests/support/Voices.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace sonvale::tests {

namespace {

constexpr const char* key = "sk-of-this-test";
constexpr const char* files = "/v1/audio/transcriptions";
constexpr double rate = 24000;

/// Returns the options for a program with a key for the service and this engine.
Session::Options with(const TestServer& server, const std::string& engine) {
    Session::Options options;
    options.prepare = [engine](PrivateDesktop& desktop) {
        RunningProgram::writeSettings(
            desktop,
            R"({"isOnboardingComplete": true, "aiProcessingEnabled": false, "transcriptionEngine": ")" +
                engine + "\"}");
    };
    options.program.info = {
        {"OPENAI_API_KEY", key}, {"OPENAI_BASE_URL", server.url()}, {"CFBundleShortVersionString", "1.0"}};
    return options;
}

/// Works as `with` for a program on the near machine of the network. The server listens on the far machine.
Session::Options across(const PrivateNetwork& network, const TestServer& server, const std::string& engine) {
    auto options = with(server, engine);
    options.program.info["OPENAI_BASE_URL"] = PrivateNetwork::serverUrl("https");
    options.program.environment = {{"SSL_CERT_FILE", server.caFile().string()}};
    options.program.launcher = network.launcher();
    return options;
}

Realtime saying(const std::string& transcript) {
    Realtime realtime;
    realtime.transcript = transcript;
    realtime.token = key;
    return realtime;
}

std::vector<float> samplesOf(const std::string& pcm) {
    std::vector<float> samples;
    for (std::size_t i = 0; i + 1 < pcm.size(); i += 2) {
        const auto low = static_cast<unsigned char>(pcm[i]);
        const auto high = static_cast<unsigned char>(pcm[i + 1]);
        samples.push_back(static_cast<float>(static_cast<std::int16_t>(low | (high << 8))) / 32768.0F);
    }
    return samples;
}

std::vector<float> samplesOfFile(const std::string& path) {
    adapters::ffmpeg::FfmpegAudioFiles audioFiles{ffmpegModule()};
    const auto audio = audioFiles.read(path, {rate, 1});
    const auto channel = audio->channel(0);
    return {channel.begin(), channel.end()};
}

double correlation(const std::vector<float>& a, std::size_t start, const std::vector<float>& b,
                   std::size_t step = 1) {
    double ab = 0;
    double aa = 0;
    double bb = 0;
    for (std::size_t i = 0; i < b.size() && start + i < a.size(); i += step) {
        ab += static_cast<double>(a[start + i]) * b[i];
        aa += static_cast<double>(a[start + i]) * a[start + i];
        bb += static_cast<double>(b[i]) * b[i];
    }
    return aa > 0 && bb > 0 ? ab / std::sqrt(aa * bb) : 0;
}

/// Returns the best correlation of `part` with any section of `whole`. A gap or a repeat of a hundredth of a
/// second in the middle of speech reduces it to a half.
double likeness(const std::vector<float>& whole, const std::vector<float>& part) {
    if (whole.size() < part.size())
        return 0;
    double best = 0;
    std::size_t place = 0;
    for (std::size_t start = 0; start + part.size() <= whole.size(); start += 2) {
        const double found = correlation(whole, start, part, 23);
        if (found > best) {
            best = found;
            place = start;
        }
    }
    best = 0;
    for (std::size_t start = place < 4 ? 0 : place - 4; start < place + 4; ++start)
        best = std::max(best, correlation(whole, start, part));
    return best;
}

/// Returns loud noise in which no two moments are alike.
std::vector<float> noise(std::size_t samples) {
    std::vector<float> result(samples);
    std::uint32_t state = 1;
    for (float& sample : result) {
        state = state * 1664525 + 1013904223;
        sample = static_cast<float>(state >> 8U) / static_cast<float>(1U << 24U) - 0.5F;
    }
    return result;
}

/// Speaks in real time, as a microphone captures it. `meanwhile` is called every 10 ms with the number of
/// samples so far.
void speakInto(
    PipeMicrophone& microphone, const std::vector<float>& samples,
    const std::function<void(std::size_t)>& meanwhile = [](std::size_t) {}) {
    constexpr std::size_t piece = 480;
    const double start = monotonicSeconds();
    for (std::size_t i = 0; i < samples.size(); i += piece) {
        const auto count = static_cast<std::ptrdiff_t>(std::min(piece, samples.size() - i));
        const auto from = samples.begin() + static_cast<std::ptrdiff_t>(i);
        microphone.speak({from, from + count});
        meanwhile(i + static_cast<std::size_t>(count));
        while (monotonicSeconds() - start < static_cast<double>(i + piece) / 48000)
            pauseMilliseconds(1);
    }
}

/// Returns the samples of the recorder's file in the body of an upload.
std::vector<float> samplesOfUpload(const Request& request) {
    constexpr std::string_view head = "Content-Type: audio/m4a\r\n\r\n";
    const auto begin = request.body.find(head);
    if (begin == std::string::npos)
        throw std::runtime_error("there is no file in the request");
    const auto start = begin + head.size();
    const auto end = request.body.rfind("\r\n--");
    const TemporaryDirectory directory;
    writeFile(directory.path() + "/posted.m4a", std::string_view(request.body).substr(start, end - start));
    return samplesOfFile(directory.path() + "/posted.m4a");
}

/// Makes a dictation into a realtime session by a user who continues to speak after the release. Returns how
/// many seconds of the speech before the release the service did not receive.
double secondsMissingAtRelease() {
    TestServer server;
    server.setRealtime(saying(""));
    auto options = with(server, "streaming");
    options.sound = PrivateDesktop::Sound::withoutMicrophone;
    std::optional<PipeMicrophone> microphone;
    const auto prepare = options.prepare;
    options.prepare = [&](PrivateDesktop& desktop) {
        prepare(desktop);
        microphone.emplace(desktop.sound(), "pipemic");
    };
    Session session(options);
    if (!server.waitForSockets(1, 20))
        throw std::runtime_error("no session");

    // At the release, most of one of the recorder's buffers of 1024 samples is not delivered yet.
    constexpr std::size_t spokenAtRelease = std::size_t{480} * 115;
    session.holdToTalk();
    speakInto(*microphone, noise(spokenAtRelease + 9600), [&](std::size_t spoken) {
        if (spoken == spokenAtRelease)
            session.keyboard.up(XK_Alt_L);
    });
    session.waitForRingToHide();
    const auto sent = samplesOf(server.socket().audio()).size();
    return static_cast<double>(spokenAtRelease) / 48000 - static_cast<double>(sent) / rate;
}

} // namespace

TEST(Streaming, InsertsTheTextOfTheServiceAtTheCursor) {
    TestServer server;
    server.setRealtime(saying("words from the service"));
    Session session(with(server, "streaming"));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << "no session is ready:\n" << session.program.output();

    session.dictate(voices().front());

    EXPECT_TRUE(session.editor.comesToHold("words from the service", 10)) << session.editor.savedText();
    EXPECT_EQ(server.sockets().size(), 1U) << "the session was open before the key went down";
    const auto socket = server.socket();
    EXPECT_EQ(socket.handshake.header("Authorization"), std::string("Bearer ") + key);
    EXPECT_EQ(socket.events("session.update").size(), 1U);
    EXPECT_EQ(socket.commits, 1);
    EXPECT_TRUE(server.requests(files).empty());
    EXPECT_GT(likeness(samplesOf(socket.audio()), samplesOfFile(voiceFile(voices().front().name))), 0.95);
    EXPECT_TRUE(session.program.recordings().empty());
    EXPECT_EQ(session.program.history().size(), 1U);
    EXPECT_EQ(session.program.output().find("words from"), std::string::npos);
    EXPECT_EQ(session.program.output().find(key), std::string::npos);
    EXPECT_EQ(session.program.quit(), 0);
    EXPECT_TRUE(server.waitForClosedSockets(1, 5));
}

TEST(Streaming, NeedsNoFfmpeg) {
    TestServer server;
    server.setRealtime(saying("words from the service"));
    auto options = with(server, "streaming");
    options.program.isWithoutFfmpeg = true;
    Session session(options);
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();

    session.dictate(voices().front());

    EXPECT_TRUE(session.editor.comesToHold("words from the service", 10)) << session.program.output();
    EXPECT_TRUE(session.program.waitForOutput("Recordings cannot be written or read: ", 10))
        << session.program.output();
    EXPECT_TRUE(session.program.recordings().empty());
}

TEST(Streaming, SendsTheSpeechBeforeTheHandshake) {
    TestServer server;
    auto slow = saying("all of it");
    slow.handshakeSeconds = 6;
    server.setRealtime(slow);
    Session session(with(server, "streaming"));
    server.dropAll();
    ASSERT_TRUE(session.program.waitForOutput("Pre-warm failed", 20)) << session.program.output();

    const auto& voice = voices().front();
    session.keyboard.down(XK_Alt_L);
    ASSERT_TRUE(eventually(10, [&] { return session.program.auditCount("recordingStarted") == 1; }));
    ASSERT_EQ(session.startSpeaking(voice).wait(60), 0);
    ASSERT_TRUE(session.program.waitForTimings("WebSocket session start: ", 1, 20))
        << session.program.output();
    ASSERT_EQ(session.startSpeaking(voice).wait(60), 0);
    session.keyboard.up(XK_Alt_L);
    session.waitForRingToHide();

    EXPECT_TRUE(session.editor.comesToHold("all of it", 20)) << session.program.output();
    const auto sent = samplesOf(server.socket().audio());
    EXPECT_GT(static_cast<double>(sent.size()) / rate, 6);
    const auto spoken = samplesOfFile(voiceFile(voice.name));
    const std::vector<float> early(sent.begin(), sent.begin() + static_cast<std::ptrdiff_t>(5 * rate));
    const std::vector<float> late(sent.begin() + static_cast<std::ptrdiff_t>(5 * rate), sent.end());
    EXPECT_GT(likeness(early, spoken), 0.95);
    EXPECT_GT(likeness(late, spoken), 0.95);
}

TEST(Streaming, SendsTheWholeRecording) {
    TestServer server;
    auto closing = saying("");
    closing.closesAtCommit = true;
    server.setRealtime(closing);
    server.answer(files, plainTranscript("from the file\n"));
    auto options = with(server, "streaming");
    options.sound = PrivateDesktop::Sound::withoutMicrophone;
    std::optional<PipeMicrophone> microphone;
    const auto prepare = options.prepare;
    options.prepare = [&](PrivateDesktop& desktop) {
        prepare(desktop);
        microphone.emplace(desktop.sound(), "pipemic");
    };
    Session session(options);
    // Not a whole number of the recorder's buffers: the last sounds are in an incomplete buffer.
    const auto spoken = noise(std::size_t{70} * 1024 + 1000);

    // A busy machine can hold the last sounds up for longer than the program waits for them.
    std::ptrdiff_t missing = 0;
    for (int round = 0; round < 5; ++round) {
        ASSERT_TRUE(server.waitForSockets(round + 1, 20));
        session.holdToTalk();
        speakInto(*microphone, spoken);
        session.releaseKey();

        const auto sent = samplesOf(server.sockets().at(static_cast<std::size_t>(round)).audio());
        missing = static_cast<std::ptrdiff_t>(spoken.size() / 2) - static_cast<std::ptrdiff_t>(sent.size());
        ASSERT_GE(missing, 0) << "there was no speech after the release";
        const auto posted = server.requests(files);
        ASSERT_EQ(posted.size(), static_cast<std::size_t>(round) + 1);
        const auto recorded = samplesOfUpload(posted.back());
        EXPECT_LE(sent.size(), recorded.size());
        EXPECT_GT(likeness(recorded, sent), 0.8);
        if (missing <= 0.005 * rate)
            break;
    }
    EXPECT_LE(static_cast<double>(missing) / rate, 0.005) << "seconds before the release that were not sent";
    EXPECT_TRUE(session.program.recordings().empty());
}

TEST(Streaming, SendsTheSpeechUntilTheReleaseIfTheUserContinuesToSpeak) {
    // A busy machine can hold the last sounds up for longer than the program waits for them.
    double missing = 0;
    for (int round = 0; round < 5; ++round) {
        missing = secondsMissingAtRelease();
        if (missing <= 0.01)
            break;
    }
    EXPECT_LE(missing, 0.01) << "seconds before the release that were not sent";
}

TEST(Streaming, TranscribesTheFileIfTheSessionIsLost) {
    TestServer server;
    auto dropping = saying("never");
    dropping.dropsAfterAppends = 8;
    dropping.ending = Realtime::Ending::reset;
    server.setRealtime(dropping);
    server.answer(files, plainTranscript("from the file"));
    Session session(with(server, "hybrid"));
    ASSERT_TRUE(server.waitForSockets(1, 20));

    session.holdToTalk();
    session.speak(voices().front());
    ASSERT_TRUE(session.program.waitForOutput("WebSocket receive error", 10));
    server.setRealtime(saying(" and then the service"));
    session.releaseKey();

    EXPECT_TRUE(session.editor.comesToHold("from the file", 10)) << session.program.output();
    EXPECT_TRUE(session.program.recordings().empty());

    // The next dictation has a session again.
    session.dictate(voices().front());
    EXPECT_TRUE(session.editor.comesToHold("from the fileand then the service", 10))
        << session.program.output();
}

TEST(Streaming, TranscribesTheFileIfTheConnectionIsLostWithoutNotice) {
    PrivateNetwork network;
    TestServer server({.isTls = true, .listener = network.listen()});
    server.setRealtime(saying("never"));
    server.answer(files, plainTranscript("from the file"));
    Session session(across(network, server, "hybrid"));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();

    session.holdToTalk();
    const auto speech = session.startSpeaking(voices().front());
    ASSERT_TRUE(server.waitForAppends(5, 20));
    // The laptop changes from one Wi-Fi to another in the middle of a sentence.
    network.move();
    server.setRealtime(saying(" and a new session"));
    session.releaseKey();

    EXPECT_TRUE(session.editor.comesToHold("from the file", 20)) << session.program.output();
    EXPECT_EQ(server.requests(files).size(), 1U);
    EXPECT_EQ(session.program.auditCount("recordingStopped"), 1U) << "the microphone is closed";
    EXPECT_TRUE(session.program.recordings().empty());

    session.dictate(voices().front());
    EXPECT_TRUE(session.editor.comesToHold("from the fileand a new session", 10)) << session.program.output();
}

TEST(Streaming, TranscribesOnThisMachineIfNoConnectionWorks) {
    PrivateNetwork network;
    TestServer server({.isTls = true, .listener = network.listen()});
    server.setRealtime(saying("never"));
    Session session(across(network, server, "hybrid"));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();

    const auto& voice = voices().front();
    session.holdToTalk();
    const auto speech = session.startSpeaking(voice);
    ASSERT_TRUE(server.waitForAppends(5, 20));
    network.fallSilent();
    session.releaseKey();
    EXPECT_TRUE(eventually(60, [&] { return !session.editor.savedText().empty(); }))
        << session.program.output();
    EXPECT_EQ(session.program.auditCount("recordingStopped"), 1U) << "the microphone is closed";
    EXPECT_TRUE(server.requests(files).empty());
    EXPECT_TRUE(session.program.recordings().empty());
}

TEST(Streaming, ClosesAnIdleSessionIfTheAddressOfTheMachineChanges) {
    PrivateNetwork network;
    TestServer server({.isTls = true, .listener = network.listen()});
    server.setRealtime(saying("at once"));
    Session session(across(network, server, "streaming"));
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();

    network.move();
    EXPECT_TRUE(session.program.waitForOutput("Closing an idle session", 20)) << session.program.output();
    session.dictate(voices().front());
    EXPECT_TRUE(session.editor.comesToHold("at once", 10)) << session.program.output();
    EXPECT_EQ(server.sockets().size(), 2U);
    EXPECT_TRUE(server.requests(files).empty());
    const auto waits = session.program.timings("stopDictation → finalize: ");
    ASSERT_EQ(waits.size(), 1U);
    EXPECT_EQ(waits[0].find("failed"), std::string::npos) << waits[0];
}

TEST(Streaming, WaitsForALateTranscriptUntilTheLimit) {
    TestServer server;
    auto late = saying("late");
    late.transcriptSeconds = 9;
    server.setRealtime(late);
    server.answer(files, plainTranscript(" and the file"));
    Session session(with(server, "streaming"));
    ASSERT_TRUE(server.waitForSockets(1, 20));

    session.dictate(voices().front());
    EXPECT_TRUE(session.editor.comesToHold("late", 10)) << session.program.output();
    EXPECT_TRUE(server.requests(files).empty());

    auto silent = saying("never");
    silent.isSilent = true;
    server.setRealtime(silent);
    server.closeAll(1001);
    ASSERT_TRUE(session.program.waitForOutput("Receive loop exited", 10));
    session.dictate(voices().front());
    EXPECT_TRUE(session.editor.comesToHold("lateand the file", 10)) << session.program.output();
    const auto waits = session.program.timings("stopDictation → finalize: ");
    ASSERT_EQ(waits.size(), 2U);
    EXPECT_NEAR(std::stod(waits[1]), 10000, 500);
}

TEST(Streaming, TranscribesTheFileAfterAnErrorOfTheService) {
    TestServer server;
    auto failing = saying("never");
    failing.error = Realtime::Error{"The server had an error.", "server_error", "server_error"};
    server.setRealtime(failing);
    server.answer(files, plainTranscript("from the file"));
    Session session(with(server, "streaming"));
    ASSERT_TRUE(server.waitForSockets(1, 20));

    session.dictate(voices().front());

    EXPECT_TRUE(session.editor.comesToHold("from the file", 10)) << session.program.output();
}

TEST(Streaming, TranscribesOnThisMachineIfNoServiceIsReachable) {
    const auto& voice = voices().front();
    TestServer server;
    auto options = with(server, "hybrid");
    server.setListening(false);
    Session session(options);

    session.dictate(voice);

    EXPECT_TRUE(session.editor.comesToHold(voice.sentence, 10)) << session.program.output();
    EXPECT_TRUE(server.requests().empty());
}

TEST(Streaming, LogsTheKindOfARefusalAndNotItsText) {
    TestServer server;
    server.answer(files, {.status = 500, .body = "what the server said"});
    server.answer(files, {.status = 426, .body = "too old"});
    Session session(with(server, "cloud"));

    session.dictate(voices().front());
    // The log names the kind of failure; only the menu shows the server's text.
    EXPECT_TRUE(session.program.waitForOutput("Transcription failed: apiError (500)", 5))
        << session.program.output();
    session.dictate(voices().front());
    EXPECT_TRUE(session.program.waitForOutput("Transcription failed: upgradeRequired", 5));
    for (const auto* body : {"what the server said", "too old"})
        EXPECT_EQ(session.program.output().find(body), std::string::npos) << session.program.output();
    EXPECT_EQ(session.program.auditCount("error", "transcription-failed"), 2U);
    EXPECT_TRUE(server.sockets().empty());
    EXPECT_TRUE(session.program.recordings().empty());
    EXPECT_EQ(session.editor.savedText(), "");
}

TEST(Streaming, RefusesAnUntrustedCertificate) {
    const auto& voice = voices().front();
    TestServer server({.isTls = true});
    server.setRealtime(saying("never"));
    server.answer(files, plainTranscript("never"));
    Session session(with(server, "hybrid"));

    session.dictate(voice);

    EXPECT_TRUE(session.editor.comesToHold(voice.sentence, 10)) << session.program.output();
    EXPECT_TRUE(server.requests().empty());
}

TEST(Streaming, WorksOverTlsWithTheUsersOwnAuthority) {
    TestServer server({.isTls = true});
    server.setRealtime(saying("words over tls"));
    auto options = with(server, "streaming");
    options.program.environment = {{"SSL_CERT_FILE", server.caFile().string()}};
    Session session(options);
    ASSERT_TRUE(server.waitForSockets(1, 20)) << session.program.output();

    session.dictate(voices().front());

    EXPECT_TRUE(session.editor.comesToHold("words over tls", 10)) << session.program.output();
}

} // namespace sonvale::tests
