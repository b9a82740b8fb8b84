#pragma once

#include "tests/fakes/FakeRequest.h"
#include "tests/fakes/FakeSocket.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace sonvale::tests {

/// Sessions whose answers a test gives. A request without a scripted answer waits for the test. Sockets open
/// as soon as they are resumed, and sends on them complete at once, unless the test holds them. The
/// destruction ends every waiting call with `cancelled`.
class FakeUrlSessions final : public platform::UrlSessions {
public:
    struct SessionRecord {
        bool isInvalidated = false;
    };

    /// The operations for tests. Any thread.
    class Control {
    public:
        /// Scripts the answers of the next requests, in the order of these calls.
        void answerNext(platform::UrlResponse response) { script(std::move(response)); }
        void answerNext(int status, std::string body) {
            script(platform::UrlResponse{status, {}, std::move(body)});
        }
        void failNext(platform::UrlError error) { script(std::move(error)); }
        void failNext(platform::UrlError::Code code, const std::string& description = "The request failed.") {
            script(platform::UrlError(code, description));
        }
        /// Makes the next request wait until the test answers it.
        void hangNext() { script(std::monostate()); }

        /// Sets a function that is called for every request when it waits and before a scripted answer; it
        /// may answer the request itself. Called on the thread of the caller.
        void onRequest(std::function<void(FakeRequest&)> hook) {
            const std::lock_guard lock(mutex_);
            onRequest_ = std::move(hook);
        }
        /// Sets a function that is called for every socket when it is resumed, before it opens.
        void onSocket(std::function<void(FakeSocket&)> hook) {
            const std::lock_guard lock(mutex_);
            onSocket_ = std::move(hook);
        }
        /// Sets a function that is called for every message that leaves a socket made after this call.
        void onMessage(FakeSocket::MessageHook hook) {
            const std::lock_guard lock(mutex_);
            onMessage_ = std::move(hook);
        }
        /// Makes later sockets connect until the test opens or fails them.
        void holdHandshakes() {
            const std::lock_guard lock(mutex_);
            areHandshakesHeld_ = true;
        }
        /// Makes the handshakes of later sockets fail with this error; nullopt lets them succeed again.
        void failHandshakes(std::optional<platform::UrlError> error) {
            const std::lock_guard lock(mutex_);
            handshakeFailure_ = std::move(error);
        }

        /// Returns every session, in order.
        std::vector<SessionRecord> sessions() const {
            const std::lock_guard lock(mutex_);
            return sessions_;
        }
        /// Returns every request, in order, except those that an invalidated session or a cancelled task has
        /// refused.
        std::vector<std::shared_ptr<FakeRequest>> requests() const {
            const std::lock_guard lock(mutex_);
            return requests_;
        }
        /// Returns the last request, or null if there is none.
        std::shared_ptr<FakeRequest> lastRequest() const {
            const std::lock_guard lock(mutex_);
            return requests_.empty() ? nullptr : requests_.back();
        }
        /// Returns every socket, in order.
        std::vector<std::shared_ptr<FakeSocket>> sockets() const {
            const std::lock_guard lock(mutex_);
            return sockets_;
        }
        std::shared_ptr<FakeSocket> lastSocket() const {
            const std::lock_guard lock(mutex_);
            return sockets_.empty() ? nullptr : sockets_.back();
        }

    private:
        friend class FakeUrlSessions;
        friend class FakeUrlSession;
        friend class FakeWebSocketTask;
        using Answer = std::variant<std::monostate, platform::UrlResponse, platform::UrlError>;

        void script(Answer answer) {
            const std::lock_guard lock(mutex_);
            answers_.push_back(std::move(answer));
        }

        int addSession() {
            const std::lock_guard lock(mutex_);
            sessions_.emplace_back();
            return static_cast<int>(sessions_.size()) - 1;
        }

        void start(const std::shared_ptr<FakeRequest>& request) {
            std::function<void(FakeRequest&)> hook;
            Answer answer;
            bool isRefused = false;
            {
                const std::lock_guard lock(mutex_);
                isRefused = isInvalidated(request->session);
                if (!isRefused) {
                    requests_.push_back(request);
                    hook = onRequest_;
                    if (!answers_.empty()) {
                        answer = std::move(answers_.front());
                        answers_.pop_front();
                    }
                }
            }
            if (isRefused) {
                request->cancel();
                return;
            }
            if (hook)
                hook(*request);
            if (auto* response = std::get_if<platform::UrlResponse>(&answer))
                request->answer(std::move(*response));
            else if (auto* error = std::get_if<platform::UrlError>(&answer))
                request->fail(std::move(*error));
        }

