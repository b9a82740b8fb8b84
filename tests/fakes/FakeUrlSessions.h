#pragma once

#include "platform/UrlSession.h"
#include "platform/WebSocketTask.h"

#include <algorithm>
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

namespace detail {

inline std::exception_ptr urlError(platform::UrlError error) {
    return std::make_exception_ptr(std::move(error));
}

inline platform::UrlError cancelledError() {
    return {platform::UrlError::Code::cancelled, "cancelled"};
}

/// Suspends until whoever `start` tells resumes, or the calling task is cancelled.
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

inline std::optional<std::string> headerOf(const std::vector<platform::HttpHeader>& headers,
                                           const std::string& name) {
    for (const auto& header : headers) {
        if (header.name == name)
            return header.value;
    }
    return std::nullopt;
}

} // namespace detail

/// A request as the test sees and answers it. Any thread.
class FakeRequest {
public:
    FakeRequest(int sessionIndex, const platform::UrlRequest& request)
        : session(sessionIndex)
        , method(request.method)
        , url(request.url)
        , headers(request.headers)
        , body(copyOf(request.body))
        , timeoutSeconds(request.timeoutSeconds)
        , live_(request.body) {}

    /// The first header of exactly this name.
    std::optional<std::string> header(const std::string& name) const {
        return detail::headerOf(headers, name);
    }

    /// The first answer counts; false for the others.
    bool answer(platform::UrlResponse response) {
        return end([&](const auto& waiting) { return waiting.resume(std::move(response)); });
    }
    bool answer(int status, std::string text) {
        return answer(platform::UrlResponse{status, {}, std::move(text)});
    }
    bool fail(platform::UrlError error) {
        return end([&](const auto& waiting) { return waiting.fail(detail::urlError(std::move(error))); });
    }
    bool fail(platform::UrlError::Code code, const std::string& description = "The request failed.") {
        return fail(platform::UrlError(code, description));
    }

    /// Whether its call has ended, by an answer, an error or a cancellation.
    bool isEnded() const {
        const std::lock_guard lock(mutex_);
        return isEnded_;
    }
    bool wasCancelled() const {
        const std::lock_guard lock(mutex_);
        return wasCancelled_;
    }
    /// The very bytes that the caller gave, which it may since have overwritten; null when it has let go of
    /// them.
    std::shared_ptr<const std::vector<std::byte>> liveBody() const { return live_.lock(); }

    const int session; ///< place of its session in `Control::sessions()`
    const std::string method;
    const std::string url;
    const std::vector<platform::HttpHeader> headers;
    const std::optional<std::string> body; ///< a copy of when the request was made
    const double timeoutSeconds;

private:
    friend class FakeUrlSessions;
    friend class FakeUrlSession;

    static std::optional<std::string> copyOf(const std::shared_ptr<const std::vector<std::byte>>& bytes) {
        if (!bytes)
            return std::nullopt;
        return std::string(reinterpret_cast<const char*>(bytes->data()), bytes->size());
    }

    void begin(runtime::Continuation<platform::UrlResponse> waiting) {
        const std::lock_guard lock(mutex_);
        waiting_.emplace(std::move(waiting));
    }
    void cancel() {
        {
            const std::lock_guard lock(mutex_);
            if (isEnded_)
                return;
            wasCancelled_ = true;
        }
        fail(detail::cancelledError());
    }
    bool end(const std::function<bool(const runtime::Continuation<platform::UrlResponse>&)>& how) {
        std::optional<runtime::Continuation<platform::UrlResponse>> waiting;
        {
            const std::lock_guard lock(mutex_);
            isEnded_ = true;
            waiting = std::exchange(waiting_, std::nullopt);
        }
        return waiting && how(*waiting);
    }

    const std::weak_ptr<const std::vector<std::byte>> live_;
    mutable std::mutex mutex_;
    std::optional<runtime::Continuation<platform::UrlResponse>>
        waiting_; ///< guarded by `mutex_`, as all below
    bool isEnded_ = false;
    bool wasCancelled_ = false;
};

