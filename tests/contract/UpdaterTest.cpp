#include "adapters/qt/network/QtUrlSession.h"

#include "runtime/SystemClock.h"
#include "services/FeedUpdater.h"
#include "tests/contract/UpdaterContract.h"
#include "tests/fakes/FakeUpdater.h"
#include "tests/fakes/FakeUrlSessions.h"
#include "tests/fakes/FakeWorkspace.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestRuntime.h"
#include "tests/support/TestServer.h"

#include <nlohmann/json.hpp>

namespace sonvale::tests {

namespace {

using platform::NewerVersion;
using platform::UpdateCheckFailed;
using platform::UpdateOutcome;
using platform::UpToDate;
using services::compareVersions;
using services::FeedUpdater;
using services::readUpdateFeed;

std::string feed(const std::string& version, const std::string& page = "https://example.org/new") {
    return nlohmann::json{{"version", version}, {"page", page}}.dump();
}

class FakeSubject {
public:
    platform::Updater& updater() { return fake_; }
    NetworkTasks& tasks() { return tasks_; }
    void offer(const std::string& version, const std::string& page) {
        fake_.control().answer(NewerVersion{version, page, true});
    }
    void offerNothingNew() { fake_.control().answer(UpToDate{"1.2.0"}); }
    void fail() { fake_.control().answer(UpdateCheckFailed{"The server is not there."}); }
    void keepWaiting() { fake_.control().hang(); }
    int checks() { return fake_.control().checks(); }

private:
    FakeUpdater fake_;
    NetworkTasks tasks_;
};

class FeedSubject {
public:
    platform::Updater& updater() { return updater_; }
    NetworkTasks& tasks() { return tasks_; }
    void offer(const std::string& version, const std::string& page) { say({.body = feed(version, page)}); }
    void offerNothingNew() { say({.body = feed("1.2")}); }
    void fail() { say({.status = 503}); }
    void keepWaiting() { say({.fault = Answer::Fault::neverAnswers}); }
    int checks() { return static_cast<int>(server_.requests("/feed.json").size()); }

private:
    void say(Answer answer) {
        server_.forget("/feed.json");
        server_.answer("/feed.json", std::move(answer));
    }

    LogCapture log_;
    TestServer server_;
    runtime::SystemClock clock_;
    FakeWorkspace workspace_;
    adapters::qt::QtUrlSessions sessions_;
    NetworkTasks tasks_;
    FeedUpdater updater_{{.main = tasks_.serialActor(),
                          .clock = clock_,
                          .urlSessions = sessions_,
                          .workspace = workspace_,
                          .feed = server_.url("/feed.json"),
                          .version = "1.2.0"}};
};

class FeedUpdaterTest : public testing::Test {
protected:
    UpdateOutcome check(const std::string& address = "https://example.org/feed.json",
                        const std::string& version = "1.2.0") {
        FeedUpdater updater({.main = runtime.main(),
                             .clock = runtime.clock(),
                             .urlSessions = sessions,
                             .workspace = workspace,
                             .feed = address,
                             .version = version});
        return runtime.wait(updater.checkForUpdates());
    }
    static bool hasFailed(const UpdateOutcome& outcome) {
        const auto* failure = std::get_if<UpdateCheckFailed>(&outcome);
        return failure && !failure->description.empty();
    }

