#include "adapters/qt/network/QtUrlSession.h"

#include "tests/contract/NetworkTasks.h"
#include "tests/contract/ScopedVariable.h"
#include "tests/support/TestCertificates.h"
#include "tests/support/TestServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QString>
#include <QtGlobal>
#include <array>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace sonvale::tests {

namespace {

using Code = platform::UrlError::Code;

/// Records what Qt logs in a scope.
class QtLog {
public:
    QtLog() {
        lines().clear();
        before_ = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& line) {
            const std::lock_guard lock(mutex());
            lines().push_back(line.toStdString());
        });
    }
    QtLog(const QtLog&) = delete;
    QtLog& operator=(const QtLog&) = delete;
    ~QtLog() { qInstallMessageHandler(before_); }

    std::vector<std::string> all() const {
        const std::lock_guard lock(mutex());
        return lines();
    }

private:
    static std::mutex& mutex() {
        static std::mutex instance;
        return instance;
    }
    static std::vector<std::string>& lines() {
        static std::vector<std::string> instance;
        return instance;
    }
    QtMessageHandler before_ = nullptr;
};

Answer saying(std::string words, int status = 200) {
    Answer answer;
    answer.status = status;
    answer.body = std::move(words);
    return answer;
}

Answer failing(Answer::Fault fault, std::string words = "some words") {
    auto answer = saying(std::move(words));
    answer.fault = fault;
    return answer;
}

Answer redirect(int status, const std::string& location) {
    auto answer = saying("moved", status);
    answer.headers = {{"Location", location}};
    return answer;
}

/// An address of this machine that neither accepts nor refuses a connection, because its queue of connections
/// is full.
class FullListener {
public:
    FullListener() {
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address_;
        if (::bind(listener_, address(), size) != 0 || ::listen(listener_, 0) != 0 ||
            ::getsockname(listener_, address(), &size) != 0)
            throw std::runtime_error("no address to listen on");
        for (const int waiting : waiting_) {
            // Connections that do not fit into the queue keep trying.
            if (::connect(waiting, address(), size) != 0 && errno != EINPROGRESS)
                throw std::runtime_error("no connection");
        }
    }
    FullListener(const FullListener&) = delete;
    FullListener& operator=(const FullListener&) = delete;
    ~FullListener() {
        for (const int waiting : waiting_)
            ::close(waiting);
        ::close(listener_);
    }

    std::string url() const { return "http://127.0.0.1:" + std::to_string(ntohs(address_.sin_port)) + "/"; }

private:
    sockaddr* address() { return reinterpret_cast<sockaddr*>(&address_); }
    static int makeSocket() { return ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0); }

    sockaddr_in address_{};
    int listener_ = makeSocket();
    std::array<int, 3> waiting_{makeSocket(), makeSocket(), makeSocket()};
};

class QtUrlSessionTest : public testing::Test {
protected:
    platform::UrlRequest to(const std::string& path, std::string method = "GET") {
        return requestTo(server_.url(path), std::move(method));
    }
    platform::UrlRequest post(const std::string& path, const std::string& body) {
        auto request = to(path, "POST");
        request.headers = {{"Authorization", "Bearer token"}, {"Content-Type", "text/plain"}};
        request.body = makeBody(body);
        return request;
    }
    bool waitForNoConnection() {
        return eventually(NetworkTasks::timeoutSeconds, [&] { return server_.openConnections() == 0; });
    }
    platform::UrlResponse get(const platform::UrlRequest& request) {
        return tasks_.finish(session_->data(request));
    }
    std::optional<Code> failureOf(const platform::UrlRequest& request) {
        return tasks_.failure(session_->data(request));
    }

    /// Waits until this process has at most `count` open sockets.
    static bool waitForSockets(int count) {
        return eventually(NetworkTasks::timeoutSeconds, [&] { return openSockets() <= count; });
    }
    static int openSockets() {
        int count = 0;
        std::error_code ignored; // a socket that was closed meanwhile
        for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
            count += std::filesystem::read_symlink(entry, ignored).string().starts_with("socket:") ? 1 : 0;
        return count;
    }

