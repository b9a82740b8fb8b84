#pragma once

#include "platform/WebSocketTask.h"
#include "tests/fakes/FakeRequest.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// A socket as the server sees it. Any thread.
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
    /// Returns whether it has failed, was closed or was cancelled.
    bool isEnded() const {
        const std::lock_guard lock(mutex_);
        return failure_.has_value();
    }
    /// Returns the codes of every `cancel`, in order; "going away" for a socket that was destroyed without
    /// one.
    std::vector<int> cancelCodes() const {
        const std::lock_guard lock(mutex_);
        return cancelCodes_;
    }
    /// Returns whether the program has destroyed it.
    bool isDropped() const {
        const std::lock_guard lock(mutex_);
        return isDropped_;
    }

    /// Completes a held handshake; the waiting sends then leave.
    void open() {
        {
            const std::lock_guard lock(mutex_);
            if (failure_ || isOpen_)
                return;
            isOpen_ = true;
        }
        leave();
    }
    /// Fails the handshake or the open socket. Delivered messages can still be received.
    void fail(const platform::UrlError& error) {
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
    /// Closes the socket as the server does.
    void close() {
        fail(platform::UrlError::Code::networkConnectionLost, "The network connection was lost.");
    }
    /// Fails the present and every later `receive` after the delivered messages; sends still work.
    void failReceive(const platform::UrlError& error) {
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
    /// Returns the number of messages that were not received yet.
    std::size_t undelivered() const {
        const std::lock_guard lock(mutex_);
        return incoming_.size();
    }

    /// Returns the sent messages, in order, without those that wait for the handshake.
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
    /// Returns the number of sends that wait for the handshake.
    std::size_t waitingSends() const {
        const std::lock_guard lock(mutex_);
        return waiting_.size();
    }

    /// Makes later sends wait, after their message has left, until the test completes them.
    void holdSends() {
        const std::lock_guard lock(mutex_);
        areSendsHeld_ = true;
    }
    /// Completes the held sends; later ones complete at once.
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
    /// Completes the oldest held send. Returns false if there is none.
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

    const int session; ///< index of its session in `Control::sessions()`
    const platform::UrlRequest request;

private:
    friend class FakeWebSocketTask;
    friend class FakeUrlSession;
    friend class FakeUrlSessions;

    struct Waiting {
        Message message;
        runtime::Continuation<> sender;
    };

    /// Returns true at the first call.
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
    bool isResumed_ = false; ///< guarded by `mutex_`, like the fields below
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

} // namespace sonvale::tests
