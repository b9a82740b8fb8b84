#pragma once

#include "tests/contract/NetworkTasks.h"

#include <memory>
#include <string>
#include <vector>

namespace sonvale::tests {

/// An answer that is sent in pieces.
struct PiecedAnswer {
    enum class Ending { isProper, staysOpen, breaksOff };
    std::vector<std::string> pieces;
    Ending ending = Ending::isProper;
    int status = 200;
};

/// The rules of `platform::UrlLines`. An `Environment` has `sessions()`, `endSessions()`, which destroys
/// them, `url(path)`, `answer(path, PiecedAnswer)`, `hang(path)`, which sends no head, and `close(path)`,
/// which closes the connection instead of answering; `requests()`, the received bodies, and `isConnected()`,
/// whether a connection with an unfinished answer is left.
template <class Environment>
class UrlLinesContract : public testing::Test {
protected:
    using Code = platform::UrlError::Code;
    using Ending = PiecedAnswer::Ending;
    using Line = std::optional<std::string>;

    platform::UrlRequest to(const std::string& path, std::string method = "GET") {
        return requestTo(environment_.url(path), std::move(method));
    }
    void answer(const std::string& path, const std::vector<std::string>& pieces,
                Ending ending = Ending::isProper) {
        environment_.answer(path, {.pieces = pieces, .ending = ending});
    }
    std::shared_ptr<platform::UrlLines> open(const std::string& path) {
        return tasks_.finish(session_->lines(to(path)));
    }
    Line next(const std::shared_ptr<platform::UrlLines>& lines) { return tasks_.finish(lines->next()); }
    std::optional<Code> failure(const std::shared_ptr<platform::UrlLines>& lines) {
        return tasks_.failure(lines->next());
    }
    std::vector<std::string> readAll(const std::shared_ptr<platform::UrlLines>& lines) {
        return tasks_.finish(linesOf(lines));
    }
    bool waitForRequests(std::size_t count) {
        return eventually(NetworkTasks::timeoutSeconds,
                          [&] { return environment_.requests().size() >= count; });
    }
    bool waitUntilClosed() {
        return eventually(NetworkTasks::timeoutSeconds, [&] { return !environment_.isConnected(); });
    }

