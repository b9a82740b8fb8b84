#include "base/Base64.h"
#include "tests/support/RawClient.h"
#include "tests/support/TestServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

namespace sonvale::tests {

namespace {

using base::Json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using Ending = Realtime::Ending;

constexpr const char* path = "/v1/realtime";
constexpr const char* commit = R"({"type":"input_audio_buffer.commit"})";
constexpr const char* completed = "conversation.item.input_audio_transcription.completed";
constexpr const char* delta = "conversation.item.input_audio_transcription.delta";

std::string append(const std::string& samples) {
    return R"({"type":"input_audio_buffer.append","audio":")" + base::encodeBase64(samples) + "\"}";
}

class TestServerSocket : public testing::Test {
protected:
    void open(const Realtime& script, const std::string& headers = "") {
        server.setRealtime(script);
        client.emplace(server.port());
        ASSERT_THAT(client->upgrade(path, headers), StartsWith("HTTP/1.1 101 "));
        if (!script.isEcho)
            ASSERT_EQ(nextType(), "session.created");
    }

    void say(const std::string& text) { client->sendFrame(RawClient::text, text); }
    Json next() {
        const auto frame = client->readFrame();
        EXPECT_EQ(frame.opcode, RawClient::text);
        return *base::parseJson(frame.payload);
    }
    std::string nextType() { return next().at("type"); }
    /// Skips everything before an event of that type.
    Json nextOf(const std::string& type) {
        for (;;)
            if (auto event = next(); event.at("type") == type)
                return event;
    }