/// A socket as the other side sees it. Any thread.
class FakeSocket : public std::enable_shared_from_this<FakeSocket> {
public:
    using Message = platform::WebSocketMessage;
    using MessageHook = std::function<void(FakeSocket&, const Message&)>;

    FakeSocket(int sessionIndex, platform::UrlRequest socketRequest, MessageHook hook)
        : session(sessionIndex)
        , request(std::move(socketRequest))
        , onMessage_(std::move(hook)) {}

    std::optional<std::string> header(const std::string& name) const {
        return detail::headerOf(request.headers, name);
    }

    bool isResumed() const {
        const std::lock_guard lock(mutex_);
        return isResumed_;
    }
    bool isOpen() const {
        const std::lock_guard lock(mutex_);
        return isOpen_ && !failure_;
    }
    /// Whether it has failed, was closed or cancelled.
    bool isEnded() const {
        const std::lock_guard lock(mutex_);
        return failure_.has_value();
    }
    /// The codes of every `cancel`, in order; going away for one that was dropped without.
    std::vector<int> cancelCodes() const {
        const std::lock_guard lock(mutex_);
        return cancelCodes_;
    }
    /// Whether the program has let go of it.
    bool isDropped() const {
        const std::lock_guard lock(mutex_);
        return isDropped_;
    }

    /// Ends a held handshake well: the sends that wait leave.
    void open() {
        {
            const std::lock_guard lock(mutex_);
            if (failure_ || isOpen_)
                return;
            isOpen_ = true;
        }
        leave();
    }
    /// Fails the handshake or the open socket: messages that were delivered are still received.
    void fail(platform::UrlError error) {
        std::vector<runtime::Continuation<>> senders;
        std::optional<runtime::Continuation<Message>> receiver;
        {
            const std::lock_guard lock(mutex_);
            if (failure_)
                return;
            failure_ = error;
            for (auto& waiting : waiting_)
                senders.push_back(std::move(waiting.sender));
            waiting_.clear();
            for (auto& held : held_)
                senders.push_back(std::move(held));
            held_.clear();
            receiver = std::exchange(receiver_, std::nullopt);
        }
        for (const auto& sender : senders)
            sender.fail(detail::urlError(error));
        if (receiver)
            receiver->fail(detail::urlError(error));
    }
    void fail(platform::UrlError::Code code, const std::string& description = "The socket failed.") {
        fail(platform::UrlError(code, description));
    }
    /// What the program sees when the other side closes.
    void close() {
        fail(platform::UrlError::Code::networkConnectionLost, "The network connection was lost.");
    }
    /// Fails the present and every later `receive`, once what was delivered is handed out; sends go on.
    void failReceive(platform::UrlError error) {
        std::optional<runtime::Continuation<Message>> receiver;
        {
            const std::lock_guard lock(mutex_);
            receiveFailure_ = error;
            receiver = std::exchange(receiver_, std::nullopt);
        }
        if (receiver)
            receiver->fail(detail::urlError(error));
    }

    /// Sends a message to the program.
    void deliver(Message message) {
        std::optional<runtime::Continuation<Message>> receiver;
        {
            const std::lock_guard lock(mutex_);
            if (failure_ || receiveFailure_)
                return;
            receiver = std::exchange(receiver_, std::nullopt);
            if (!receiver) {
                incoming_.push_back(std::move(message));
                return;
            }
        }
        if (!receiver->resume(message)) {
            const std::lock_guard lock(mutex_);
            incoming_.push_front(std::move(message));
        }
    }
    void deliverText(std::string text) { deliver({Message::Kind::text, std::move(text)}); }
    /// Messages that nobody has received yet.
    std::size_t undelivered() const {
        const std::lock_guard lock(mutex_);
        return incoming_.size();
    }

