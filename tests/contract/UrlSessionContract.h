#pragma once

#include "tests/contract/NetworkTasks.h"

#include <memory>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A request as the server received it.
struct ReceivedRequest {
    std::string method;
    std::string path;
    std::string body;
    std::string authorization;
    std::string contentType;
};

/// The rules of `platform::UrlSession`. An `Environment` has `sessions()`, `endSessions()`, which destroys
/// them, `url(path)`, `received()` and the server's behavior for the requests of a path: `answer(path,
/// status, body)`, `hang(path)`, `hangUntilReleased(path)` with `release()` (200 and "late"), and
/// `close(path)`, which closes the connection instead of answering.
template <class Environment>
class UrlSessionContract : public testing::Test {
protected:
    using Code = platform::UrlError::Code;

    std::shared_ptr<platform::UrlSession> makeSession() { return environment_.sessions().makeEphemeral(); }
    platform::UrlRequest to(const std::string& path, std::string method = "GET") {
        return requestTo(environment_.url(path), std::move(method));
    }
    bool waitForRequests(std::size_t count) {
        return eventually(NetworkTasks::timeoutSeconds,
                          [&] { return environment_.received().size() >= count; });
    }

    Environment environment_;
    NetworkTasks tasks_;
};

TYPED_TEST_SUITE_P(UrlSessionContract);

TYPED_TEST_P(UrlSessionContract, ReturnsStatusAndBodyForAnyStatus) {
    const auto session = this->makeSession();
    for (const int status : {200, 201, 400, 401, 403, 404, 426, 429, 500, 503}) {
        const auto path = "/" + std::to_string(status);
        this->environment_.answer(path, status, "words for " + path);
        const auto response = this->tasks_.finish(session->data(this->to(path)));
        EXPECT_EQ(response.statusCode, status);
        EXPECT_EQ(response.body, "words for " + path);
    }
}

TYPED_TEST_P(UrlSessionContract, SendsMethodHeadersAndBodyUnchanged) {
    this->environment_.answer("/in", 200, "");
    std::string bytes;
    for (int i = 0; i < 1000; ++i)
        bytes += static_cast<char>(i % 256);
    auto request = this->to("/in", "POST");
    request.headers = {{"Authorization", "Bearer abc.DEF-123"},
                       {"Content-Type", "multipart/form-data; boundary=4711"}};
    request.body = makeBody(bytes);
    this->tasks_.finish(this->makeSession()->data(request));

    const auto received = this->environment_.received();
    ASSERT_EQ(received.size(), 1U);
    EXPECT_EQ(received[0].method, "POST");
    EXPECT_EQ(received[0].path, "/in");
    EXPECT_EQ(received[0].body, bytes);
    EXPECT_EQ(received[0].authorization, "Bearer abc.DEF-123");
    EXPECT_EQ(received[0].contentType, "multipart/form-data; boundary=4711");
}