    /// 200 ms.
    const std::string speech = std::string(9600, '\x21');
    TestServer server;
    std::optional<RawClient> client;
};

TEST_F(TestServerSocket, HandlesAWholeConversation) {
    open({.transcript = "Late for the meeting."}, "Authorization: Bearer t\r\n");
    say(R"({"type":"session.update","session":{"type":"transcription","audio":{"input":{"turn_detection":null,)"
        R"("transcription":{"model":"m","language":"de"}}}}})");
    const auto updated = next();
    EXPECT_EQ(updated.at("type"), "session.updated");
    EXPECT_EQ(updated.at("/session/audio/input/transcription/language"_json_pointer), "de");
    EXPECT_TRUE(updated.at("/session/audio/input/turn_detection"_json_pointer).is_null());
    EXPECT_EQ(updated.at("/session/audio/input/format/rate"_json_pointer), 24000);

    say(append(speech));
    say(append(std::string("\0\xff", 2)));
    say(commit);
    const auto committed = next();
    EXPECT_EQ(committed.at("type"), "input_audio_buffer.committed");
    EXPECT_TRUE(committed.at("previous_item_id").is_null());
    EXPECT_EQ(nextType(), "conversation.item.added");
    const auto created = next();
    EXPECT_EQ(created.at("type"), "conversation.item.created");
    EXPECT_EQ(created.at("/item/content/0/type"_json_pointer), "input_audio");
    EXPECT_EQ(nextType(), "conversation.item.done");
    std::string text;
    for (int word = 0; word < 4; ++word)
        text += nextOf(delta).at("delta").get<std::string>();
    EXPECT_EQ(text, "Late for the meeting.");
    const auto event = next();
    EXPECT_EQ(event.at("type"), completed);
    EXPECT_EQ(event.at("transcript"), "Late for the meeting.");
    EXPECT_EQ(event.at("item_id"), committed.at("item_id"));
    EXPECT_EQ(event.at("/usage/input_token_details/audio_tokens"_json_pointer), 2);
    EXPECT_EQ(event.at("logprobs").size(), 4U);
    EXPECT_EQ(nextOf("rate_limits.updated").at("rate_limits").size(), 2U);

    say(append(speech));
    say(commit);
    EXPECT_EQ(nextOf("input_audio_buffer.committed").at("previous_item_id"), committed.at("item_id"));

    const auto socket = server.socket();
    EXPECT_EQ(socket.handshake.header("Authorization"), "Bearer t");
    EXPECT_TRUE(socket.audio() == speech + std::string("\0\xff", 2) + speech);
    EXPECT_EQ(socket.appends, 3);
    EXPECT_EQ(socket.commits, 2);
    EXPECT_EQ(socket.frames.size(), 6U);
    EXPECT_EQ(socket.events("session.update").size(), 1U);
    EXPECT_TRUE(socket.isOpen);
    EXPECT_THAT(socket.sent.at(0).bytes, HasSubstr("session.created"));
}

TEST_F(TestServerSocket, ReportsUnusableEvents) {
    open({});
    for (const auto* const bad :
         {"{", "[]", R"({"type":7})", R"({"type":"dance"})", R"({"type":"session.update"})",
          R"({"type":"input_audio_buffer.append","audio":"?"})", commit}) {
        say(bad);
        EXPECT_EQ(next().at("type"), "error") << bad;
    }
    say(R"({"type":"input_audio_buffer.append","audio":7,"event_id":"mine"})");
    EXPECT_EQ(next().at("/error/event_id"_json_pointer), "mine");
}

TEST_F(TestServerSocket, RefusesTheHandshake) {
    server.setRealtime({.refusesWithStatus = 503});
    RawClient refused(server.port());
    EXPECT_THAT(refused.upgrade(path), StartsWith("HTTP/1.1 503 "));

    server.setRealtime({.token = "right"});
    RawClient wrong(server.port());
    EXPECT_THAT(wrong.upgrade(path, "Authorization: Bearer wrong\r\n"), StartsWith("HTTP/1.1 401 "));
    RawClient elsewhere(server.port());
    EXPECT_THAT(elsewhere.upgrade("/v2/realtime"), StartsWith("HTTP/1.1 404 "));
    EXPECT_TRUE(server.sockets().empty());
    EXPECT_EQ(server.requests(path).at(1).header("Authorization"), "Bearer wrong");
    open({.token = "right"}, "Authorization: Bearer right\r\n");
}

TEST_F(TestServerSocket, AnswersTheHandshakeLate) {
    const auto start = monotonicSeconds();
    open({.handshakeSeconds = 0.3});
    EXPECT_GE(monotonicSeconds() - start, 0.3);
}

TEST_F(TestServerSocket, GivesTheTranscriptLateAndOtherFramesAtOnce) {
    open({.transcript = "late", .sendsDeltas = false, .transcriptSeconds = 2});
    const auto start = monotonicSeconds();
    say(append(speech));
    say(commit);
    nextOf("conversation.item.done");
    server.send(R"({"type":"in between"})");
    EXPECT_EQ(nextType(), "in between");
    EXPECT_LT(monotonicSeconds() - start, 2);
    EXPECT_EQ(nextType(), completed);
    EXPECT_GE(monotonicSeconds() - start, 2);
}

TEST_F(TestServerSocket, StaysSilentAfterTheCommit) {
    open({.transcript = "never", .isSilent = true});
    say(append(speech));
    say(commit);
    nextOf("conversation.item.done");
    EXPECT_EQ(client->readToEnd(0.3), "");
    EXPECT_EQ(client->end(), RawClient::End::stillOpen);
}

TEST_F(TestServerSocket, AnswersTheCommitWithAnError) {
    for (const Json& code : {Json(429), Json("rate_limit_exceeded"), Json(nullptr)}) {
        open({.error = Realtime::Error{.message = "Too much.", .code = code}});
        say(append(speech));
        say(commit);
        const auto error = nextOf("error").at("error");
        EXPECT_EQ(error.at("message"), "Too much.");
        EXPECT_EQ(error.at("code"), code);
        EXPECT_TRUE(error.contains("param"));
    }
}

TEST_F(TestServerSocket, ClosesAtTheCommit) {
    open({.closesAtCommit = true, .closeCode = 1011});
    say(append(speech));
    say(commit);
    EXPECT_EQ(client->readFrame(), (RawClient::Frame{.opcode = RawClient::close, .payload = "\x03\xf3"}));
    client->sendFrame(RawClient::close, "\x03\xf3");
    EXPECT_EQ(client->readToEnd(), "");
    EXPECT_EQ(client->end(), RawClient::End::closed);
    EXPECT_TRUE(server.waitForClosedSockets(1, 5));
    client.reset();
    EXPECT_TRUE(server.waitForOpenConnections(0, 5));
    EXPECT_EQ(server.socket().closeCode, 1011);

    open({.closesAtCommit = true, .ending = Ending::reset});
    say(commit);
    client->readToEnd();
    EXPECT_EQ(client->end(), RawClient::End::reset);
    EXPECT_TRUE(server.waitForClosedSockets(2, 5));
    EXPECT_FALSE(server.socket().closeCode);
}

TEST_F(TestServerSocket, DropsAfterANumberOfAppends) {
    open({.dropsAfterAppends = 2, .ending = Ending::reset});
    say(append(speech));
    server.waitForAppends(1, 5);
    EXPECT_TRUE(server.socket().isOpen);
    say(append(speech));
    client->readToEnd();
    EXPECT_EQ(client->end(), RawClient::End::reset);
    EXPECT_TRUE(server.waitForOpenConnections(0, 5));

    open({.dropsAfterAppends = 1});
    say(append(speech));
    EXPECT_EQ(client->readFrame().opcode, RawClient::close);
}

TEST_F(TestServerSocket, SendsUnexpectedFrames) {
    open({.framesAtOpen = {{.bytes = "{ no JSON"}, {.bytes = std::string("\0\x01", 2), .isBinary = true}},
          .framesAtCommit = {{.bytes = R"({"type":"unheard.of"})"}}});
    EXPECT_EQ(client->readFrame(), (RawClient::Frame{.opcode = RawClient::text, .payload = "{ no JSON"}));
    EXPECT_EQ(client->readFrame(),
              (RawClient::Frame{.opcode = RawClient::binary, .payload = std::string("\0\x01", 2)}));
    say(append(speech));
    say(commit);
    EXPECT_EQ(nextType(), "unheard.of");
    EXPECT_EQ(nextType(), "input_audio_buffer.committed");
}

TEST_F(TestServerSocket, EchoesEveryFrame) {
    open({.isEcho = true});
    client->sendFrame(RawClient::text, "one ", false);
    client->sendFrame(RawClient::continuation, "two");
    EXPECT_EQ(client->readFrame(), (RawClient::Frame{.opcode = RawClient::text, .payload = "one two"}));
    const std::string large(200'000, '\xfe');
    client->sendFrame(RawClient::binary, large);
    std::string received;
    for (RawClient::Frame frame; received.size() < large.size(); received += frame.payload)
        frame = client->readFrame();
    EXPECT_TRUE(received == large);
    EXPECT_TRUE(server.socket().frames.at(1).isBinary);
    client->sendFrame(RawClient::ping, "are you there");
    EXPECT_EQ(client->readFrame(), (RawClient::Frame{.opcode = RawClient::pong, .payload = "are you there"}));
}

TEST_F(TestServerSocket, RecordsTheClientsCloseCode) {
    open({});
    client->sendFrame(RawClient::close, "\x03\xe9");
    ASSERT_TRUE(server.waitForClosedSockets(1, 5));
    EXPECT_EQ(server.socket().closeCode, 1001);
    EXPECT_FALSE(server.socket().isOpen);
    EXPECT_EQ(client->readFrame().opcode, RawClient::close);

    open({});
    client->sendFrame(RawClient::close, "");
    ASSERT_TRUE(server.waitForClosedSockets(2, 5));
    EXPECT_EQ(server.socket().closeCode, 1005);

    open({});
    client.reset();
    ASSERT_TRUE(server.waitForClosedSockets(3, 5));
    EXPECT_FALSE(server.socket().closeCode);
}

TEST_F(TestServerSocket, ActsAtOnce) {
    server.send("nobody is there");
    open({});
    server.sendBinary("bytes");
    EXPECT_EQ(client->readFrame(), (RawClient::Frame{.opcode = RawClient::binary, .payload = "bytes"}));
    server.ping();
    EXPECT_EQ(client->readFrame().opcode, RawClient::ping);
    server.closeAll(1013, "later");
    EXPECT_EQ(client->readFrame(),
              (RawClient::Frame{.opcode = RawClient::close, .payload = "\x03\xf5later"}));

    open({});
    server.dropAll();
    client->readToEnd();
    EXPECT_EQ(client->end(), RawClient::End::reset);
}

TEST_F(TestServerSocket, CallsATranscriberWithoutBlockingOthers) {
    std::promise<void> isAllowed;
    std::vector<std::size_t> heard;
    open({.transcriber = [&](const std::string& pcm) -> std::string {
        isAllowed.get_future().wait_for(std::chrono::seconds(10));
        heard.push_back(pcm.size());
        if (heard.size() > 1)
            throw std::runtime_error("I am deaf");
        return "what I heard";
    }});
    say(append(speech));
    say(append(speech));
    say(commit);
    nextOf("conversation.item.done");
    say(append(speech));
    ASSERT_TRUE(server.waitForAppends(3, 5));
    isAllowed.set_value();
    EXPECT_EQ(nextOf(completed).at("transcript"), "what I heard");

    isAllowed = {};
    isAllowed.set_value();
    say(commit);
    EXPECT_EQ(nextOf("conversation.item.input_audio_transcription.failed").at("content_index"), 0);
    EXPECT_THAT(heard, ElementsAre(speech.size() * 2, speech.size()));
}

TEST(TestServerTls, CarriesASocket) {
    TestServer server({.isTls = true});
    EXPECT_THAT(server.socketUrl(path), StartsWith("wss://127.0.0.1:"));
    server.setRealtime({.transcript = "over TLS"});
    RawClient client(server.port(), server.caFile());
    ASSERT_THAT(client.upgrade(path), StartsWith("HTTP/1.1 101 "));
    EXPECT_THAT(client.readFrame().payload, HasSubstr("session.created"));
    client.sendFrame(RawClient::text, append(std::string(9600, 'x')));
    client.sendFrame(RawClient::text, commit);
    std::string frame;
    while (frame.find(completed) == std::string::npos)
        frame = client.readFrame().payload;
    EXPECT_THAT(frame, HasSubstr("over TLS"));
    client.sendFrame(RawClient::close, "\x03\xe8");
    EXPECT_TRUE(server.waitForClosedSockets(1, 5));
    EXPECT_EQ(server.socket().closeCode, 1000);
    client.readToEnd();
    EXPECT_EQ(client.end(), RawClient::End::closed);
    EXPECT_TRUE(server.waitForOpenConnections(0, 5));

    RawClient other(server.port(), server.caFile());
    other.upgrade(path);
    server.dropAll();
    other.readToEnd();
    EXPECT_NE(other.end(), RawClient::End::stillOpen);
    EXPECT_TRUE(server.waitForClosedSockets(2, 5));
}

} // namespace

} // namespace sonvale::tests