        std::shared_ptr<FakeSocket> addSocket(int session, platform::UrlRequest request) {
            const std::lock_guard lock(mutex_);
            auto socket = std::make_shared<FakeSocket>(session, std::move(request), onMessage_);
            sockets_.push_back(socket);
            return socket;
        }

        void resume(FakeSocket& socket) {
            std::function<void(FakeSocket&)> hook;
            std::optional<platform::UrlError> failure;
            bool isHeld = false;
            {
                const std::lock_guard lock(mutex_);
                hook = onSocket_;
                failure = isInvalidated(socket.session) ? detail::cancelledError() : handshakeFailure_;
                isHeld = areHandshakesHeld_;
            }
            if (hook)
                hook(socket);
            if (failure)
                socket.fail(*failure);
            else if (!isHeld)
                socket.open();
        }

        void invalidate(int session) {
            {
                const std::lock_guard lock(mutex_);
                sessions_[static_cast<std::size_t>(session)].isInvalidated = true;
            }
            endAll([session](const auto& each) { return each.session == session; });
        }

        template <class Predicate>
        void endAll(Predicate isMeant) {
            for (const auto& request : requests()) {
                if (isMeant(*request))
                    request->cancel();
            }
            for (const auto& socket : sockets()) {
                if (isMeant(*socket))
                    socket->fail(detail::cancelledError());
            }
        }

        /// Needs `mutex_` locked.
        bool isInvalidated(int session) const {
            return isEnding_ || sessions_[static_cast<std::size_t>(session)].isInvalidated;
        }

        mutable std::mutex mutex_;
        bool isEnding_ = false; ///< guarded by `mutex_`, like the fields below
        bool areHandshakesHeld_ = false;
        std::optional<platform::UrlError> handshakeFailure_;
        std::function<void(FakeRequest&)> onRequest_;
        std::function<void(FakeSocket&)> onSocket_;
        FakeSocket::MessageHook onMessage_;
        std::deque<Answer> answers_;
        std::vector<SessionRecord> sessions_;
        std::vector<std::shared_ptr<FakeRequest>> requests_;
        std::vector<std::shared_ptr<FakeSocket>> sockets_;
    };

    FakeUrlSessions() = default;
    ~FakeUrlSessions() override {
        std::function<void(FakeRequest&)> onRequest;
        std::function<void(FakeSocket&)> onSocket;
        {
            const std::lock_guard lock(control_->mutex_);
            control_->isEnding_ = true;
            onRequest.swap(control_->onRequest_);
            onSocket.swap(control_->onSocket_);
        }
        control_->endAll([](const auto&) { return true; });
    }

    std::shared_ptr<platform::UrlSession> makeEphemeral() override;

    Control& control() { return *control_; }

private:
    const std::shared_ptr<Control> control_ = std::make_shared<Control>();
};

namespace detail {

/// Suspends until the continuation that `start` receives is resumed, or the calling task is cancelled.
template <class T>
runtime::Task<T> waitOrCancel(std::function<void(runtime::Continuation<T>)> start) {
    auto own = std::make_shared<std::optional<runtime::Continuation<T>>>();
    std::function<void(runtime::Continuation<T>)> begin = [own, start = std::move(start)](auto continuation) {
        own->emplace(continuation);
        start(std::move(continuation));
    };
    std::function<void()> onCancel = [own] { (*own)->fail(urlError(cancelledError())); };
    co_return co_await runtime::suspend<T>(std::move(begin), std::move(onCancel));
}

} // namespace detail

class FakeWebSocketTask final : public platform::WebSocketTask {
public:
    FakeWebSocketTask(std::shared_ptr<FakeUrlSessions::Control> control, std::shared_ptr<FakeSocket> socket)
        : control_(std::move(control))
        , socket_(std::move(socket)) {}
    ~FakeWebSocketTask() override { socket_->drop(); }

    void resume() override {
        if (socket_->markResumed())
            control_->resume(*socket_);
    }

    runtime::Task<> send(platform::WebSocketMessage message) override {
        return detail::waitOrCancel<void>([socket = socket_, message = std::move(message)](auto sender) {
            socket->beginSend(message, std::move(sender));
        });
    }

