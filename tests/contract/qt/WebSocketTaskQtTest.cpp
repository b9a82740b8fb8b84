#include "adapters/qt/network/QtUrlSession.h"

#include "tests/contract/WebSocketTaskContract.h"
#include "tests/support/Files.h"
#include "tests/support/PrivateNetwork.h"
#include "tests/support/TestCertificates.h"
#include "tests/support/TestServer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <cstdlib>
#include <functional>
#include <vector>

namespace sonvale::tests {

namespace {

using Code = platform::UrlError::Code;

class QtWebSocketTaskTest : public testing::Test {
protected:
    QtWebSocketTaskTest() {
        realtime_.isEcho = true;
        server_.setRealtime(realtime_);
    }

    std::shared_ptr<platform::WebSocketTask> connectTo(const std::string& url, double timeoutSeconds = 30) {
        auto request = requestTo(url);
        request.timeoutSeconds = timeoutSeconds;
        auto task = session_->webSocketTask(request);
        task->resume();
        return task;
    }
    std::shared_ptr<platform::WebSocketTask> connect(double timeoutSeconds = 30) {
        return connectTo(server_.socketUrl("/v1/realtime"), timeoutSeconds);
    }
    std::optional<Code> failureOf(const std::string& url) {
        const auto task = connectTo(url);
        const auto send = tasks_.start(task->send(text("words")));
        const auto code = tasks_.failure(task->receive());
        EXPECT_EQ(tasks_.failure(send), code);
        return code;
    }
    bool waitForNoConnection() {
        return eventually(NetworkTasks::timeoutSeconds, [&] { return server_.openConnections() == 0; });
    }

    Realtime realtime_;
    TestServer server_;
    adapters::qt::QtUrlSessions sessions_;
    NetworkTasks tasks_;
    std::shared_ptr<platform::UrlSession> session_ = sessions_.makeEphemeral();
};

Answer silence() {
    Answer answer;
    answer.fault = Answer::Fault::neverAnswers;
    return answer;
}

/// Returns the values of an option of this process's connections to a port.
std::vector<int> optionsOf(int port, int level, int option) {
    std::vector<int> values;
    for (int descriptor = 0; descriptor < 256; ++descriptor) {
        sockaddr_in peer{};
        socklen_t size = sizeof(peer);
        if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0 ||
            peer.sin_family != AF_INET || ntohs(peer.sin_port) != port)
            continue;
        int value = 0;
        socklen_t length = sizeof(value);
        if (getsockopt(descriptor, level, option, &value, &length) == 0)
            values.push_back(value);
    }
    return values;
}

/// A program on the near machine of a private network that keeps a socket open to the far one.
class SocketProgram {
public:
    explicit SocketProgram(const PrivateNetwork& network) {
        ChildProcess::Options options;
        options.arguments = network.launcher();
        options.arguments.insert(options.arguments.end(),
                                 {SONVALE_SOCKET_PROGRAM, PrivateNetwork::serverUrl("ws", "/v1/realtime")});
        options.outputFile = outputFile();
        process_.emplace(std::move(options));
    }
    std::string output() const { return contentOf(outputFile()); }
    std::optional<int> wait(double seconds) { return process_->wait(seconds); }

private:
    std::string outputFile() const { return directory_.path() + "/output"; }

    TemporaryDirectory directory_;
    std::optional<ChildProcess> process_;
};

} // namespace

TEST_F(QtWebSocketTaskTest, FailsWithABadAnswerForEveryOtherStatus) {
    for (const int status : {400, 401, 403, 404, 429, 500, 503}) {
        realtime_.refusesWithStatus = status;
        server_.setRealtime(realtime_);
        EXPECT_EQ(failureOf(server_.socketUrl("/v1/realtime")), Code::badServerResponse) << status;
        EXPECT_TRUE(waitForNoConnection());
    }
}

TEST_F(QtWebSocketTaskTest, ReportsWhyItCannotConnect) {
    EXPECT_EQ(failureOf("ws://127.0.0.1:" + std::to_string(unusedPort()) + "/v1/realtime"),
              Code::cannotConnectToHost);
    EXPECT_EQ(failureOf("ws://nowhere.invalid/v1/realtime"), Code::cannotFindHost);
    for (const char* url : {"", "http://127.0.0.1/x", "ws://", "words", "ws://127.0.0.1:99999/"})
        EXPECT_EQ(failureOf(url), Code::badUrl) << url;
}

TEST_F(QtWebSocketTaskTest, RefusesHeadersThatWouldBecomeOthers) {
    auto request = requestTo(server_.socketUrl("/v1/realtime"));
    request.headers = {{"Authorization", "Bearer a\r\nX-Other: b"}};
    const auto task = session_->webSocketTask(request);
    task->resume();
    EXPECT_EQ(tasks_.failure(task->receive()), Code::badUrl);
    EXPECT_TRUE(server_.requests().empty());
}

