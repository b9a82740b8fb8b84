#include "adapters/qt/network/QtUrlSession.h"

#include "tests/contract/ScopedVariable.h"
#include "tests/contract/UrlLinesContract.h"
#include "tests/fakes/FakeUrlSessions.h"
#include "tests/support/TestCertificates.h"
#include "tests/support/TestServer.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <thread>

namespace sonvale::tests {

namespace {

class FakeLinesEnvironment {
public:
    FakeLinesEnvironment() {
        fake_->control().onRequest([this](FakeRequest& request) { arrived(request); });
    }

    platform::UrlSessions& sessions() { return *fake_; }
    void endSessions() { fake_.reset(); }
    std::string url(const std::string& path) const { return origin + path; }

    void answer(const std::string& path, PiecedAnswer answer) {
        on(path, [answer = std::move(answer)](FakeRequest& request) {
            for (const auto& piece : answer.pieces)
                request.lines->give(piece);
            if (answer.ending == PiecedAnswer::Ending::isProper)
                request.lines->end();
            else if (answer.ending == PiecedAnswer::Ending::breaksOff)
                request.lines->fail(platform::UrlError::Code::networkConnectionLost);
            request.answerHead(answer.status);
        });
    }
    void hang(const std::string&) {}
    void close(const std::string& path) {
        on(path, [](FakeRequest& request) { request.fail(platform::UrlError::Code::networkConnectionLost); });
    }

    std::vector<std::string> requests() const {
        std::vector<std::string> bodies;
        for (const auto& request : fake_->control().requests())
            bodies.push_back(request->body.value_or(""));
        return bodies;
    }
    bool isConnected() const {
        const auto requests = fake_->control().requests();
        return std::ranges::any_of(requests, [](const auto& each) { return each->lines->isOpen(); });
    }

private:
    void on(const std::string& path, std::function<void(FakeRequest&)> what) {
        const std::lock_guard lock(mutex_);
        answers_[path] = std::move(what);
    }
    void arrived(FakeRequest& request) {
        std::function<void(FakeRequest&)> answer;
        {
            const std::lock_guard lock(mutex_);
            const auto found = answers_.find(request.url.substr(origin.size()));
            if (found != answers_.end())
                answer = found->second;
        }
        if (answer)
            answer(request);
    }

    inline static const std::string origin = "http://fake";
    std::mutex mutex_;
    std::map<std::string, std::function<void(FakeRequest&)>> answers_; ///< guarded by `mutex_`
    std::unique_ptr<FakeUrlSessions> fake_ = std::make_unique<FakeUrlSessions>();
};

class QtLinesEnvironment {
public:
    QtLinesEnvironment()
        : QtLinesEnvironment(TestServer::Options{}) {}

    platform::UrlSessions& sessions() { return *sessions_; }
    void endSessions() { sessions_.reset(); }
    std::string url(const std::string& path) const { return server_.url(path); }
    TestServer& server() { return server_; }

    void answer(const std::string& path, PiecedAnswer given) {
        Answer answer;
        answer.status = given.status;
        answer.pieces = std::move(given.pieces);
        answer.pieceSeconds = answer.pieces.size() < 10 ? 0.02 : 0;
        if (given.ending == PiecedAnswer::Ending::staysOpen)
            answer.fault = Answer::Fault::neverEnds;
        else if (given.ending == PiecedAnswer::Ending::breaksOff)
            answer.fault = Answer::Fault::breaksOff;
        server_.answer(path, std::move(answer));
    }
    void hang(const std::string& path) { server_.answer(path, {.fault = Answer::Fault::neverAnswers}); }
    void close(const std::string& path) {
        server_.answer(path, {.fault = Answer::Fault::closesBeforeAnswer});
    }