    /// What left the program, in order; the sends that wait for the handshake are not among it.
    std::vector<Message> messages() const {
        const std::lock_guard lock(mutex_);
        return messages_;
    }
    std::vector<std::string> texts() const {
        std::vector<std::string> texts;
        for (auto& message : messages())
            texts.push_back(std::move(message.bytes));
        return texts;
    }
    /// Number of sends that wait for the handshake.
    std::size_t waitingSends() const {
        const std::lock_guard lock(mutex_);
        return waiting_.size();
    }

    /// From now on a send's message leaves, and the call waits until the test ends it.
    void holdSends() {
        const std::lock_guard lock(mutex_);
        areSendsHeld_ = true;
    }
    /// Completes the sends that are held, and later ones at once.
    void releaseSends() {
        {
            const std::lock_guard lock(mutex_);
            areSendsHeld_ = false;
        }
        while (completeSend()) {
        }
    }
    std::size_t heldSends() const {
        const std::lock_guard lock(mutex_);
        return held_.size();
    }
    /// Ends the oldest held send; false when there is none.
    bool completeSend() {
        const auto sender = takeHeld();
        if (sender)
            sender->resume();
        return sender.has_value();
    }
    bool failSend(platform::UrlError error) {
        const auto sender = takeHeld();
        if (sender)
            sender->fail(detail::urlError(std::move(error)));
        return sender.has_value();
    }

    const int session; ///< place of its session in `Control::sessions()`
    const platform::UrlRequest request;

private:
    friend class FakeWebSocketTask;
    friend class FakeUrlSession;
    friend class FakeUrlSessions;

    struct Waiting {
        Message message;
        runtime::Continuation<> sender;
    };

    /// True the first time.
    bool markResumed() {
        const std::lock_guard lock(mutex_);
        return !std::exchange(isResumed_, true);
    }

    void cancel(int code) {
        {
            const std::lock_guard lock(mutex_);
            cancelCodes_.push_back(code);
        }
        fail(detail::cancelledError());
    }
    void drop() {
        bool wasCancelled = false;
        {
            const std::lock_guard lock(mutex_);
            isDropped_ = true;
            wasCancelled = !cancelCodes_.empty();
        }
        if (!wasCancelled)
            cancel(platform::WebSocketTask::goingAway);
    }

    void beginSend(Message message, runtime::Continuation<> sender) {
        {
            const std::lock_guard lock(mutex_);
            if (failure_) {
                sender.fail(detail::urlError(*failure_));
                return;
            }
            waiting_.push_back({std::move(message), std::move(sender)});
            if (!isOpen_)
                return;
        }
        leave();
    }
    /// Moves the waiting sends out, oldest first.
    void leave() {
        for (;;) {
            Message message;
            std::optional<runtime::Continuation<>> done;
            {
                const std::lock_guard lock(mutex_);
                if (waiting_.empty())
                    return;
                auto waiting = std::move(waiting_.front());
                waiting_.pop_front();
                message = waiting.message;
                messages_.push_back(std::move(waiting.message));
                if (areSendsHeld_)
                    held_.push_back(std::move(waiting.sender));
                else
                    done.emplace(std::move(waiting.sender));
            }
            if (done)
                done->resume();
            if (onMessage_)
                onMessage_(*this, message);
        }
    }
    std::optional<runtime::Continuation<>> takeHeld() {
        const std::lock_guard lock(mutex_);
        if (held_.empty())
            return std::nullopt;
        std::optional<runtime::Continuation<>> sender(std::move(held_.front()));
        held_.pop_front();
        return sender;
    }

    void beginReceive(runtime::Continuation<Message> receiver) {
        const std::lock_guard lock(mutex_);
        if (!incoming_.empty()) {
            if (receiver.resume(incoming_.front()))
                incoming_.pop_front();
        } else if (failure_ || receiveFailure_) {
            receiver.fail(detail::urlError(failure_ ? *failure_ : *receiveFailure_));
        } else {
            receiver_.emplace(std::move(receiver));
        }
    }

