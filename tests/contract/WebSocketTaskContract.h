#pragma once

#include "platform/WebSocketTask.h"
#include "tests/contract/NetworkTasks.h"

#include <memory>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A socket as the server saw it.
struct ReceivedSocket {
    std::vector<platform::WebSocketMessage> messages;
    bool isOpen = false;
    std::optional<int> closeCode;
    std::string authorization;
};

inline std::vector<std::string> bytesOf(const std::vector<platform::WebSocketMessage>& messages) {
    std::vector<std::string> bytes;
    for (const auto& message : messages)
        bytes.push_back(message.bytes);
    return bytes;
}

inline platform::WebSocketMessage text(std::string words) {
    return {platform::WebSocketMessage::Kind::text, std::move(words)};
}
inline platform::WebSocketMessage binary(std::string bytes) {
    return {platform::WebSocketMessage::Kind::binary, std::move(bytes)};
}

/// The rules of `platform::WebSocketTask`. An `Environment` has `sessions()`, `endSessions()`, `url()`, and
/// the server, which sends every message back: `refuseHandshakes()` (with the status 401),
/// `holdHandshakes()`, `say(message)`, `close()`, and the newest accepted `socket()`.
template <class Environment>
class WebSocketTaskContract : public testing::Test {
protected:
    using Code = platform::UrlError::Code;

    std::shared_ptr<platform::WebSocketTask> makeTask() {
        auto request = requestTo(environment_.url());
        request.headers = {{"Authorization", "Bearer token"}};
        return session_->webSocketTask(request);
    }
    std::shared_ptr<platform::WebSocketTask> openTask() {
        auto task = makeTask();
        task->resume();
        EXPECT_TRUE(eventually(NetworkTasks::timeoutSeconds, [&] { return environment_.socket().isOpen; }));
        return task;
    }
    /// Waits until both sides know that it is open.
    void greet(platform::WebSocketTask& task) {
        tasks_.finish(task.send(text("hello")));
        tasks_.finish(task.receive());
    }
    bool waitForMessages(std::size_t count) {
        return eventually(NetworkTasks::timeoutSeconds,
                          [&] { return environment_.socket().messages.size() >= count; });
    }
    bool waitForCloseCode(int code) {
        return eventually(NetworkTasks::timeoutSeconds,
                          [&] { return environment_.socket().closeCode == code; });
    }

    Environment environment_;
    NetworkTasks tasks_;
    std::shared_ptr<platform::UrlSession> session_ = environment_.sessions().makeEphemeral();
};

TYPED_TEST_SUITE_P(WebSocketTaskContract);

TYPED_TEST_P(WebSocketTaskContract, SendsMessagesFromBeforeTheOpeningInOrder) {
    const auto task = this->makeTask();
    std::vector<runtime::TaskHandle<>> sends;
    std::vector<std::string> words;
    for (int i = 0; i < 50; ++i) {
        words.push_back("message " + std::to_string(i));
        sends.push_back(this->tasks_.startInOrder(task->send(text(words.back()))));
        if (i == 20)
            task->resume();
    }
    task->resume();
    for (const auto& send : sends)
        EXPECT_EQ(this->tasks_.failure(send), std::nullopt);
    ASSERT_TRUE(this->waitForMessages(50));
    EXPECT_EQ(bytesOf(this->environment_.socket().messages), words);
    EXPECT_EQ(this->environment_.socket().authorization, "Bearer token");
}

TYPED_TEST_P(WebSocketTaskContract, KeepsTheKindOfAMessageInBothDirections) {
    const std::string bytes("\x00\xff\x80 bytes", 9);
    const std::string words = "na\xc3\xafve \xf0\x9f\x8e\x99 words";
    const auto task = this->openTask();
    this->tasks_.finish(task->send(binary(bytes)));
    this->tasks_.finish(task->send(text(words)));
    this->tasks_.finish(task->send(text("")));
    ASSERT_TRUE(this->waitForMessages(3));
    const auto messages = this->environment_.socket().messages;
    EXPECT_EQ(messages[0].kind, platform::WebSocketMessage::Kind::binary);
    EXPECT_EQ(messages[1].kind, platform::WebSocketMessage::Kind::text);
    EXPECT_EQ(bytesOf(messages), (std::vector<std::string>{bytes, words, ""}));

    for (const auto& sent : messages) {
        const auto echo = this->tasks_.finish(task->receive());
        EXPECT_EQ(echo.kind, sent.kind);
        EXPECT_EQ(echo.bytes, sent.bytes);
    }
}