    std::vector<std::string> requests() const {
        std::vector<std::string> bodies;
        for (const auto& request : server_.requests())
            bodies.push_back(request.body);
        return bodies;
    }
    bool isConnected() const { return server_.openConnections() > 0; }

protected:
    explicit QtLinesEnvironment(TestServer::Options options)
        : server_(std::move(options))
        , trusted_("SSL_CERT_FILE", server_.url().starts_with("https") ? server_.caFile().string() : "")
        , sessions_(std::make_unique<adapters::qt::QtUrlSessions>()) {}

private:
    TestServer server_;
    const ScopedVariable trusted_;
    std::unique_ptr<platform::UrlSessions> sessions_;
};

class QtTlsLinesEnvironment : public QtLinesEnvironment {
public:
    QtTlsLinesEnvironment()
        : QtLinesEnvironment(TestServer::Options{.isTls = true}) {}
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, UrlLinesContract, FakeLinesEnvironment);
INSTANTIATE_TYPED_TEST_SUITE_P(Qt, UrlLinesContract, QtLinesEnvironment);
INSTANTIATE_TYPED_TEST_SUITE_P(QtTls, UrlLinesContract, QtTlsLinesEnvironment);

// Tests that need a network

namespace {

using Code = platform::UrlError::Code;

template <class Environment>
class QtUrlLinesTest : public testing::Test {
protected:
    TestServer& server() { return environment_.server(); }
    std::shared_ptr<platform::UrlLines> open(const std::string& path, double timeoutSeconds = 60) {
        return tasks_.finish(session_->lines(to(path, timeoutSeconds)));
    }
    platform::UrlRequest to(const std::string& path, double timeoutSeconds) {
        auto request = requestTo(environment_.url(path));
        request.timeoutSeconds = timeoutSeconds;
        return request;
    }
    std::optional<std::string> next(const std::shared_ptr<platform::UrlLines>& lines) {
        return tasks_.finish(lines->next());
    }