TEST_F(QtWebSocketTaskTest, TimesOutIfTheHandshakeIsNotAnswered) {
    server_.answer("/silent", silence());
    const auto task = connectTo(server_.socketUrl("/silent"), 0.4);
    const double start = monotonicSeconds();
    EXPECT_EQ(tasks_.failure(task->send(text("words"))), Code::timedOut);
    EXPECT_GT(monotonicSeconds() - start, 0.3);
    EXPECT_TRUE(waitForNoConnection());
}

TEST_F(QtWebSocketTaskTest, HasNoTimeLimitOnceItIsOpen) {
    const auto task = connect(0.5);
    tasks_.finish(task->send(text("one")));
    pauseMilliseconds(1200);
    tasks_.finish(task->send(text("two")));
    EXPECT_EQ(tasks_.finish(task->receive()).bytes, "one");
    EXPECT_EQ(tasks_.finish(task->receive()).bytes, "two");
}

TEST_F(QtWebSocketTaskTest, ClosesTheConnectionIfCancelledWhileConnecting) {
    server_.answer("/silent", silence());
    const auto task = connectTo(server_.socketUrl("/silent"));
    ASSERT_TRUE(server_.waitForRequests(1, NetworkTasks::timeoutSeconds));
    task->cancel(platform::WebSocketTask::goingAway);
    EXPECT_TRUE(waitForNoConnection());
}

TEST_F(QtWebSocketTaskTest, ClosesTheConnectionWithoutWaitingForTheServer) {
    const auto task = connect();
    tasks_.finish(task->send(text("words")));
    task->cancel(platform::WebSocketTask::normalClosure);
    EXPECT_TRUE(server_.waitForClosedSockets(1, NetworkTasks::timeoutSeconds));
    EXPECT_TRUE(waitForNoConnection());
    EXPECT_EQ(server_.socket().closeCode, 1000);
}

TEST_F(QtWebSocketTaskTest, SendsItsCloseCodeEvenIfTheSessionIsInvalidatedAtOnce) {
    for (int i = 0; i < 10; ++i) {
        session_ = sessions_.makeEphemeral();
        const auto task = connect();
        tasks_.finish(task->send(text("words")));
        task->cancel(platform::WebSocketTask::goingAway);
        session_->invalidateAndCancel();
        ASSERT_TRUE(server_.waitForClosedSockets(i + 1, NetworkTasks::timeoutSeconds));
        EXPECT_EQ(server_.socket().closeCode, 1001);
    }
}

TEST_F(QtWebSocketTaskTest, ReportsAConnectionThatIsResetOrClosedForAnyReason) {
    const auto reset = connect();
    tasks_.finish(reset->send(text("words")));
    tasks_.finish(reset->receive());
    server_.dropAll();
    EXPECT_EQ(tasks_.failure(reset->receive()), Code::networkConnectionLost);
    EXPECT_EQ(tasks_.failure(reset->send(text("late"))), Code::networkConnectionLost);

    for (const int code : {1000, 1001, 1008, 1011, 4000}) {
        const auto task = connect();
        tasks_.finish(task->send(text("words")));
        tasks_.finish(task->receive());
        server_.closeAll(code, "some reason");
        EXPECT_EQ(tasks_.failure(task->receive()), Code::networkConnectionLost) << code;
    }
}

TEST_F(QtWebSocketTaskTest, StaysOpenAfterAPing) {
    const auto task = connect();
    tasks_.finish(task->send(text("one")));
    server_.ping();
    tasks_.finish(task->send(text("two")));
    EXPECT_EQ(tasks_.finish(task->receive()).bytes, "one");
    EXPECT_EQ(tasks_.finish(task->receive()).bytes, "two");
}