    Environment environment_;
    NetworkTasks tasks_;
    std::shared_ptr<platform::UrlSession> session_ = environment_.sessions().makeEphemeral();
};

TYPED_TEST_SUITE_P(UrlLinesContract);

TYPED_TEST_P(UrlLinesContract, ReturnsEachLineWhileTheAnswerIsOpen) {
    this->answer("/in", {"first\nsecond\n", "thi"}, PiecedAnswer::Ending::staysOpen);
    const auto lines = this->open("/in");
    EXPECT_EQ(lines->head().statusCode, 200);
    EXPECT_EQ(lines->head().body, "");
    EXPECT_EQ(this->next(lines), "first");
    EXPECT_EQ(this->next(lines), "second");
    const auto third = this->tasks_.start(lines->next());
    EXPECT_FALSE(eventually(0.2, [&] { return third.isDone(); }));
}

TYPED_TEST_P(UrlLinesContract, ReturnsTheHeadBeforeAnyBody) {
    this->answer("/in", {}, PiecedAnswer::Ending::staysOpen);
    EXPECT_EQ(this->open("/in")->head().statusCode, 200);
}

TYPED_TEST_P(UrlLinesContract, ReturnsStatusAndBodyForAnyStatus) {
    for (const int status : {201, 400, 401, 404, 429, 500, 503}) {
        const auto path = "/" + std::to_string(status);
        this->environment_.answer(path, {.pieces = {"words\n"}, .status = status});
        const auto lines = this->open(path);
        EXPECT_EQ(lines->head().statusCode, status);
        EXPECT_EQ(this->next(lines), "words");
        EXPECT_EQ(this->next(lines), std::nullopt);
    }
}

TYPED_TEST_P(UrlLinesContract, SplitsLinesAtEveryKindOfEndInAnyPieces) {
    this->answer("/in", {"a\nb\r", "\nc\r", "d\n\n", "e", "f\r\n\r", "\ng"});
    const auto lines = this->open("/in");
    EXPECT_EQ(this->readAll(lines), (std::vector<std::string>{"a", "b", "c", "d", "", "ef", "", "g"}));
    EXPECT_EQ(this->next(lines), std::nullopt) << "and again";
}

TYPED_TEST_P(UrlLinesContract, ReturnsBytesUnchanged) {
    std::string bytes;
    for (int i = 0; i < 256; ++i) {
        if (i != '\n' && i != '\r')
            bytes += static_cast<char>(i);
    }
    this->answer("/in", {bytes + "\n"});
    EXPECT_EQ(this->readAll(this->open("/in")), std::vector<std::string>{bytes});
}

TYPED_TEST_P(UrlLinesContract, ReturnsNoLineWithoutABody) {
    this->answer("/in", {});
    EXPECT_EQ(this->next(this->open("/in")), std::nullopt);
}

TYPED_TEST_P(UrlLinesContract, ReturnsManyLinesInOrder) {
    constexpr int count = 20'000;
    std::vector<std::string> pieces;
    for (int i = 0; i < count; i += 100) {
        std::string piece;
        for (int j = i; j < i + 100; ++j)
            piece += "line " + std::to_string(j) + "\r\n";
        pieces.push_back(std::move(piece));
    }
    this->answer("/in", std::move(pieces));
    const auto all = this->readAll(this->open("/in"));
    ASSERT_EQ(all.size(), static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        ASSERT_EQ(all[static_cast<std::size_t>(i)], "line " + std::to_string(i));
}

TYPED_TEST_P(UrlLinesContract, FailsAfterTheWholeLinesOfABrokenAnswer) {
    this->answer("/in", {"one\n", "two\nhal"}, PiecedAnswer::Ending::breaksOff);
    const auto lines = this->open("/in");
    EXPECT_EQ(this->next(lines), "one");
    EXPECT_EQ(this->next(lines), "two");
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(this->failure(lines), platform::UrlError::Code::networkConnectionLost);
}

TYPED_TEST_P(UrlLinesContract, RefusesALineThatIsTooLong) {
    const std::string longLine(platform::UrlLines::maxLineBytes, 'x');
    this->answer("/in", {longLine + "\n", longLine, "y\nmore\n"});
    const auto lines = this->open("/in");
    EXPECT_EQ(this->next(lines), longLine);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(this->failure(lines), platform::UrlError::Code::dataLengthExceedsMaximum);
}

TYPED_TEST_P(UrlLinesContract, SendsTheRequestAndReleasesItsBodyWithTheHead) {
    this->answer("/in", {"first\n"}, PiecedAnswer::Ending::staysOpen);
    const auto body = makeBody("{\"a\": 1}");
    auto request = this->to("/in", "POST");
    request.headers = {{"Content-Type", "application/json"}};
    request.body = body;
    const auto lines = this->tasks_.finish(this->session_->lines(std::move(request)));
    EXPECT_EQ(body.use_count(), 1);
    EXPECT_EQ(this->environment_.requests(), std::vector<std::string>{"{\"a\": 1}"});
    EXPECT_EQ(this->next(lines), "first");
}

TYPED_TEST_P(UrlLinesContract, FailsIfTheConnectionIsClosedInsteadOfAnAnswer) {
    this->environment_.close("/close");
    const auto body = makeBody("words");
    auto request = this->to("/close", "POST");
    request.body = body;
    EXPECT_EQ(this->tasks_.failure(this->session_->lines(std::move(request))),
              platform::UrlError::Code::networkConnectionLost);
    EXPECT_EQ(body.use_count(), 1);
    EXPECT_EQ(this->environment_.requests().size(), 1U);
}

TYPED_TEST_P(UrlLinesContract, EndsWithCancelledIfTheTaskWaitingForTheHeadIsCancelled) {
    this->environment_.hang("/hang");
    const auto body = makeBody("words");
    auto request = this->to("/hang", "POST");
    request.body = body;
    const auto handle = this->tasks_.start(this->session_->lines(std::move(request)));
    ASSERT_TRUE(this->waitForRequests(1));
    EXPECT_FALSE(handle.isDone());
    handle.cancel();
    EXPECT_EQ(this->tasks_.failure(handle), platform::UrlError::Code::cancelled);
    EXPECT_EQ(body.use_count(), 1);
    EXPECT_TRUE(this->waitUntilClosed());
}

TYPED_TEST_P(UrlLinesContract, ClosesTheConnectionIfTheTaskWaitingForALineIsCancelled) {
    this->answer("/in", {"first\n"}, PiecedAnswer::Ending::staysOpen);
    const auto lines = this->open("/in");
    EXPECT_EQ(this->next(lines), "first");
    const auto second = this->tasks_.start(lines->next());
    EXPECT_FALSE(eventually(0.1, [&] { return second.isDone(); }));
    EXPECT_TRUE(this->environment_.isConnected());
    second.cancel();
    EXPECT_EQ(this->tasks_.failure(second), platform::UrlError::Code::cancelled);
    EXPECT_TRUE(this->waitUntilClosed());
    EXPECT_EQ(this->failure(lines), platform::UrlError::Code::cancelled);
}

TYPED_TEST_P(UrlLinesContract, ClosesTheConnectionForAnAlreadyCancelledTask) {
    this->answer("/in", {"first\n"}, PiecedAnswer::Ending::staysOpen);
    EXPECT_EQ(this->tasks_.failure(this->tasks_.startCancelled(this->session_->lines(this->to("/in")))),
              platform::UrlError::Code::cancelled);
    EXPECT_TRUE(this->environment_.requests().empty());

    const auto lines = this->open("/in");
    EXPECT_EQ(this->tasks_.failure(this->tasks_.startCancelled(lines->next())),
              platform::UrlError::Code::cancelled);
    EXPECT_TRUE(this->waitUntilClosed());
}

TYPED_TEST_P(UrlLinesContract, ClosesTheConnectionWhenItIsDropped) {
    this->answer("/in", {"first\n"}, PiecedAnswer::Ending::staysOpen);
    auto lines = this->open("/in");
    EXPECT_EQ(this->next(lines), "first");
    EXPECT_TRUE(this->environment_.isConnected());
    lines.reset();
    EXPECT_TRUE(this->waitUntilClosed());
}

TYPED_TEST_P(UrlLinesContract, EndsWithAnInvalidatedSession) {
    this->answer("/in", {"first\n"}, PiecedAnswer::Ending::staysOpen);
    const auto lines = this->open("/in");
    EXPECT_EQ(this->next(lines), "first");
    const auto second = this->tasks_.start(lines->next());
    EXPECT_FALSE(eventually(0.1, [&] { return second.isDone(); }));
    this->session_->invalidateAndCancel();
    EXPECT_EQ(this->tasks_.failure(second), platform::UrlError::Code::cancelled);
    EXPECT_TRUE(this->waitUntilClosed());
    EXPECT_EQ(this->failure(lines), platform::UrlError::Code::cancelled);
    EXPECT_EQ(this->tasks_.failure(this->session_->lines(this->to("/in"))),
              platform::UrlError::Code::cancelled);
}

TYPED_TEST_P(UrlLinesContract, KeepsADroppedSession) {
    this->answer("/in", {"first\nsecond\n"}, PiecedAnswer::Ending::staysOpen);
    const auto lines = this->open("/in");
    this->session_.reset();
    EXPECT_EQ(this->next(lines), "first");
    EXPECT_EQ(this->next(lines), "second");
}

TYPED_TEST_P(UrlLinesContract, EndsWithTheMakerOfItsSession) {
    this->answer("/in", {"first\n"}, PiecedAnswer::Ending::staysOpen);
    const auto lines = this->open("/in");
    EXPECT_EQ(this->next(lines), "first");
    const auto second = this->tasks_.start(lines->next());
    const auto request = this->to("/in");
    this->environment_.endSessions();
    EXPECT_EQ(this->tasks_.failure(second), platform::UrlError::Code::cancelled);
    EXPECT_EQ(this->failure(lines), platform::UrlError::Code::cancelled);
    EXPECT_EQ(this->tasks_.failure(this->session_->lines(request)), platform::UrlError::Code::cancelled);
}

REGISTER_TYPED_TEST_SUITE_P(UrlLinesContract, ReturnsEachLineWhileTheAnswerIsOpen,
                            ReturnsTheHeadBeforeAnyBody, ReturnsStatusAndBodyForAnyStatus,
                            SplitsLinesAtEveryKindOfEndInAnyPieces, ReturnsBytesUnchanged,
                            ReturnsNoLineWithoutABody, ReturnsManyLinesInOrder,
                            FailsAfterTheWholeLinesOfABrokenAnswer, RefusesALineThatIsTooLong,
                            SendsTheRequestAndReleasesItsBodyWithTheHead,
                            FailsIfTheConnectionIsClosedInsteadOfAnAnswer,
                            EndsWithCancelledIfTheTaskWaitingForTheHeadIsCancelled,
                            ClosesTheConnectionIfTheTaskWaitingForALineIsCancelled,
                            ClosesTheConnectionForAnAlreadyCancelledTask, ClosesTheConnectionWhenItIsDropped,
                            EndsWithAnInvalidatedSession, KeepsADroppedSession, EndsWithTheMakerOfItsSession);

} // namespace sonvale::tests
