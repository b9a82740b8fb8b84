#include "adapters/ffmpeg/FfmpegAudioFiles.h"

#include "base/Base64.h"
#include "tests/server/ServerTranscriber.h"
#include "tests/support/FfmpegModule.h"
#include "tests/support/Files.h"
#include "tests/support/RawClient.h"
#include "tests/support/TestServer.h"
#include "tests/support/Voices.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace sonvale::tests {

namespace {

using base::Json;
using testing::HasSubstr;
using testing::StartsWith;

class TestServerProgram : public testing::Test {
protected:
    TestServerProgram() {
        if (::pipe2(input.data(), O_CLOEXEC) != 0)
            throw std::runtime_error("there is no pipe");
    }
    ~TestServerProgram() override {
        ::close(input[0]);
        closeInput();
    }

    void start(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), SONVALE_TEST_SERVER);
        program.emplace(ChildProcess::Options{.arguments = std::move(arguments),
                                              .environment = {},
                                              .withoutEnvironment = {},
                                              .outputFile = output(),
                                              .descriptors = {{input[0], 0}}});
        ASSERT_TRUE(eventually(10, [&] { return contentOf(output()).ends_with("\n"); }));
        line = *base::parseJson(contentOf(output()));
    }

    std::string output() const { return directory.path() + "/output"; }
    void closeInput() {
        if (input[1] >= 0)
            ::close(std::exchange(input[1], -1));
    }

    TemporaryDirectory directory;
    std::array<int, 2> input{};
    std::optional<ChildProcess> program;
    Json line;
};