TYPED_TEST_P(UrlSessionContract, ReleasesTheBodyByTheEndOfTheCall) {
    this->environment_.answer("/in", 200, "");
    this->environment_.hang("/hang");
    const auto session = this->makeSession();
    const auto body = makeBody(std::string(100'000, 'x'));
    for (const char* path : {"/in", "/hang"}) {
        auto request = this->to(path, "POST");
        request.body = body;
        const auto handle = this->tasks_.start(session->data(std::move(request)));
        if (std::string(path) == "/hang") {
            ASSERT_TRUE(this->waitForRequests(2));
            handle.cancel();
        }
        this->tasks_.failure(handle);
        EXPECT_EQ(body.use_count(), 1) << path;
    }
}

TYPED_TEST_P(UrlSessionContract, EndsWithCancelledIfTheTaskIsCancelled) {
    this->environment_.hang("/hang");
    const auto handle = this->tasks_.start(this->makeSession()->data(this->to("/hang")));
    ASSERT_TRUE(this->waitForRequests(1));
    EXPECT_FALSE(handle.isDone());
    handle.cancel();
    EXPECT_EQ(this->tasks_.failure(handle), platform::UrlError::Code::cancelled);
}

TYPED_TEST_P(UrlSessionContract, SendsNothingForAnAlreadyCancelledTask) {
    this->environment_.answer("/in", 200, "");
    const auto session = this->makeSession();
    const auto handle = this->tasks_.startCancelled(session->data(this->to("/in")));
    EXPECT_EQ(this->tasks_.failure(handle), platform::UrlError::Code::cancelled);
    this->tasks_.finish(session->data(this->to("/in")));
    EXPECT_EQ(this->environment_.received().size(), 1U);
}

TYPED_TEST_P(UrlSessionContract, EndsItsRequestsWhenInvalidatedAndRefusesNewOnes) {
    this->environment_.hang("/hang");
    this->environment_.answer("/in", 200, "");
    const auto session = this->makeSession();
    const auto other = this->makeSession();
    const auto first = this->tasks_.start(session->data(this->to("/hang")));
    const auto second = this->tasks_.start(session->data(this->to("/hang")));
    ASSERT_TRUE(this->waitForRequests(2));
    session->invalidateAndCancel();
    session->invalidateAndCancel();
    EXPECT_EQ(this->tasks_.failure(first), platform::UrlError::Code::cancelled);
    EXPECT_EQ(this->tasks_.failure(second), platform::UrlError::Code::cancelled);
    EXPECT_EQ(this->tasks_.failure(session->data(this->to("/in"))), platform::UrlError::Code::cancelled);
    EXPECT_EQ(this->tasks_.finish(other->data(this->to("/in"))).statusCode, 200);
    EXPECT_EQ(this->environment_.received().size(), 3U);
}

TYPED_TEST_P(UrlSessionContract, LivesUntilItsLastRequestHasEnded) {
    this->environment_.hangUntilReleased("/late");
    const auto handle = this->tasks_.start(this->makeSession()->data(this->to("/late")));
    ASSERT_TRUE(this->waitForRequests(1));
    this->environment_.release();
    EXPECT_EQ(this->tasks_.finish(handle).body, "late");
}

TYPED_TEST_P(UrlSessionContract, AnswersEachOfManyRequests) {
    const auto session = this->makeSession();
    std::vector<runtime::TaskHandle<platform::UrlResponse>> handles;
    for (int i = 0; i < 30; ++i) {
        const auto path = "/" + std::to_string(i);
        this->environment_.answer(path, 200, "answer " + std::to_string(i));
        handles.push_back(this->tasks_.start(session->data(this->to(path))));
    }
    for (int i = 0; i < 30; ++i)
        EXPECT_EQ(this->tasks_.finish(handles[static_cast<std::size_t>(i)]).body,
                  "answer " + std::to_string(i));
}

TYPED_TEST_P(UrlSessionContract, FailsIfTheConnectionIsClosedInsteadOfAnAnswer) {
    this->environment_.close("/close");
    auto request = this->to("/close", "POST");
    request.body = makeBody("words");
    EXPECT_EQ(this->tasks_.failure(this->makeSession()->data(request)),
              platform::UrlError::Code::networkConnectionLost);
    EXPECT_EQ(this->environment_.received().size(), 1U);
}

TYPED_TEST_P(UrlSessionContract, SendsNothingTwiceOnAKeptConnection) {
    this->environment_.answer("/in", 200, "");
    const auto session = this->makeSession();
    int number = 0;
    for (const char* method : {"POST", "PUT", "PATCH", "DELETE"}) {
        for (const std::size_t size : {0U, 5U, 300'000U}) {
            auto request = this->to("/in", method);
            request.body = makeBody(std::string(size, 'x'));
            this->tasks_.finish(session->data(request));

            const auto path = "/close" + std::to_string(++number);
            this->environment_.close(path);
            request.url = this->environment_.url(path);
            EXPECT_EQ(this->tasks_.failure(session->data(request)),
                      platform::UrlError::Code::networkConnectionLost);
            EXPECT_EQ(this->environment_.received().size(), 2U * static_cast<unsigned>(number))
                << method << " " << size;
        }
    }
}

TYPED_TEST_P(UrlSessionContract, EndsWithItsMaker) {
    this->environment_.hang("/hang");
    const auto session = this->makeSession();
    const auto handle = this->tasks_.start(session->data(this->to("/hang")));
    ASSERT_TRUE(this->waitForRequests(1));
    const auto request = this->to("/hang");
    this->environment_.endSessions();
    EXPECT_EQ(this->tasks_.failure(handle), platform::UrlError::Code::cancelled);
    EXPECT_EQ(this->tasks_.failure(session->data(request)), platform::UrlError::Code::cancelled);
}

REGISTER_TYPED_TEST_SUITE_P(UrlSessionContract, ReturnsStatusAndBodyForAnyStatus,
                            SendsMethodHeadersAndBodyUnchanged, ReleasesTheBodyByTheEndOfTheCall,
                            EndsWithCancelledIfTheTaskIsCancelled, SendsNothingForAnAlreadyCancelledTask,
                            EndsItsRequestsWhenInvalidatedAndRefusesNewOnes, LivesUntilItsLastRequestHasEnded,
                            AnswersEachOfManyRequests, FailsIfTheConnectionIsClosedInsteadOfAnAnswer,
                            SendsNothingTwiceOnAKeptConnection, EndsWithItsMaker);

} // namespace sonvale::tests