    TestServer server_;
    std::atomic<double> uptime_ = 1000;
    adapters::qt::QtUrlSessions sessions_{[this] { return uptime_.load(); }};
    NetworkTasks tasks_;
    std::shared_ptr<platform::UrlSession> session_ = sessions_.makeEphemeral();
};

std::string bytesOfSize(std::size_t size) {
    std::string bytes(size, '\0');
    std::uint32_t state = 1;
    for (auto& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

} // namespace

TEST_F(QtUrlSessionTest, KeepsItsConnectionForTheNextRequest) {
    server_.answer("/in", saying("words"));
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(get(i % 2 == 0 ? to("/in") : post("/in", "body")).body, "words");
    EXPECT_EQ(server_.connections(), 1);
}

TEST_F(QtUrlSessionTest, ConnectsAgainIfTheServerHasClosedTheConnection) {
    server_.answer("/in", saying("words"));
    const int before = openSockets();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(get(post("/in", "body")).body, "words");
        server_.dropAll();
        ASSERT_TRUE(waitForNoConnection());
        ASSERT_TRUE(waitForSockets(before));
    }
    EXPECT_EQ(server_.requests().size(), 3U);
}

TEST_F(QtUrlSessionTest, ConnectsAgainAfterALongIdleTime) {
    server_.answer("/in", saying("words"));
    const auto connectionsAfter = [this](double idleSeconds) {
        uptime_ = uptime_ + idleSeconds;
        EXPECT_EQ(get(post("/in", "body")).body, "words");
        return server_.connections();
    };
    EXPECT_EQ(connectionsAfter(0), 1);
    EXPECT_EQ(connectionsAfter(49), 1);
    EXPECT_EQ(connectionsAfter(49), 1);
    EXPECT_EQ(connectionsAfter(51), 2);
    EXPECT_EQ(connectionsAfter(49), 2);
    // The connection that is no longer kept is closed.
    EXPECT_TRUE(server_.waitForOpenConnections(1, NetworkTasks::timeoutSeconds));
    EXPECT_EQ(server_.requests().size(), 5U);
}

TEST_F(QtUrlSessionTest, ConnectsAgainIfTheServerAnnouncesTheClose) {
    auto answer = saying("words");
    answer.headers = {{"Keep-Alive", "max=100, Timeout=5"}};
    server_.answer("/in", answer);
    get(post("/in", "body"));
    uptime_ = uptime_ + 3.9;
    get(post("/in", "body"));
    EXPECT_EQ(server_.connections(), 1);
    uptime_ = uptime_ + 4.1;
    get(post("/in", "body"));
    EXPECT_EQ(server_.connections(), 2);
}

TEST_F(QtUrlSessionTest, LetsARequestFinishOnAConnectionThatIsNoLongerKept) {
    server_.answer("/in", saying("words"));
    server_.answer("/slow", failing(Answer::Fault::tricklesSlowly, std::string(20, 'x')));
    const auto slow = tasks_.start(session_->data(post("/slow", "body")));
    ASSERT_TRUE(server_.waitForRequests("/slow", 1, NetworkTasks::timeoutSeconds));
    uptime_ = uptime_ + 60;
    EXPECT_EQ(get(post("/in", "body")).body, "words");
    EXPECT_EQ(tasks_.finish(slow).body, std::string(20, 'x'));
    EXPECT_EQ(server_.connections(), 2);
    EXPECT_TRUE(server_.waitForOpenConnections(1, NetworkTasks::timeoutSeconds));
}

TEST_F(QtUrlSessionTest, SendsABodyOnceIfAKeptConnectionEndsInAnyWay) {
    server_.answer("/in", saying("words"));
    const auto big = bytesOfSize(3'000'000);
    for (const auto fault : {Answer::Fault::closesBeforeAnswer, Answer::Fault::resets,
                             Answer::Fault::closesInUpload, Answer::Fault::closesInBody}) {
        for (const auto& body : {std::string("body"), big}) {
            get(post("/in", "body"));
            server_.forget("/cut");
            server_.answer("/cut", failing(fault));
            const auto before = server_.requests("/cut").size();
            EXPECT_EQ(failureOf(post("/cut", body)), Code::networkConnectionLost) << static_cast<int>(fault);
            EXPECT_EQ(server_.requests("/cut").size(), before + 1) << static_cast<int>(fault);
        }
    }
}