TEST_F(TestServerProgram, ServesUntilASignal) {
    start({"--text", "Hi there."});
    RawClient client(line.at("port"));
    client.send("POST /v1/audio/transcriptions HTTP/1.1\r\nContent-Length: 0\r\n\r\n");
    EXPECT_THAT(client.readUntil("there.\n"), StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_EQ(line.at("url"), "http://127.0.0.1:" + line.at("port").dump());
    EXPECT_THAT(line.at("realtime"), StartsWith("ws://"));
    program->signal(SIGTERM);
    EXPECT_EQ(program->wait(5), 0);
}

TEST_F(TestServerProgram, ServesTlsUntilItsInputEnds) {
    start({"--tls"});
    RawClient client(line.at("port"), line.at("caFile").get<std::string>());
    EXPECT_THAT(client.upgrade("/v1/realtime"), StartsWith("HTTP/1.1 101 "));
    closeInput();
    EXPECT_EQ(program->wait(5), 0);
}

TEST_F(TestServerProgram, CleansADictationByItsRules) {
    start({"--text", "um hi"});
    RawClient client(line.at("port"));
    const std::string body = R"({"messages":[{"role":"user","content":"<dictation>um so so</dictation>"}]})";
    client.send("POST /v1/chat/completions HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) +
                "\r\n\r\n" + body);
    EXPECT_THAT(client.readUntil("\"usage\""), HasSubstr("\"content\":\"So so.\""));
    EXPECT_FALSE(line.contains("accounts"));
}

TEST_F(TestServerProgram, AcceptsOnlyItsAccounts) {
    start({"--account", "ada@example.com", "--account", "bob@example.com", "--token-seconds", "120"});
    EXPECT_EQ(line.at("accounts"), Json({"ada@example.com", "bob@example.com"}));
    RawClient client(line.at("port"));
    const auto post = [&](const std::string& path, const std::string& body, const std::string& headers) {
        client.send("POST " + path + " HTTP/1.1\r\n" + headers +
                    "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
        const auto head = client.readUntil("\r\n\r\n");
        const auto length = head.find("Content-Length: ") + std::string_view("Content-Length: ").size();
        return head.substr(9, 3) + " " + client.read(std::stoul(head.substr(length)));
    };

    EXPECT_THAT(post("/api/transcribe", "", ""), StartsWith("401 "));
    EXPECT_THAT(post("/auth/login", R"({"email":"ada@example.com","password":"guessed"})", ""),
                HasSubstr("invalid_credentials"));
    const auto session = base::parseJson(
        post("/auth/login", base::jsonText({{"email", "bob@example.com"}, {"password", line.at("password")}}),
             "")
            .substr(4));
    ASSERT_TRUE(session);
    EXPECT_EQ(session->at("expires_in"), 120);
    const auto bearer = "Authorization: Bearer " + session->at("access_token").get<std::string>() + "\r\n";
    EXPECT_EQ(post("/api/transcribe", "", bearer), "200 Hello from the test server.\n");
}

TEST_F(TestServerProgram, ExplainsItsUseAndThatItsChatIsNotAModel) {
    program.emplace(ChildProcess::Options{.arguments = {SONVALE_TEST_SERVER, "--help"},
                                          .environment = {},
                                          .withoutEnvironment = {},
                                          .outputFile = output(),
                                          .descriptors = {}});
    EXPECT_EQ(program->wait(10), 0);
    EXPECT_THAT(contentOf(output()), HasSubstr("rule-based stand-in and no language model"));
    EXPECT_THAT(contentOf(output()), HasSubstr("--account EMAIL"));
}

TEST_F(TestServerProgram, RefusesUnknownArguments) {
    EXPECT_EQ(run({SONVALE_TEST_SERVER, "--account"}), 1);
    EXPECT_EQ(run({SONVALE_TEST_SERVER, "--token-seconds", "60"}), 1);
    EXPECT_EQ(run({SONVALE_TEST_SERVER, "--account", "a@example.com", "--token-seconds", "soon"}), 1);
    EXPECT_EQ(run({SONVALE_TEST_SERVER, "--dance"}), 1);
    EXPECT_EQ(run({SONVALE_TEST_SERVER, "--port", "70000"}), 1);
    EXPECT_EQ(run({SONVALE_TEST_SERVER, "--text"}), 1);
}

class ServerTranscriberTest : public testing::Test {
protected:
    ServerTranscriberTest() { serveEverything(server, transcriber.listening()); }

    static platform::PcmBufferPtr recording(double sampleRate) {
        adapters::ffmpeg::FfmpegAudioFiles files{ffmpegModule()};
        return files.read(voiceFile("late-for-the-meeting"), {.sampleRate = sampleRate, .channelCount = 1});
    }

    const std::string sentence = voice("late-for-the-meeting").sentence;
    TestServer server;
    ServerTranscriber transcriber;
};

TEST_F(ServerTranscriberTest, UnderstandsSpeechFromASocket) {
    const auto buffer = recording(24000);
    std::string pcm;
    for (const float sample : buffer->channel(0)) {
        const auto value = static_cast<std::int16_t>(sample * 32767);
        pcm.append(reinterpret_cast<const char*>(&value), sizeof value);
    }

    RawClient client(server.port());
    client.upgrade("/v1/realtime");
    for (std::size_t start = 0; start < pcm.size(); start += 4800)
        client.sendFrame(RawClient::text, R"({"type":"input_audio_buffer.append","audio":")" +
                                              base::encodeBase64(pcm.substr(start, 4800)) + "\"}");
    client.sendFrame(RawClient::text, R"({"type":"input_audio_buffer.commit"})");
    std::string transcript;
    while (transcript.empty()) {
        const auto event = base::parseJson(client.readFrame(30).payload);
        transcript = base::jsonString(*event, "transcript").value_or("");
    }
    EXPECT_EQ(transcript, sentence);
    EXPECT_TRUE(server.socket().audio() == pcm);
}

TEST_F(ServerTranscriberTest, UnderstandsAPostedFile) {
    const TemporaryDirectory directory;
    const auto file = std::filesystem::path(directory.path()) / "voice.m4a";
    adapters::ffmpeg::FfmpegAudioFiles files{ffmpegModule()};
    const auto writer = files.create(file, {.sampleRate = 48000, .channelCount = 1});
    writer->write(recording(48000));
    writer->close();

    for (const auto* const path : {"/v1/audio/transcriptions", "/api/transcribe"}) {
        const auto answer = directory.path() + "/answer";
        EXPECT_EQ(run({"curl", "--silent", "--noproxy", "*", "--max-time", "60", "--output", answer, "--form",
                       "model=m", "--form", "file=@" + file.string() + ";type=audio/m4a", server.url(path)}),
                  0);
        EXPECT_EQ(contentOf(answer), sentence + "\n");
    }
}

TEST_F(ServerTranscriberTest, Answers500ToInvalidAudio) {
    RawClient client(server.port());
    client.send("POST /api/transcribe HTTP/1.1\r\nContent-Length: 4\r\n\r\nnone");
    EXPECT_THAT(client.readUntil("\r\n\r\n"), HasSubstr(" 500 "));
}

} // namespace

} // namespace sonvale::tests