    Environment environment_;
    NetworkTasks tasks_;
    std::shared_ptr<platform::UrlSession> session_ = environment_.sessions().makeEphemeral();
};

using Environments = testing::Types<QtLinesEnvironment, QtTlsLinesEnvironment>;
TYPED_TEST_SUITE(QtUrlLinesTest, Environments);

} // namespace

TYPED_TEST(QtUrlLinesTest, TimesOutIfNoHeadArrives) {
    this->server().answer("/hang", {.fault = Answer::Fault::neverAnswers});
    EXPECT_EQ(this->tasks_.failure(this->session_->lines(this->to("/hang", 0.4))), Code::timedOut);
}

TYPED_TEST(QtUrlLinesTest, TimesOutIfTheBodyStops) {
    this->server().answer("/in", {.fault = Answer::Fault::neverEnds, .pieces = {"first\nsec"}});
    const auto lines = this->open("/in", 0.5);
    EXPECT_EQ(this->next(lines), "first");
    EXPECT_EQ(this->tasks_.failure(lines->next()), Code::timedOut);
    EXPECT_EQ(this->tasks_.failure(lines->next()), Code::timedOut);
    EXPECT_TRUE(this->server().waitForOpenConnections(0, NetworkTasks::timeoutSeconds));
}

TYPED_TEST(QtUrlLinesTest, DoesNotTimeOutWhileALineArrivesSlowlyOrNoCallerWaits) {
    this->server().answer("/slow",
                          {.body = std::string(30, 'x') + "\nlast", .fault = Answer::Fault::tricklesSlowly});
    const auto lines = this->open("/slow", 1);
    EXPECT_EQ(this->next(lines), std::string(30, 'x'));

    this->server().answer("/in", {.pieces = {"one\n", "two\n"}, .pieceSeconds = 0.9});
    const auto others = this->open("/in", 0.5);
    EXPECT_FALSE(eventually(2.5, [] { return false; }));
    EXPECT_EQ(this->next(others), "one");
    EXPECT_EQ(this->next(others), "two");
    EXPECT_EQ(this->next(others), std::nullopt);
}

TYPED_TEST(QtUrlLinesTest, FollowsARedirectAndReturnsTheLastHead) {
    this->server().answer("/old", {.status = 307, .headers = {{"Location", "/new"}}, .body = "moved\n"});
    this->server().answer("/new", {.status = 202, .headers = {{"X-Other", "value"}}, .body = "words"});
    const auto lines = this->open("/old");
    EXPECT_EQ(lines->head().statusCode, 202);
    EXPECT_TRUE(hasHeader(lines->head(), "X-Other", "value"));
    EXPECT_EQ(this->next(lines), "words");
    EXPECT_EQ(this->next(lines), std::nullopt);
}

TYPED_TEST(QtUrlLinesTest, KeepsTheConnectionOfACompletelyReadAnswer) {
    this->server().answer("/in", {.pieces = {"one\n", "two\n"}});
    for (int i = 0; i < 5; ++i) {
        const auto lines = this->open("/in");
        while (this->next(lines)) {
        }
    }
    EXPECT_EQ(this->server().connections(), 1);
}

TYPED_TEST(QtUrlLinesTest, FailsForAnAnswerShorterThanItsLength) {
    this->server().answer(
        "/in", {.body = "one\ntwo\nthree, four, five, six\n", .fault = Answer::Fault::closesInBody});
    const auto lines = this->open("/in");
    EXPECT_EQ(this->next(lines), "one");
    EXPECT_EQ(this->next(lines), "two");
    EXPECT_EQ(this->tasks_.failure(lines->next()), Code::networkConnectionLost);
}

TYPED_TEST(QtUrlLinesTest, ReturnsALargeAnswerToAPausingReader) {
    constexpr int count = 3000;
    std::string body;
    for (int i = 0; i < count; ++i)
        body += std::to_string(i) + std::string(5000, 'x') + "\n";
    this->server().answer("/in", {.body = body});
    const auto lines = this->open("/in");
    for (int i = 0; i < count; i += 1000) {
        EXPECT_FALSE(eventually(0.2, [] { return false; }));
        const auto some = this->tasks_.finish(linesOf(lines, 1000));
        ASSERT_EQ(some.size(), 1000U);
        for (int j = 0; j < 1000; ++j)
            ASSERT_EQ(some[static_cast<std::size_t>(j)], std::to_string(i + j) + std::string(5000, 'x'));
    }
    EXPECT_EQ(this->next(lines), std::nullopt);
}

namespace {

/// A server that answers one connection with lines while the client reads them.
class EndlessServer {
public:
    EndlessServer() {
        listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{
            .sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
        socklen_t size = sizeof(address);
        auto* const raw = reinterpret_cast<sockaddr*>(&address);
        if (::bind(listener_, raw, size) != 0 || ::listen(listener_, 1) != 0 ||
            ::getsockname(listener_, raw, &size) != 0)
            throw std::runtime_error("no server");
        url_ = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
        thread_ = std::thread([this] { serve(); });
    }
    EndlessServer(const EndlessServer&) = delete;
    EndlessServer& operator=(const EndlessServer&) = delete;
    ~EndlessServer() {
        isEnding_ = true;
        thread_.join();
        ::close(listener_);
    }

    const std::string& url() const { return url_; }
    std::size_t sent() const { return sent_; }

private:
    void serve() {
        pollfd incoming{.fd = listener_, .events = POLLIN, .revents = 0};
        while (!isEnding_ && ::poll(&incoming, 1, 50) == 0) {
        }
        if (isEnding_)
            return;
        const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        std::string bytes = "HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n";
        const std::string lines = [] {
            std::string all;
            for (int i = 0; i < 1000; ++i)
                all += "a line of words\n";
            return all;
        }();
        while (!isEnding_) {
            const auto count = ::send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            if (count > 0) {
                sent_ += static_cast<std::size_t>(count);
                bytes.erase(0, static_cast<std::size_t>(count));
                if (bytes.empty())
                    bytes = lines;
                continue;
            }
            pollfd outgoing{.fd = connection, .events = POLLOUT, .revents = 0};
            ::poll(&outgoing, 1, 50);
        }
        ::close(connection);
    }

    int listener_ = -1;
    std::string url_;
    std::atomic<bool> isEnding_ = false;
    std::atomic<std::size_t> sent_ = 0;
    std::thread thread_;
};

} // namespace

TEST(QtUrlLines, ReadsOnlyALittleAheadOfTheReader) {
    // More than the two ends of a connection on this machine buffer.
    constexpr std::size_t heldBySystem = 24UL << 20U;
    EndlessServer server;
    adapters::qt::QtUrlSessions sessions;
    NetworkTasks tasks;
    const auto lines = tasks.finish(sessions.makeEphemeral()->lines(requestTo(server.url())));
    EXPECT_EQ(tasks.finish(lines->next()), "a line of words");
    EXPECT_FALSE(eventually(1.5, [&] { return server.sent() > heldBySystem; }));
    const auto held = server.sent();
    EXPECT_EQ(tasks.finish(linesOf(lines, 20'000)).size(), 20'000U);
    EXPECT_LT(server.sent(), held + heldBySystem);
}

} // namespace sonvale::tests