TYPED_TEST_P(WebSocketTaskContract, KeepsUnreceivedMessagesInOrder) {
    const auto task = this->openTask();
    const auto first = this->tasks_.start(task->receive());
    for (int i = 0; i < 20; ++i)
        this->environment_.say(text(std::to_string(i)));
    EXPECT_EQ(this->tasks_.finish(first).bytes, "0");
    for (int i = 1; i < 20; ++i)
        EXPECT_EQ(this->tasks_.finish(task->receive()).bytes, std::to_string(i));
}

TYPED_TEST_P(WebSocketTaskContract, ReturnsMessagesBeforeTheEndAndThenAlwaysFails) {
    const auto task = this->openTask();
    this->environment_.say(text("one"));
    this->environment_.say(text("two"));
    this->environment_.close();
    EXPECT_EQ(this->tasks_.finish(task->receive()).bytes, "one");
    EXPECT_EQ(this->tasks_.finish(task->receive()).bytes, "two");
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(this->tasks_.failure(task->receive()), platform::UrlError::Code::networkConnectionLost);
    EXPECT_EQ(this->tasks_.failure(task->send(text("late"))),
              platform::UrlError::Code::networkConnectionLost);
    task->cancel(platform::WebSocketTask::goingAway);
}

TYPED_TEST_P(WebSocketTaskContract, FailsAWaitingReceiveIfTheServerCloses) {
    const auto task = this->openTask();
    const auto waiting = this->tasks_.start(task->receive());
    this->environment_.close();
    EXPECT_EQ(this->tasks_.failure(waiting), platform::UrlError::Code::networkConnectionLost);
}

TYPED_TEST_P(WebSocketTaskContract, ClosesWithItsCodeAndEndsWaitingCalls) {
    for (const int code : {platform::WebSocketTask::goingAway, platform::WebSocketTask::normalClosure}) {
        const auto task = this->openTask();
        this->greet(*task);
        const auto waiting = this->tasks_.start(task->receive());
        task->cancel(code);
        task->cancel(1003);
        EXPECT_EQ(this->tasks_.failure(waiting), platform::UrlError::Code::cancelled);
        EXPECT_EQ(this->tasks_.failure(task->receive()), platform::UrlError::Code::cancelled);
        EXPECT_EQ(this->tasks_.failure(task->send(text("late"))), platform::UrlError::Code::cancelled);
        EXPECT_TRUE(this->waitForCloseCode(code));
        EXPECT_FALSE(this->environment_.socket().isOpen);
    }
}