    runtime::Task<platform::WebSocketMessage> receive() override { return receiveFrom(socket_); }

    void cancel(int closeCode) override { socket_->cancel(closeCode); }

private:
    static runtime::Task<platform::WebSocketMessage> receiveFrom(std::shared_ptr<FakeSocket> socket) {
        if (co_await runtime::isCurrentTaskCancelled())
            throw detail::cancelledError();
        co_return co_await detail::waitOrCancel<platform::WebSocketMessage>(
            [socket](auto receiver) { socket->beginReceive(std::move(receiver)); });
    }

    const std::shared_ptr<FakeUrlSessions::Control> control_;
    const std::shared_ptr<FakeSocket> socket_;
};

class FakeUrlLines final : public platform::UrlLines {
public:
    explicit FakeUrlLines(std::shared_ptr<FakeBody> body)
        : body_(std::move(body)) {}
    ~FakeUrlLines() override { body_->close(); }

    void setHead(platform::UrlResponse head) { head_ = std::move(head); }
    const platform::UrlResponse& head() const override { return head_; }
    runtime::Task<FakeBody::Line> next() override { return nextOf(body_); }

private:
    static runtime::Task<FakeBody::Line> nextOf(std::shared_ptr<FakeBody> body) {
        if (co_await runtime::isCurrentTaskCancelled()) {
            body->close();
            throw detail::cancelledError();
        }
        std::function<void(runtime::Continuation<FakeBody::Line>)> start = [body](auto reader) {
            body->next(std::move(reader));
        };
        std::function<void()> onCancel = [body] { body->close(); };
        co_return co_await runtime::suspend<FakeBody::Line>(std::move(start), std::move(onCancel));
    }

    const std::shared_ptr<FakeBody> body_;
    platform::UrlResponse head_;
};

class FakeUrlSession final : public platform::UrlSession {
public:
    FakeUrlSession(std::shared_ptr<FakeUrlSessions::Control> control, int index)
        : control_(std::move(control))
        , index_(index) {}

    runtime::Task<platform::UrlResponse> data(platform::UrlRequest request) override {
        return dataOf(control_, index_, std::move(request));
    }

    runtime::Task<std::shared_ptr<platform::UrlLines>> lines(platform::UrlRequest request) override {
        return linesOf(control_, index_, std::move(request));
    }

    std::shared_ptr<platform::WebSocketTask> webSocketTask(platform::UrlRequest request) override {
        return std::make_shared<FakeWebSocketTask>(control_, control_->addSocket(index_, std::move(request)));
    }

    void invalidateAndCancel() override { control_->invalidate(index_); }

private:
    static runtime::Task<platform::UrlResponse> dataOf(std::shared_ptr<FakeUrlSessions::Control> control,
                                                       int session, platform::UrlRequest request) {
        if (co_await runtime::isCurrentTaskCancelled())
            throw detail::cancelledError();
        co_return co_await answerTo(control, std::make_shared<FakeRequest>(session, request));
    }

    static runtime::Task<std::shared_ptr<platform::UrlLines>>
    linesOf(std::shared_ptr<FakeUrlSessions::Control> control, int session, platform::UrlRequest request) {
        if (co_await runtime::isCurrentTaskCancelled())
            throw detail::cancelledError();
        const auto body = std::make_shared<FakeBody>();
        const auto lines = std::make_shared<FakeUrlLines>(body);
        lines->setHead(
            co_await answerTo(control, std::make_shared<FakeRequest>(session, std::move(request), body)));
        co_return lines;
    }

    static runtime::Task<platform::UrlResponse> answerTo(std::shared_ptr<FakeUrlSessions::Control> control,
                                                         std::shared_ptr<FakeRequest> record) {
        std::function<void(runtime::Continuation<platform::UrlResponse>)> start = [control,
                                                                                   record](auto waiting) {
            record->begin(std::move(waiting));
            control->start(record);
        };
        std::function<void()> onCancel = [record] { record->cancel(); };
        co_return co_await runtime::suspend<platform::UrlResponse>(std::move(start), std::move(onCancel));
    }

    const std::shared_ptr<FakeUrlSessions::Control> control_;
    const int index_;
};

inline std::shared_ptr<platform::UrlSession> FakeUrlSessions::makeEphemeral() {
    return std::make_shared<FakeUrlSession>(control_, control_->addSession());
}

} // namespace sonvale::tests
