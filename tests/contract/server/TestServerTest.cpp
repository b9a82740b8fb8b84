#include "tests/support/TestServer.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/RawClient.h"
#include "tests/support/ServiceAnswers.h"
#include "tests/support/TestCertificates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <stdexcept>
#include <utility>

namespace sonvale::tests {

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Fault = Answer::Fault;

constexpr const char* get = "GET /a HTTP/1.1\r\nHost: x\r\n\r\n";

struct Curl {
    int exitStatus = 0;
    std::string output;
};

Curl curl(std::vector<std::string> arguments) {
    const TemporaryDirectory directory;
    const auto file = directory.path() + "/out";
    arguments.insert(arguments.begin(),
                     {"curl", "--silent", "--noproxy", "*", "--max-time", "20", "--output", file});
    const int status = run(arguments);
    return {.exitStatus = status, .output = contentOf(file)};
}

TEST(TestServer, GivesTheAnswersOfAPathInOrderAndRepeatsTheLast) {
    TestServer server;
    server.answer("/a", {.body = "one"});
    server.answer("/a", {.status = 500, .body = "two"});

    RawClient client(server.port());
    client.send(get);
    EXPECT_THAT(client.readUntil("one"), StartsWith("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"));
    client.send("GET /a?x=1 HTTP/1.1\r\nHost: x\r\n\r\n");
    EXPECT_THAT(client.readUntil("two"), StartsWith("HTTP/1.1 500 Internal Server Error\r\n"));
    client.send(get);
    EXPECT_THAT(client.readUntil("two"), HasSubstr(" 500 "));

    EXPECT_EQ(server.connections(), 1);
    EXPECT_EQ(server.requests("/a").size(), 3U);
    EXPECT_EQ(server.requests().at(1).target, "/a?x=1");
    EXPECT_EQ(server.requests().at(2).connection, 1);
}

TEST(TestServer, Answers404ToAPathWithoutAnswer) {
    TestServer server;
    server.answer("/a", {.body = "one"});
    server.forget("/a");
    RawClient client(server.port());
    client.send(get);
    EXPECT_THAT(client.readUntil("\r\n\r\n"), StartsWith("HTTP/1.1 404 Not Found\r\n"));
}

TEST(TestServer, RecordsARequestByteForByte) {
    TestServer server;
    server.answer("/a", {});
    RawClient client(server.port());
    const std::string body("\0\xff\r\n\r\n--x", 9);
    client.send(
        "PUT /a/../a%20b?q=%00 HTTP/1.1\r\nhost: x\r\nX-Two: 2\r\nAuthorization: Bearer  a b\r\nx-one: 1\r\n"
        "Content-Length: 9\r\n\r\n" +
        body);
    client.readUntil("\r\n\r\n");

    const auto request = server.requests().at(0);
    EXPECT_EQ(request.method, "PUT");
    EXPECT_EQ(request.target, "/a/../a%20b?q=%00");
    EXPECT_EQ(request.path(), "/a/../a%20b");
    EXPECT_EQ(request.body, body);
    using Pair = std::pair<std::string, std::string>;
    EXPECT_THAT(request.headers,
                ElementsAre(Pair("host", "x"), Pair("X-Two", "2"), Pair("Authorization", "Bearer  a b"),
                            Pair("x-one", "1"), Pair("Content-Length", "9")));
    EXPECT_EQ(request.header("X-ONE"), "1");
    EXPECT_NEAR(request.monotonicTime, monotonicSeconds(), 5);
}

TEST(TestServer, AcceptsALargeUpload) {
    TestServer server;
    server.answer("/a", {.body = "thanks"});
    const TemporaryDirectory directory;
    std::string body(3'000'000, 'x');
    for (std::size_t index = 0; index < body.size(); ++index)
        body[index] = static_cast<char>(index * 31 >> 3);
    writeFile(directory.path() + "/body", body);

    const auto answer = curl({"--header", "Expect: 100-continue", "--data-binary",
                              "@" + directory.path() + "/body", server.url("/a")});
    EXPECT_EQ(answer.output, "thanks");
    EXPECT_TRUE(server.requests().at(0).body == body);
}

TEST(TestServer, ClosesIfTheClientAsksForIt) {
    TestServer server;
    server.answer("/a", {.body = "one"});
    RawClient client(server.port());
    client.send("GET /a HTTP/1.1\r\nConnection: close\r\n\r\n");
    EXPECT_THAT(client.readToEnd(), HasSubstr("Connection: close\r\n"));
    EXPECT_EQ(client.end(), RawClient::End::closed);
    EXPECT_TRUE(server.waitForOpenConnections(0, 5));
}

TEST(TestServer, WaitsBeforeADelayedAnswer) {
    TestServer server;
    server.answer("/a", {.body = "one", .delaySeconds = 0.3});
    RawClient client(server.port());
    const auto start = monotonicSeconds();
    client.send(get);
    client.readUntil("one");
    EXPECT_GE(monotonicSeconds() - start, 0.3);
}

TEST(TestServer, SendsPiecesAsSingleChunks) {
    TestServer server;
    server.answer("/a", {.body = "zero ", .pieces = {"one ", "two"}, .pieceSeconds = 0.1});
    const auto start = monotonicSeconds();
    EXPECT_EQ(curl({server.url("/a")}).output, "zero one two");
    EXPECT_GE(monotonicSeconds() - start, 0.2);
}

TEST(TestServerFault, ClosesBeforeAnAnswer) {
    TestServer server;
    server.answer("/a", {.fault = Fault::closesBeforeAnswer});
    RawClient client(server.port());
    client.send(get);
    EXPECT_EQ(client.readToEnd(), "");
    EXPECT_EQ(client.end(), RawClient::End::closed);
    EXPECT_EQ(server.requests("/a").size(), 1U);
}

TEST(TestServerFault, ResetsTheConnection) {
    TestServer server;
    server.answer("/a", {.fault = Fault::resets});
    RawClient client(server.port());
    client.send(get);
    EXPECT_EQ(client.readToEnd(), "");
    EXPECT_EQ(client.end(), RawClient::End::reset);
}

TEST(TestServerFault, ClosesDuringAnUpload) {
    TestServer server;
    server.answer("/a", {.fault = Fault::closesInUpload});
    RawClient client(server.port());
    client.send("POST /a HTTP/1.1\r\nContent-Length: 1000000\r\n\r\n");
    EXPECT_EQ(client.readToEnd(), "");
    EXPECT_NE(client.end(), RawClient::End::stillOpen);
    EXPECT_EQ(server.requests("/a").at(0).body, "");
}

TEST(TestServerFault, ClosesDuringTheBody) {
    TestServer server;
    server.answer("/a", {.body = "0123456789", .fault = Fault::closesInBody});
    RawClient client(server.port());
    client.send(get);
    const auto answer = client.readToEnd();
    EXPECT_THAT(answer, HasSubstr("Content-Length: 10\r\n"));
    EXPECT_THAT(answer, EndsWith("\r\n\r\n01234"));
    EXPECT_EQ(client.end(), RawClient::End::closed);
    EXPECT_EQ(curl({server.url("/a")}).exitStatus, 18);
}

TEST(TestServerFault, NeverAnswersAndNoticesTheClientsClose) {
    TestServer server;
    server.answer("/a", {.fault = Fault::neverAnswers});
    {
        RawClient client(server.port());
        client.send(get);
        EXPECT_EQ(client.readToEnd(0.3), "");
        EXPECT_EQ(client.end(), RawClient::End::stillOpen);
        EXPECT_EQ(server.openConnections(), 1);
    }
    EXPECT_TRUE(server.waitForOpenConnections(0, 5));
}

TEST(TestServerFault, NeverEndsTheBody) {
    TestServer server;
    server.answer("/a", {.fault = Fault::neverEnds, .pieces = {"data: [DONE]\n\n"}});
    RawClient client(server.port());
    client.send(get);
    EXPECT_THAT(client.readToEnd(0.3), EndsWith("data: [DONE]\n\n\r\n"));
    EXPECT_EQ(client.end(), RawClient::End::stillOpen);
}

TEST(TestServerFault, SendsInvalidHttp) {
    TestServer server;
    server.answer("/a", {.fault = Fault::sendsGarbage});
    RawClient client(server.port());
    client.send(get);
    const auto answer = client.readToEnd();
    EXPECT_THAT(answer, Not(StartsWith("HTTP")));
    EXPECT_NE(answer, "");
    EXPECT_NE(curl({server.url("/a")}).exitStatus, 0);
}

TEST(TestServerFault, SendsTheBodyByteByByte) {
    TestServer server;
    server.answer("/a", {.body = "01234", .fault = Fault::tricklesSlowly});
    RawClient client(server.port());
    client.send(get);
    client.readUntil("\r\n\r\n");
    const auto start = monotonicSeconds();
    EXPECT_EQ(client.read(5), "01234");
    EXPECT_GE(monotonicSeconds() - start, 0.2);
}

TEST(TestServer, CallsAHandlerWithoutBlockingOthers) {
    TestServer server;
    std::promise<void> isAllowed;
    server.answerBy("/a", [&](const Request& request) -> Answer {
        isAllowed.get_future().wait_for(std::chrono::seconds(10));
        if (request.method == "DELETE")
            throw std::runtime_error("no \"deletion\"");
        return {.body = "you said " + request.body};
    });
    server.answer("/b", {.body = "quick"});

    RawClient slow(server.port());
    slow.send("POST /a HTTP/1.1\r\nContent-Length: 2\r\n\r\nhi");
    ASSERT_TRUE(server.waitForRequests("/a", 1, 5));
    EXPECT_EQ(curl({server.url("/b")}).output, "quick");
    isAllowed.set_value();
    EXPECT_THAT(slow.readUntil("hi"), EndsWith("\r\n\r\nyou said hi"));

    isAllowed = {};
    isAllowed.set_value();
    slow.send("DELETE /a HTTP/1.1\r\n\r\n");
    EXPECT_THAT(slow.readUntil("\r\n\r\n"), HasSubstr(" 500 "));
}

TEST(TestServer, CallsTheGuardOfThePathFirst) {
    TestServer server;
    server.answer("/a", {.body = "one"});
    server.answer("/a", {.body = "two"});
    server.guard("/a", [](const Request& head) -> std::optional<Answer> {
        EXPECT_EQ(head.body, "");
        if (head.header("X-Key") == "k")
            return std::nullopt;
        return Answer{.status = 401, .body = "who?"};
    });

    RawClient client(server.port());
    client.send("POST /a HTTP/1.1\r\nContent-Length: 2\r\n\r\nhi");
    EXPECT_THAT(client.readUntil("who?"), StartsWith("HTTP/1.1 401 "));
    client.send("POST /a?b HTTP/1.1\r\nX-Key: k\r\nContent-Length: 2\r\n\r\nhi");
    EXPECT_THAT(client.readUntil("one"), StartsWith("HTTP/1.1 200 "));
    EXPECT_EQ(server.requests("/a").front().body, "hi");
    server.guard("/a", {});
    client.send(get);
    EXPECT_THAT(client.readUntil("two"), StartsWith("HTTP/1.1 200 "));
    EXPECT_EQ(server.connections(), 1);
}

TEST(TestServer, RefusesConnectionsWhileItDoesNotListen) {
    TestServer server;
    ChildProcess::Options other;
    other.arguments = {"sleep", "60"};
    const ChildProcess programOfTheTest(std::move(other));
    server.setListening(false);
    EXPECT_THROW(RawClient{server.port()}, std::runtime_error);
    server.setListening(true);
    server.answer("/a", {.body = "back"});
    EXPECT_EQ(curl({server.url("/a")}).output, "back");
    EXPECT_THROW(RawClient{unusedPort()}, std::runtime_error);
}

TEST(TestServer, RefusesAUsedPort) {
    TestServer server;
    EXPECT_THROW(TestServer({.port = server.port()}), std::runtime_error);
}

TEST(TestServer, DropsEveryConnection) {
    TestServer server;
    RawClient first(server.port());
    RawClient second(server.port());
    ASSERT_TRUE(server.waitForOpenConnections(2, 5));
    server.dropAll();
    EXPECT_EQ(first.readToEnd(), "");
    EXPECT_EQ(first.end(), RawClient::End::reset);
    second.readToEnd();
    EXPECT_EQ(second.end(), RawClient::End::reset);
    EXPECT_TRUE(server.waitForOpenConnections(0, 5));
}

TEST(TestServer, EndsAtOnceWithOpenConnections) {
    auto server = std::make_unique<TestServer>();
    server->answer("/a", {.fault = Fault::neverAnswers});
    server->answer("/b", {.delaySeconds = 60});
    RawClient silent(server->port());
    silent.send(get);
    RawClient delayed(server->port());
    delayed.send("GET /b HTTP/1.1\r\n\r\n");
    RawClient idle(server->port());
    RawClient socket(server->port());
    socket.upgrade("/v1/realtime");
    ASSERT_TRUE(server->waitForRequests(3, 5));

    const auto start = monotonicSeconds();
    server.reset();
    EXPECT_LT(monotonicSeconds() - start, 20);
    silent.readToEnd();
    EXPECT_NE(silent.end(), RawClient::End::stillOpen);
}

TEST(TestServerTls, IsTrustedThroughItsAuthorityOnly) {
    const auto certificates = std::make_shared<const TestCertificates>();
    TestServer server({.isTls = true, .certificates = certificates});
    TestServer other({.isTls = true});
    server.answer("/a", {.body = "secret"});
    other.answer("/a", {.body = "secret"});

    const auto port = std::to_string(server.port());
    EXPECT_EQ(curl({"--cacert", server.caFile(), server.url("/a")}).output, "secret");
    EXPECT_EQ(curl({"--cacert", server.caFile(), "https://localhost:" + port + "/a"}).output, "secret");
    EXPECT_EQ(curl({server.url("/a")}).exitStatus, 60);
    EXPECT_EQ(curl({"--cacert", server.caFile(), other.url("/a")}).exitStatus, 60);
    EXPECT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(modeOf(server.caFile().parent_path()), 0700U);
    EXPECT_EQ(modeOf(certificates->keyFile()), 0600U);
}

TEST(TestServerTls, PresentsAWrongCertificate) {
    using Kind = TestCertificates::Kind;
    for (const auto kind : {Kind::wrongName, Kind::expired}) {
        TestServer server({.isTls = true, .certificates = std::make_shared<const TestCertificates>(kind)});
        server.answer("/a", {.body = "secret"});
        EXPECT_EQ(curl({"--cacert", server.caFile(), server.url("/a")}).exitStatus, 60);
        EXPECT_EQ(curl({"--insecure", server.url("/a")}).output, "secret");
    }
}

TEST(TestServerTls, KeepsAConnectionAliveAndFailsOnRequest) {
    TestServer server({.isTls = true});
    server.answer("/a", {.body = "one"});
    server.answer("/a", {.body = "0123456789", .fault = Fault::closesInBody});
    RawClient client(server.port(), server.caFile());
    client.send(get);
    client.readUntil("one");
    client.send(get);
    EXPECT_THAT(client.readToEnd(), EndsWith("\r\n\r\n01234"));
    EXPECT_EQ(server.connections(), 1);
}

TEST(TestServerTls, ClosesOnPlainBytes) {
    TestServer server({.isTls = true});
    RawClient client(server.port());
    client.send(get);
    EXPECT_THAT(client.readToEnd(), Not(HasSubstr("HTTP")));
    EXPECT_NE(client.end(), RawClient::End::stillOpen);
    EXPECT_TRUE(server.requests().empty());
}

TEST(ServiceAnswers, HaveTheFieldsThatAClientReads) {
    const auto chat = base::parseJson(chatCompletion("Hi.").body);
    EXPECT_EQ(chat->at("/choices/0/message/content"_json_pointer), "Hi.");
    EXPECT_EQ(chat->at("/usage/prompt_tokens_details/cached_tokens"_json_pointer), 0);
    EXPECT_TRUE(chat->contains("system_fingerprint"));

    EXPECT_EQ(base::parseJson(ephemeralToken("ek_1").body)->at("value"), "ek_1");
    const auto nested = base::parseJson(nestedEphemeralToken("ek_2").body);
    EXPECT_EQ(nested->at("/client_secret/value"_json_pointer), "ek_2");
    EXPECT_FALSE(nested->contains("value"));

    const auto session = base::parseJson(authSession("ada@example.com").body);
    EXPECT_EQ(session->at("/user/email"_json_pointer), "ada@example.com");
    EXPECT_EQ(std::ranges::count(session->at("access_token").get<std::string>(), '.'), 2);

    const auto stream = chatStream({"Hel", "lo"});
    EXPECT_THAT(stream.pieces.at(1), StartsWith("data: {"));
    EXPECT_THAT(stream.pieces.at(2), HasSubstr("\"content\":\"lo\""));
    EXPECT_EQ(stream.pieces.back(), "data: [DONE]\n\n");
    EXPECT_EQ(plainTranscript("Hi.").body, "Hi.\n");
    EXPECT_EQ(base::parseJson(backendError(403, "No.").body)->at("error"), "No.");
    EXPECT_EQ(base::parseJson(serviceError(429, "Slow.", "rate").body)->at("/error/code"_json_pointer),
              "rate");
}

TEST(ServiceAnswers, ServeEveryPath) {
    TestServer server;
    serveEverything(server, "All of it.");
    EXPECT_EQ(curl({"--data", "x", server.url("/api/transcribe")}).output, "All of it.\n");
    EXPECT_EQ(curl({"--data", "x", server.url("/v1/audio/transcriptions")}).output, "All of it.\n");
    for (const auto* const path : {"/api/chat", "/v1/chat/completions"})
        EXPECT_THAT(curl({"--data", "x", server.url(path)}).output, HasSubstr("\"content\":\"All of it.\""));
    for (const auto* const path : {"/auth/login", "/auth/signup", "/auth/refresh"})
        EXPECT_THAT(curl({"--data", R"({"email":"b@example.com"})", server.url(path)}).output,
                    HasSubstr("\"email\":\"b@example.com\""));
    EXPECT_THAT(curl({"--data", "x", server.url("/api/realtime/session")}).output,
                HasSubstr("\"value\":\"ek_"));
    EXPECT_THAT(curl({"--data", "x", server.url("/api/support-chat")}).output, EndsWith("data: [DONE]\n\n"));
}

} // namespace

} // namespace sonvale::tests