TEST_F(QtUrlSessionTest, SendsABodyOnceForAnAnswerReadByLine) {
    server_.answer("/in", saying("words"));
    server_.answer("/cut", failing(Answer::Fault::closesBeforeAnswer));
    get(post("/in", "body"));
    EXPECT_EQ(tasks_.failure(session_->lines(post("/cut", "body"))), Code::networkConnectionLost);
    EXPECT_EQ(server_.requests("/cut").size(), 1U);
}

TEST_F(QtUrlSessionTest, ClosesItsConnectionsWhenItIsInvalidatedOrDropped) {
    server_.answer("/in", saying("words"));
    get(to("/in"));
    EXPECT_EQ(server_.openConnections(), 1);
    session_->invalidateAndCancel();
    EXPECT_TRUE(waitForNoConnection());

    session_ = sessions_.makeEphemeral();
    get(to("/in"));
    EXPECT_EQ(server_.openConnections(), 1);
    session_.reset();
    EXPECT_TRUE(waitForNoConnection());
}

TEST_F(QtUrlSessionTest, ClosesTheConnectionOfACancelledRequest) {
    for (const auto fault : {Answer::Fault::neverAnswers, Answer::Fault::neverEnds}) {
        server_.forget("/hang");
        server_.answer("/hang", failing(fault));
        const auto before = static_cast<int>(server_.requests().size());
        const auto handle = tasks_.start(session_->data(to("/hang")));
        ASSERT_TRUE(server_.waitForRequests(before + 1, NetworkTasks::timeoutSeconds));
        handle.cancel();
        EXPECT_EQ(tasks_.failure(handle), Code::cancelled);
        EXPECT_TRUE(waitForNoConnection());
    }
}

TEST_F(QtUrlSessionTest, RemembersNoCookies) {
    auto answer = saying("words");
    answer.headers = {{"Set-Cookie", "id=4711; Path=/"}, {"Cache-Control", "max-age=3600"}};
    server_.answer("/in", answer);
    get(to("/in"));
    get(to("/in"));
    ASSERT_EQ(server_.requests().size(), 2U);
    EXPECT_EQ(server_.requests()[1].header("Cookie"), "");
}

TEST_F(QtUrlSessionTest, DoesNotAskForAPassword) {
    auto answer = saying("who are you?", 401);
    answer.headers = {{"WWW-Authenticate", "Basic realm=\"here\""}};
    server_.answer("/in", answer);
    const auto response = get(post("/in", "body"));
    EXPECT_EQ(response.statusCode, 401);
    EXPECT_EQ(response.body, "who are you?");
    EXPECT_EQ(server_.requests().size(), 1U);
}

TEST_F(QtUrlSessionTest, ReturnsTheAnswerUnchanged) {
    auto answer = saying(bytesOfSize(1000));
    answer.headers = {{"Content-Type", "text/plain"}, {"Content-Encoding", "gzip"}, {"X-Other", "value"}};
    server_.answer("/in", answer);
    const auto response = get(to("/in"));
    EXPECT_EQ(response.body, answer.body);
    EXPECT_TRUE(hasHeader(response, "X-Other", "value"));
}