    const MessageHook onMessage_;
    mutable std::mutex mutex_;
    bool isResumed_ = false; ///< guarded by `mutex_`, as all below
    bool isOpen_ = false;
    bool isDropped_ = false;
    bool areSendsHeld_ = false;
    std::vector<int> cancelCodes_;
    std::optional<platform::UrlError> failure_;
    std::optional<platform::UrlError> receiveFailure_;
    std::vector<Message> messages_;
    std::deque<Waiting> waiting_;
    std::deque<runtime::Continuation<>> held_;
    std::deque<Message> incoming_;
    std::optional<runtime::Continuation<Message>> receiver_;
};

/// Sessions whose answers a test gives. Requests that have no scripted answer wait for the test's; sockets
/// open as soon as they are resumed, and sends on them complete at once, unless the test holds them.
/// Everything that waits ends with `cancelled` when it is destroyed.
class FakeUrlSessions final : public platform::UrlSessions {
public:
    struct SessionRecord {
        bool isInvalidated = false;
    };

    /// The test's side. Any thread.
    class Control {
    public:
        /// Answers of the next requests, in the order of these calls.
        void answerNext(platform::UrlResponse response) { script(std::move(response)); }
        void answerNext(int status, std::string body) {
            script(platform::UrlResponse{status, {}, std::move(body)});
        }
        void failNext(platform::UrlError error) { script(std::move(error)); }
        void failNext(platform::UrlError::Code code, const std::string& description = "The request failed.") {
            script(platform::UrlError(code, description));
        }
        /// The next request waits until the test answers it.
        void hangNext() { script(std::monostate()); }

        /// Called for every request once it waits and before a scripted answer; it may answer itself. On the
        /// thread of the caller.
        void onRequest(std::function<void(FakeRequest&)> hook) {
            const std::lock_guard lock(mutex_);
            onRequest_ = std::move(hook);
        }
        /// Called for every socket when it is resumed, before it opens.
        void onSocket(std::function<void(FakeSocket&)> hook) {
            const std::lock_guard lock(mutex_);
            onSocket_ = std::move(hook);
        }
        /// Called for every message that leaves a socket made after this call.
        void onMessage(FakeSocket::MessageHook hook) {
            const std::lock_guard lock(mutex_);
            onMessage_ = std::move(hook);
        }
        /// Later sockets connect until the test opens or fails them.
        void holdHandshakes() {
            const std::lock_guard lock(mutex_);
            areHandshakesHeld_ = true;
        }
        /// The handshakes of later sockets fail so; nothing lets them succeed again.
        void failHandshakes(std::optional<platform::UrlError> error) {
            const std::lock_guard lock(mutex_);
            handshakeFailure_ = std::move(error);
        }

        /// Every session that was made, in order.
        std::vector<SessionRecord> sessions() const {
            const std::lock_guard lock(mutex_);
            return sessions_;
        }
        /// Every request, in order; refused ones of an invalidated session or a cancelled task are not among
        /// them.
        std::vector<std::shared_ptr<FakeRequest>> requests() const {
            const std::lock_guard lock(mutex_);
            return requests_;
        }
        /// The last request; null when there is none.
        std::shared_ptr<FakeRequest> lastRequest() const {
            const std::lock_guard lock(mutex_);
            return requests_.empty() ? nullptr : requests_.back();
        }
        /// Every socket, in order.
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

        /// With `mutex_` held.
        bool isInvalidated(int session) const {
            return isEnding_ || sessions_[static_cast<std::size_t>(session)].isInvalidated;
        }

        mutable std::mutex mutex_;
        bool isEnding_ = false; ///< guarded by `mutex_`, as all below
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

class FakeUrlSession final : public platform::UrlSession {
public:
    FakeUrlSession(std::shared_ptr<FakeUrlSessions::Control> control, int index)
        : control_(std::move(control))
        , index_(index) {}

    runtime::Task<platform::UrlResponse> data(platform::UrlRequest request) override {
        return dataOf(control_, index_, std::move(request));
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
        auto record = std::make_shared<FakeRequest>(session, request);
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