    LogCapture log;
    FakeUrlSessions sessions;
    FakeWorkspace workspace;
    TestRuntime runtime;
};

} // namespace

using UpdaterSubjects = testing::Types<FakeSubject, FeedSubject>;
INSTANTIATE_TYPED_TEST_SUITE_P(Updaters, UpdaterContract, UpdaterSubjects);

TEST_F(FeedUpdaterTest, SendsOnePlainRequest) {
    sessions.control().answerNext(200, feed("1.2.0"));
    EXPECT_EQ(check(), UpdateOutcome(UpToDate{"1.2.0"}));
    ASSERT_EQ(sessions.control().requests().size(), 1U);
    const auto request = sessions.control().lastRequest();
    EXPECT_EQ(request->method, "GET");
    EXPECT_EQ(request->url, "https://example.org/feed.json");
    EXPECT_EQ(request->body, std::nullopt);
    EXPECT_TRUE(workspace.control().opened().empty());
}

TEST_F(FeedUpdaterTest, OpensThePageOfANewerVersion) {
    sessions.control().answerNext(200, feed("1.2.1", "http://example.org/a?b=c#d"));
    EXPECT_EQ(check(), UpdateOutcome(NewerVersion{"1.2.1", "http://example.org/a?b=c#d", true}));
    EXPECT_EQ(workspace.control().opened(), std::vector<std::string>{"http://example.org/a?b=c#d"});
}

TEST_F(FeedUpdaterTest, ReportsThatThePageWasNotOpened) {
    workspace.control().setCanOpen(false);
    sessions.control().answerNext(200, feed("2"));
    EXPECT_EQ(check(), UpdateOutcome(NewerVersion{"2", "https://example.org/new", false}));
}

TEST_F(FeedUpdaterTest, SendsNoRequestWithoutAUsableAddress) {
    for (const char* address :
         {"", "$(UPDATE_FEED_URL)", "example.org/feed.json", "http://example.org/feed.json",
          "ftp://example.org/x", "file:///etc/passwd", "https://", "https:///feed", "https://exa mple.org/",
          "http://127.0.0.1.example.org/", "http://localhost.example.org/"})
        EXPECT_TRUE(hasFailed(check(address))) << address;
    for (const auto& request : sessions.control().requests())
        ADD_FAILURE() << request->url;
}

TEST_F(FeedUpdaterTest, AllowsHttpForThisMachine) {
    for (const char* address : {"http://127.0.0.1:8000/feed", "http://localhost/feed", "http://[::1]/feed"}) {
        sessions.control().answerNext(200, feed("1.2.0"));
        EXPECT_EQ(check(address), UpdateOutcome(UpToDate{"1.2.0"})) << address;
    }
}

TEST_F(FeedUpdaterTest, FailsOnAnyOtherStatus) {
    for (const int status : {201, 204, 301, 304, 404, 500}) {
        sessions.control().answerNext(status, feed("9.0"));
        EXPECT_TRUE(hasFailed(check())) << status;
    }
    sessions.control().answerNext(platform::UrlResponse{std::nullopt, {}, feed("9.0")});
    EXPECT_TRUE(hasFailed(check()));
    EXPECT_TRUE(workspace.control().opened().empty());
}

TEST_F(FeedUpdaterTest, ReportsTheTextOfANetworkError) {
    sessions.control().failNext(platform::UrlError::Code::notConnectedToInternet, "There is no connection.");
    EXPECT_EQ(check(), UpdateOutcome(UpdateCheckFailed{"There is no connection."}));
}

TEST_F(FeedUpdaterTest, GivesUpOnAnEndlessAnswer) {
    sessions.control().hangNext();
    const double start = runtime.clock().now();
    EXPECT_TRUE(hasFailed(check()));
    EXPECT_LE(runtime.clock().now() - start, 30);
}

TEST_F(FeedUpdaterTest, FailsOnAnInvalidFeed) {
    const std::vector<std::string> bodies{
        "",
        "<html></html>",
        "null",
        "[]",
        "\"1.3.0\"",
        "{}",
        feed("1.3.0").substr(0, 20),
        feed("1.3.0") + "x",
        feed("1.3.0") + std::string(70000, ' '),
        std::string(60000, '['),
        "{\"version\": \"1.3.0\xff\", \"page\": \"https://example.org/\"}",
        R"({"version": "1.3.0"})",
        R"({"page": "https://example.org/"})",
    };
    for (const auto& body : bodies)
        EXPECT_TRUE(hasFailed(readUpdateFeed(body, "1.2.0"))) << body.substr(0, 80);
}

TEST_F(FeedUpdaterTest, FailsOnAnInvalidVersion) {
    for (const nlohmann::json& version :
         {nlohmann::json(), nlohmann::json(1.3), nlohmann::json(13), nlohmann::json({"1.3.0"}),
          nlohmann::json(true), nlohmann::json(""), nlohmann::json("1..3"), nlohmann::json("v1.3"),
          nlohmann::json("1.3-beta"), nlohmann::json(" 1.3"), nlohmann::json("-1.3"), nlohmann::json("1.3."),
          nlohmann::json("1.2.3.4.5.6.7.8.9"), nlohmann::json("9999999999999999999")}) {
        const auto body = nlohmann::json{{"version", version}, {"page", "https://example.org/"}}.dump();
        EXPECT_TRUE(hasFailed(readUpdateFeed(body, "1.2.0"))) << body;
    }
}

TEST_F(FeedUpdaterTest, FailsOnAPageThatIsNotForABrowser) {
    for (const nlohmann::json& page :
         {nlohmann::json(), nlohmann::json(7), nlohmann::json(""), nlohmann::json("/new"),
          nlohmann::json("https://"), nlohmann::json("file:///etc/passwd"),
          nlohmann::json("javascript:alert(1)"), nlohmann::json("mailto:a@example.org"),
          nlohmann::json("https://example.org/new page"),
          nlohmann::json("https://example.org/" + std::string(3000, 'a'))}) {
        const auto body = nlohmann::json{{"version", "1.3.0"}, {"page", page}}.dump();
        EXPECT_TRUE(hasFailed(readUpdateFeed(body, "1.2.0"))) << body;
    }
}

TEST_F(FeedUpdaterTest, IgnoresUnknownMembers) {
    EXPECT_EQ(readUpdateFeed(R"({"notes": [1], "version": "1.3", "page": "https://example.org/"})", "1.2.0"),
              UpdateOutcome(NewerVersion{"1.3", "https://example.org/", false}));
}

TEST_F(FeedUpdaterTest, FailsWithoutAVersionOfTheProgram) {
    EXPECT_TRUE(hasFailed(readUpdateFeed(feed("1.3.0"), "")));
    EXPECT_TRUE(hasFailed(readUpdateFeed(feed("1.3.0"), "$(VERSION)")));
}

TEST_F(FeedUpdaterTest, ComparesVersionsNumberByNumber) {
    struct Row {
        const char* a;
        const char* b;
        int order;
    };
    const Row rows[] = {
        {"1.2.0", "1.2.0", 0},  {"1.2", "1.2.0", 0},
        {"1.2.0.0", "1.2", 0},  {"01.002", "1.2", 0},
        {"0", "0.0", 0},        {"1.9", "1.10", -1},
        {"1.10", "1.9", 1},     {"1.2", "1.2.1", -1},
        {"2", "1.99.99", 1},    {"1.0.1", "1.1", -1},
        {"1.2.10", "1.2.9", 1}, {"0.9", "1", -1},
        {"1.0.0.1", "1", 1},    {"100", "99", 1},
        {"1.19", "1.2", 1},     {"1.999999999999999999", "1.1000000000000000", 1},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(compareVersions(row.a, row.b), row.order) << row.a << " " << row.b;
        EXPECT_EQ(compareVersions(row.b, row.a), -row.order) << row.b << " " << row.a;
    }
    EXPECT_EQ(compareVersions("1", "x"), std::nullopt);
    EXPECT_EQ(compareVersions("", "1"), std::nullopt);
    EXPECT_EQ(compareVersions("1.", "1"), std::nullopt);
}

} // namespace sonvale::tests