TYPED_TEST_P(WebSocketTaskContract, SendsAcceptedMessagesBeforeItCloses) {
    const auto task = this->openTask();
    for (int i = 0; i < 10; ++i)
        this->tasks_.finish(task->send(text(std::string(10'000, 'x'))));
    task->cancel(platform::WebSocketTask::normalClosure);
    EXPECT_TRUE(this->waitForCloseCode(platform::WebSocketTask::normalClosure));
    EXPECT_EQ(this->environment_.socket().messages.size(), 10U);
}

TYPED_TEST_P(WebSocketTaskContract, ClosesAsGoingAwayWhenItIsDropped) {
    auto task = this->openTask();
    this->greet(*task);
    task.reset();
    EXPECT_TRUE(this->waitForCloseCode(platform::WebSocketTask::goingAway));
}

TYPED_TEST_P(WebSocketTaskContract, LosesNoMessageToACancelledReceive) {
    const auto task = this->openTask();
    const auto waiting = this->tasks_.start(task->receive());
    pauseMilliseconds(20);
    waiting.cancel();
    EXPECT_EQ(this->tasks_.failure(waiting), platform::UrlError::Code::cancelled);
    this->environment_.say(text("kept"));
    EXPECT_EQ(this->tasks_.failure(this->tasks_.startCancelled(task->receive())),
              platform::UrlError::Code::cancelled);
    EXPECT_EQ(this->tasks_.finish(task->receive()).bytes, "kept");
}

TYPED_TEST_P(WebSocketTaskContract, SendsTheMessageOfACancelledSend) {
    const auto task = this->makeTask();
    const auto waiting = this->tasks_.start(task->send(text("first")));
    pauseMilliseconds(20);
    waiting.cancel();
    EXPECT_EQ(this->tasks_.failure(waiting), platform::UrlError::Code::cancelled);
    this->tasks_.failure(this->tasks_.startCancelled(task->send(text("second"))));
    task->resume();
    this->tasks_.finish(task->send(text("third")));
    ASSERT_TRUE(this->waitForMessages(3));
    EXPECT_EQ(bytesOf(this->environment_.socket().messages),
              (std::vector<std::string>{"first", "second", "third"}));
}

TYPED_TEST_P(WebSocketTaskContract, FailsEveryCallIfTheHandshakeIsRefused) {
    this->environment_.refuseHandshakes();
    const auto task = this->makeTask();
    const auto send = this->tasks_.start(task->send(text("words")));
    const auto receive = this->tasks_.start(task->receive());
    task->resume();
    EXPECT_EQ(this->tasks_.failure(send), platform::UrlError::Code::badServerResponse);
    EXPECT_EQ(this->tasks_.failure(receive), platform::UrlError::Code::badServerResponse);
    EXPECT_EQ(this->tasks_.failure(task->send(text("late"))), platform::UrlError::Code::badServerResponse);
}

TYPED_TEST_P(WebSocketTaskContract, EndsEveryCallIfCancelledWhileConnecting) {
    this->environment_.holdHandshakes();
    const auto task = this->makeTask();
    const auto send = this->tasks_.start(task->send(text("words")));
    const auto receive = this->tasks_.start(task->receive());
    task->resume();
    pauseMilliseconds(50);
    EXPECT_FALSE(send.isDone());
    EXPECT_FALSE(receive.isDone());
    task->cancel(platform::WebSocketTask::goingAway);
    EXPECT_EQ(this->tasks_.failure(send), platform::UrlError::Code::cancelled);
    EXPECT_EQ(this->tasks_.failure(receive), platform::UrlError::Code::cancelled);
}

TYPED_TEST_P(WebSocketTaskContract, EndsWithItsSession) {
    const auto task = this->openTask();
    const auto waiting = this->tasks_.start(task->receive());
    this->session_->invalidateAndCancel();
    EXPECT_EQ(this->tasks_.failure(waiting), platform::UrlError::Code::cancelled);

    const auto late = this->makeTask();
    late->resume();
    EXPECT_EQ(this->tasks_.failure(late->receive()), platform::UrlError::Code::cancelled);
    EXPECT_EQ(this->tasks_.failure(late->send(text("late"))), platform::UrlError::Code::cancelled);
}

TYPED_TEST_P(WebSocketTaskContract, EndsWithTheMakerOfItsSession) {
    const auto task = this->openTask();
    const auto waiting = this->tasks_.start(task->receive());
    this->environment_.endSessions();
    EXPECT_EQ(this->tasks_.failure(waiting), platform::UrlError::Code::cancelled);
    EXPECT_EQ(this->tasks_.failure(task->send(text("late"))), platform::UrlError::Code::cancelled);
}

TYPED_TEST_P(WebSocketTaskContract, OutlivesADroppedSession) {
    const auto task = this->openTask();
    this->session_.reset();
    this->environment_.say(text("still here"));
    EXPECT_EQ(this->tasks_.finish(task->receive()).bytes, "still here");
}

REGISTER_TYPED_TEST_SUITE_P(WebSocketTaskContract, SendsMessagesFromBeforeTheOpeningInOrder,
                            KeepsTheKindOfAMessageInBothDirections, KeepsUnreceivedMessagesInOrder,
                            ReturnsMessagesBeforeTheEndAndThenAlwaysFails,
                            FailsAWaitingReceiveIfTheServerCloses, ClosesWithItsCodeAndEndsWaitingCalls,
                            SendsAcceptedMessagesBeforeItCloses, ClosesAsGoingAwayWhenItIsDropped,
                            LosesNoMessageToACancelledReceive, SendsTheMessageOfACancelledSend,
                            FailsEveryCallIfTheHandshakeIsRefused, EndsEveryCallIfCancelledWhileConnecting,
                            EndsWithItsSession, EndsWithTheMakerOfItsSession, OutlivesADroppedSession);

} // namespace sonvale::tests