TEST_F(QtWebSocketTaskTest, TransfersAThousandMessagesInOrderInBothDirections) {
    constexpr int count = 1000;
    const auto task = connect();
    std::vector<runtime::TaskHandle<>> sends;
    for (int i = 0; i < count; ++i)
        sends.push_back(tasks_.startInOrder(task->send(text(std::to_string(i) + std::string(6'400, 'A')))));
    for (int i = 0; i < count; ++i) {
        const auto message = tasks_.finish(task->receive());
        ASSERT_EQ(message.bytes.substr(0, message.bytes.find('A')), std::to_string(i));
        ASSERT_EQ(tasks_.failure(sends[static_cast<std::size_t>(i)]), std::nullopt);
    }
}

TEST_F(QtWebSocketTaskTest, TransfersLargeMessagesInBothDirectionsAndRefusesTooLargeOnes) {
    const std::string big(5'000'000, 'b');
    const auto task = connect();
    tasks_.finish(task->send(text(big)));
    EXPECT_TRUE(tasks_.finish(task->receive()).bytes == big);
    tasks_.finish(task->send(binary(big)));
    EXPECT_TRUE(tasks_.finish(task->receive()).bytes == big);
    server_.send(std::string((16UL << 20U) + 1, 'x'));
    EXPECT_EQ(tasks_.failure(task->receive()), Code::networkConnectionLost);
}

TEST_F(QtWebSocketTaskTest, SendsSmallMessagesWithoutWaitingForMore) {
    const auto task = connect();
    tasks_.finish(task->send(text("words")));
    EXPECT_EQ(optionsOf(server_.port(), IPPROTO_TCP, TCP_NODELAY), std::vector<int>{1});
}

TEST_F(QtWebSocketTaskTest, EnablesTheSystemsKeepAliveProbes) {
    const auto task = connect();
    tasks_.finish(task->send(text("words")));
    const int port = server_.port();
    EXPECT_EQ(optionsOf(port, SOL_SOCKET, SO_KEEPALIVE), std::vector<int>{1});
    EXPECT_EQ(optionsOf(port, IPPROTO_TCP, TCP_KEEPIDLE), std::vector<int>{30});
    EXPECT_EQ(optionsOf(port, IPPROTO_TCP, TCP_KEEPINTVL), std::vector<int>{5});
    EXPECT_EQ(optionsOf(port, IPPROTO_TCP, TCP_USER_TIMEOUT), std::vector<int>{10000});
}

/// Sends audio from the near machine to the far one, cuts the connection without notice, and expects the
/// socket to fail in its time. The system alone would need a quarter of an hour.
void failsWhenTheConnectionIsCut(const std::function<void(PrivateNetwork&)>& cut) {
    PrivateNetwork network;
    TestServer server({.listener = network.listen()});
    SocketProgram program(network);
    ASSERT_TRUE(server.waitForFrames(5, 20)) << program.output();

    const double start = monotonicSeconds();
    cut(network);
    ASSERT_EQ(program.wait(60), 0) << program.output();
    EXPECT_GT(monotonicSeconds() - start, 5) << "a moment without acknowledgments is no loss";
    EXPECT_TRUE(program.output().ends_with("networkConnectionLost\n")) << program.output();
}

TEST(QtWebSocketTask, FailsIfTheServerIsLostWithoutNotice) {
    failsWhenTheConnectionIsCut([](PrivateNetwork& network) { network.fallSilent(); });
}

TEST(QtWebSocketTask, FailsWhenTheMachineGetsAnotherAddress) {
    failsWhenTheConnectionIsCut([](PrivateNetwork& network) { network.move(); });
}

TEST_F(QtWebSocketTaskTest, TrustsOnlyTheAuthoritiesOfTheEnvironment) {
    TestServer server({.isTls = true, .port = 0, .certificates = nullptr});
    server.setRealtime(realtime_);
    const auto url = server.socketUrl("/v1/realtime");
    EXPECT_EQ(failureOf(url), Code::serverCertificateUntrusted);
    EXPECT_TRUE(server.requests().empty());

    setenv("SSL_CERT_FILE", server.caFile().c_str(), 1);
    adapters::qt::QtUrlSessions trusting;
    session_ = trusting.makeEphemeral();
    const auto task = connectTo(url);
    unsetenv("SSL_CERT_FILE");
    const std::string big(1'000'000, 's');
    tasks_.finish(task->send(text(big)));
    EXPECT_TRUE(tasks_.finish(task->receive()).bytes == big);
    EXPECT_EQ(optionsOf(server.port(), IPPROTO_TCP, TCP_NODELAY), std::vector<int>{1});
    task->cancel(platform::WebSocketTask::normalClosure);
    EXPECT_TRUE(server.waitForClosedSockets(1, NetworkTasks::timeoutSeconds));
    EXPECT_EQ(server.socket().closeCode, 1000);
    session_.reset();

    const auto misnamed = std::make_shared<const TestCertificates>(TestCertificates::Kind::wrongName);
    TestServer elsewhere({.isTls = true, .port = 0, .certificates = misnamed});
    session_ = sessions_.makeEphemeral();
    EXPECT_EQ(failureOf(elsewhere.socketUrl("/v1/realtime")), Code::serverCertificateUntrusted);
}

TEST_F(QtWebSocketTaskTest, FailsIfTheServerDoesNotUseTls) {
    auto url = server_.socketUrl("/v1/realtime");
    url.replace(0, 2, "wss");
    EXPECT_EQ(failureOf(url), Code::secureConnectionFailed);
}

} // namespace sonvale::tests