TEST_F(QtUrlSessionTest, JoinsTheChunksOfAnAnswer) {
    auto answer = saying("a");
    answer.pieces = {"bc", "def", std::string(100'000, 'g')};
    server_.answer("/in", answer);
    EXPECT_EQ(get(to("/in")).body, "abcdef" + std::string(100'000, 'g'));
}

TEST_F(QtUrlSessionTest, AnnouncesTheLengthOfAMissingBody) {
    server_.answer("/in", saying("words"));
    auto request = to("/in", "POST");
    request.headers = {{"Content-Type", "application/json"}};
    get(request);
    EXPECT_EQ(server_.requests()[0].header("Content-Length"), "0");
    EXPECT_EQ(server_.requests()[0].header("Content-Type"), "application/json");
}

TEST_F(QtUrlSessionTest, TransfersFiveMegabytesInBothDirections) {
    const auto bytes = bytesOfSize(5'000'000);
    server_.answerBy("/echo", [](const Request& request) { return saying(request.body); });
    const auto response = get(post("/echo", bytes));
    EXPECT_TRUE(response.body == bytes);
    EXPECT_TRUE(server_.requests()[0].body == bytes);
}

TEST_F(QtUrlSessionTest, RefusesAnAnswerThatIsTooLarge) {
    server_.answer("/in", saying(std::string((64UL << 20U) + 1, 'x')));
    EXPECT_EQ(failureOf(to("/in")), Code::badServerResponse);
    server_.forget("/in");
    server_.answer("/in", saying("words"));
    EXPECT_EQ(get(to("/in")).body, "words");
}

TEST_F(QtUrlSessionTest, TimesOutIfNothingIsTransferred) {
    for (const auto fault : {Answer::Fault::neverAnswers, Answer::Fault::neverEnds}) {
        server_.forget("/hang");
        server_.answer("/hang", failing(fault));
        auto request = post("/hang", "body");
        request.timeoutSeconds = 0.4;
        const double start = monotonicSeconds();
        EXPECT_EQ(failureOf(request), Code::timedOut);
        EXPECT_GE(monotonicSeconds() - start, 0.39);
        EXPECT_TRUE(waitForNoConnection());
    }
}

TEST_F(QtUrlSessionTest, LimitsTheTimeUntilAConnectionIsOpen) {
    const FullListener listener;
    for (const auto* body : {"", "body"}) {
        auto request = requestTo(listener.url(), *body ? "POST" : "GET");
        if (*body)
            request.body = makeBody(body);
        request.timeoutSeconds = 30;
        request.connectTimeoutSeconds = 0.4;
        const double start = monotonicSeconds();
        EXPECT_EQ(failureOf(request), Code::timedOut);
        EXPECT_GE(monotonicSeconds() - start, 0.39);
        EXPECT_LT(monotonicSeconds() - start, 20);
    }
}

TEST_F(QtUrlSessionTest, AppliesTheConnectTimeoutOnlyUntilTheConnection) {
    auto answer = saying("words");
    answer.delaySeconds = 3;
    server_.answer("/slow", answer);
    for (auto request : {to("/slow"), post("/slow", "body")}) {
        request.timeoutSeconds = 20;
        request.connectTimeoutSeconds = 2;
        EXPECT_EQ(get(request).body, "words");
    }
}

TEST_F(QtUrlSessionTest, DoesNotTimeOutWhileAnAnswerArrivesSlowly) {
    server_.answer("/slow", failing(Answer::Fault::tricklesSlowly, std::string(40, 'x')));
    auto request = to("/slow");
    request.timeoutSeconds = 1;
    const double start = monotonicSeconds();
    EXPECT_EQ(get(request).body, std::string(40, 'x'));
    EXPECT_GT(monotonicSeconds() - start, 1.2);
}

TEST_F(QtUrlSessionTest, FailsOnceIfAConnectionEndsEarly) {
    const auto big = bytesOfSize(3'000'000);
    for (const auto fault :
         {Answer::Fault::closesBeforeAnswer, Answer::Fault::resets, Answer::Fault::closesInUpload,
          Answer::Fault::closesInBody, Answer::Fault::sendsGarbage}) {
        // A kept connection may have ended by itself; one request on a new connection must be enough.
        session_ = sessions_.makeEphemeral();
        server_.forget("/in");
        server_.answer("/in", failing(fault));
        const auto before = server_.requests().size();
        EXPECT_EQ(failureOf(post("/in", big)), Code::networkConnectionLost) << static_cast<int>(fault);
        // If an upload is cut off, the server sees only heads, which cannot be distinguished from repeats.
        if (fault != Answer::Fault::closesInUpload)
            EXPECT_EQ(server_.requests().size(), before + 1) << static_cast<int>(fault);
    }
}

TEST_F(QtUrlSessionTest, ReportsWhyItCannotConnect) {
    EXPECT_EQ(failureOf(requestTo("http://127.0.0.1:" + std::to_string(unusedPort()) + "/in")),
              Code::cannotConnectToHost);
    EXPECT_EQ(failureOf(requestTo("http://nowhere.invalid/in")), Code::cannotFindHost);
}

TEST_F(QtUrlSessionTest, RefusesInvalidAddresses) {
    for (const char* url :
         {"", "words", "/in", "http://", "http:///in", "ftp://127.0.0.1/in", "file:///etc/hostname",
          "ws://127.0.0.1/in", "http://127.0.0.1:99999/in", "http://127.0.0.1:port/in", "http://127.1/in",
          "http://user@127.0.0.1/in", "http://[::1/in", "data:text/plain,words"})
        EXPECT_EQ(failureOf(requestTo(url)), Code::badUrl) << url;
}

TEST_F(QtUrlSessionTest, RefusesHeadersThatWouldBecomeOthers) {
    server_.answer("/in", saying("words"));
    using Header = platform::HttpHeader;
    for (const auto& header :
         {Header{"Authorization", "Bearer a\r\nX-Other: b"}, Header{"X", "a\nb"},
          Header{"X", std::string("a\0b", 3)}, Header{"X: y", "a"}, Header{"", "a"}, Header{"X\r\nY", "a"}}) {
        auto request = to("/in");
        request.headers = {header};
        EXPECT_EQ(failureOf(request), Code::badUrl) << header.name;
    }
    auto request = to("/in");
    request.method = "GET /other HTTP/1.1\r\nX:";
    EXPECT_EQ(failureOf(request), Code::badUrl);
    EXPECT_TRUE(server_.requests().empty());
}

TEST_F(QtUrlSessionTest, KeepsAddressesAndTokensOutOfErrorsAndLogs) {
    const QtLog log;
    server_.answer("/garbage", failing(Answer::Fault::sendsGarbage));
    server_.answer("/odd", saying("words", 799));
    server_.answer("/loop", redirect(302, "/loop?token=secret"));
    auto untrusting = requestTo(server_.url("/in"));
    untrusting.url.replace(0, 4, "https");
    for (auto request : {to("/garbage?token=secret"), to("/odd?token=secret"), to("/loop?token=secret"),
                         requestTo("http://nowhere.invalid/?token=secret"), untrusting,
                         requestTo("http://127.0.0.1:" + std::to_string(unusedPort()) + "/?token=secret"),
                         requestTo("nonsense?token=secret")}) {
        request.headers = {{"Authorization", "Bearer secret"}};
        request.timeoutSeconds = 5;
        try {
            get(request);
        } catch (const platform::UrlError& error) {
            const std::string words = error.what();
            for (const char* part : {"127.0.0.1", "secret", "invalid", "Bearer", "nonsense", "/"})
                EXPECT_EQ(words.find(part), std::string::npos) << words;
        }
    }
    for (const auto& line : log.all())
        EXPECT_EQ(line.find("secret"), std::string::npos) << line;
}

TEST_F(QtUrlSessionTest, FollowsARedirectWithTheTokenWithinTheOrigin) {
    server_.answer("/old", redirect(302, "/new?x=1"));
    server_.answer("/new", saying("words"));
    auto request = to("/old");
    request.headers = {{"Authorization", "Bearer token"}};
    EXPECT_EQ(get(request).body, "words");
    ASSERT_EQ(server_.requests().size(), 2U);
    EXPECT_EQ(server_.requests()[1].target, "/new?x=1");
    EXPECT_EQ(server_.requests()[1].header("Authorization"), "Bearer token");
}

TEST_F(QtUrlSessionTest, KeepsTheTokenAndTheBodyFromAnotherOrigin) {
    TestServer other;
    other.answer("/new", saying("words"));
    auto authorized = to("/old");
    authorized.headers = {{"authorization", "Bearer token"}};
    auto unauthorized = post("/old", "body");
    unauthorized.headers.clear();
    for (const int status : {301, 302, 303, 307, 308}) {
        server_.forget("/old");
        server_.answer("/old", redirect(status, other.url("/new")));
        for (const auto& request : {post("/old", "body"), authorized, unauthorized, to("/old", "DELETE")})
            EXPECT_EQ(failureOf(request), Code::redirectToNonExistentLocation) << status;
        EXPECT_EQ(tasks_.failure(session_->lines(post("/old", "body"))), Code::redirectToNonExistentLocation);
    }
    EXPECT_TRUE(other.requests().empty());
    EXPECT_EQ(other.connections(), 0);
}

TEST_F(QtUrlSessionTest, KeepsTheTokenFromTheOriginOfTheSecondRedirect) {
    TestServer other;
    server_.answer("/old", redirect(307, "/middle"));
    server_.answer("/middle", redirect(307, other.url("/new")));
    EXPECT_EQ(failureOf(post("/old", "body")), Code::redirectToNonExistentLocation);
    EXPECT_EQ(server_.requests().size(), 2U);
    EXPECT_EQ(other.connections(), 0);
}

TEST_F(QtUrlSessionTest, FollowsAPlainRequestToAnotherOrigin) {
    TestServer other;
    server_.answer("/old", redirect(302, other.url("/new")));
    other.answer("/new", saying("words"));
    EXPECT_EQ(get(to("/old")).body, "words");
}

TEST_F(QtUrlSessionTest, RefusesARedirectToAnInvalidAddress) {
    for (const char* location :
         {"http://127.0.0.1:port/", "http://user@127.0.0.1/", "//[::1", "//127.1/", "http://127.1/"}) {
        server_.forget("/old");
        server_.answer("/old", redirect(302, location));
        EXPECT_EQ(failureOf(to("/old")), Code::badServerResponse) << location;
    }
}

TEST_F(QtUrlSessionTest, TurnsAPostIntoAGetForRedirectsThatSaySo) {
    struct Row {
        int status;
        const char* method;
    };
    for (const auto& row :
         {Row{301, "GET"}, Row{302, "GET"}, Row{303, "GET"}, Row{307, "POST"}, Row{308, "POST"}}) {
        const auto old = "/old" + std::to_string(row.status);
        const auto next = "/new" + std::to_string(row.status);
        server_.answer(old, redirect(row.status, next));
        server_.answer(next, saying("words"));
        EXPECT_EQ(get(post(old, "body")).body, "words");
        const auto request = server_.requests(next).at(0);
        EXPECT_EQ(request.method, row.method) << row.status;
        EXPECT_EQ(request.body, std::string(row.method) == "POST" ? "body" : "") << row.status;
        EXPECT_EQ(request.header("Content-Type"), std::string(row.method) == "POST" ? "text/plain" : "")
            << row.status;
    }
}

TEST_F(QtUrlSessionTest, FollowsTenRedirectsAndNoMore) {
    for (int i = 0; i < 11; ++i)
        server_.answer("/" + std::to_string(i), redirect(302, std::to_string(i + 1)));
    server_.answer("/11", saying("words"));
    EXPECT_EQ(get(to("/1")).body, "words");
    EXPECT_EQ(failureOf(to("/0")), Code::badServerResponse);
}

TEST_F(QtUrlSessionTest, ReturnsARedirectWithoutATargetAndRefusesOtherSchemes) {
    server_.answer("/bare", saying("nothing", 302));
    server_.answer("/file", redirect(302, "file:///etc/hostname"));
    EXPECT_EQ(get(to("/bare")).statusCode, 302);
    EXPECT_EQ(failureOf(to("/file")), Code::badServerResponse);
}

TEST_F(QtUrlSessionTest, ReachesThisMachineWithoutAProxyAndOthersThroughIt) {
    server_.answer("/in", saying("words"));
    const ScopedVariable direct("http_proxy", "http://127.0.0.1:" + std::to_string(unusedPort()));
    const ScopedVariable without("no_proxy", "");
    EXPECT_EQ(get(to("/in")).body, "words");

    TestServer proxy;
    const ScopedVariable proxied("http_proxy", proxy.url());
    auto request = requestTo("http://service.invalid/in");
    request.timeoutSeconds = 10;
    tasks_.failure(session_->data(request));
    ASSERT_TRUE(proxy.waitForRequests(1, NetworkTasks::timeoutSeconds));
    EXPECT_EQ(proxy.requests()[0].target, "http://service.invalid/in");
}

TEST_F(QtUrlSessionTest, IsUsedOnManyThreadsAtOnce) {
    server_.answer("/in", saying("words"));
    server_.answer("/hang", failing(Answer::Fault::neverAnswers));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([this, t] {
            for (int i = 0; i < 10; ++i) {
                const auto own = sessions_.makeEphemeral();
                const auto hung = tasks_.start(own->data(to("/hang")));
                const auto good = tasks_.start(session_->data(to("/in")));
                if ((i + t) % 2 == 0)
                    own->invalidateAndCancel();
                else
                    hung.cancel();
                EXPECT_EQ(tasks_.failure(hung), Code::cancelled);
                EXPECT_EQ(tasks_.finish(good).body, "words");
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
}

// With certificates

namespace {

class QtUrlSessionTlsTest : public testing::Test {
protected:
    static TestServer::Options options(TestCertificates::Kind kind) {
        return {.isTls = true, .port = 0, .certificates = std::make_shared<const TestCertificates>(kind)};
    }
    /// Uses its own maker, which reads the environment again.
    std::optional<Code> failureOf(const std::string& url) {
        adapters::qt::QtUrlSessions sessions;
        NetworkTasks tasks;
        return tasks.failure(sessions.makeEphemeral()->data(requestTo(url)));
    }
};

} // namespace

TEST_F(QtUrlSessionTlsTest, TrustsOnlyTheAuthoritiesOfTheEnvironment) {
    TestServer server(options(TestCertificates::Kind::valid));
    server.answer("/in", saying("words"));
    EXPECT_EQ(failureOf(server.url("/in")), Code::serverCertificateUntrusted);
    EXPECT_TRUE(server.requests().empty());

    const ScopedVariable trusted("SSL_CERT_FILE", server.caFile());
    EXPECT_EQ(failureOf(server.url("/in")), std::nullopt);
    TestServer other(options(TestCertificates::Kind::valid));
    EXPECT_EQ(failureOf(other.url("/in")), Code::serverCertificateUntrusted);
}

TEST_F(QtUrlSessionTlsTest, RefusesExpiredCertificatesAndCertificatesOfOtherNames) {
    for (const auto kind : {TestCertificates::Kind::wrongName, TestCertificates::Kind::expired}) {
        TestServer server(options(kind));
        server.answer("/in", saying("words"));
        const ScopedVariable trusted("SSL_CERT_FILE", server.caFile());
        EXPECT_EQ(failureOf(server.url("/in")), Code::serverCertificateUntrusted);
        EXPECT_TRUE(server.requests().empty());
    }
}

TEST_F(QtUrlSessionTlsTest, FailsIfTheServerDoesNotUseTls) {
    TestServer plain;
    auto url = plain.url("/in");
    url.replace(0, 4, "https");
    EXPECT_EQ(failureOf(url), Code::secureConnectionFailed);
}

TEST_F(QtUrlSessionTlsTest, FollowsRedirectsToSecureAddressesAndNeverBack) {
    TestServer secure(options(TestCertificates::Kind::valid));
    TestServer plain;
    plain.answer("/up", redirect(302, secure.url("/in")));
    secure.answer("/down", redirect(302, plain.url("/in")));
    secure.answer("/in", saying("words"));
    plain.answer("/in", saying("words"));
    const ScopedVariable trusted("SSL_CERT_FILE", secure.caFile());
    EXPECT_EQ(failureOf(plain.url("/up")), std::nullopt);
    EXPECT_EQ(failureOf(secure.url("/down")), Code::badServerResponse);
    EXPECT_EQ(plain.requests().size(), 1U);
}

} // namespace sonvale::tests
