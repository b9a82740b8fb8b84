#pragma once

#include "platform/UrlSession.h"
#include "tests/fakes/FakeBody.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::tests {

namespace detail {

inline std::exception_ptr urlError(platform::UrlError error) {
    return std::make_exception_ptr(std::move(error));
}

inline platform::UrlError cancelledError() {
    return {platform::UrlError::Code::cancelled, "cancelled"};
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
    /// `answerBody` is for an answer that is read line by line; null for one that is received as a whole.
    FakeRequest(int sessionIndex, const platform::UrlRequest& request,
                std::shared_ptr<FakeBody> answerBody = nullptr)
        : session(sessionIndex)
        , method(request.method)
        , url(request.url)
        , headers(request.headers)
        , body(copyOf(request.body))
        , timeoutSeconds(request.timeoutSeconds)
        , connectTimeoutSeconds(request.connectTimeoutSeconds)
        , lines(std::move(answerBody))
        , live_(request.body) {}

    /// Returns the first header with exactly this name.
    std::optional<std::string> header(const std::string& name) const {
        return detail::headerOf(headers, name);
    }

    /// Answers the request. Returns false if it was already answered.
    bool answer(platform::UrlResponse response) {
        if (lines) {
            lines->give(std::exchange(response.body, {}));
            lines->end();
        }
        return answerHead(std::move(response));
    }
    /// Answers with the head of an answer that is read line by line; `lines` gives the rest.
    bool answerHead(platform::UrlResponse response) {
        return end([&](const auto& waiting) { return waiting.resume(std::move(response)); });
    }
    bool answerHead(int status) { return answerHead(platform::UrlResponse{status, {}, ""}); }
    bool answer(int status, std::string text) {
        return answer(platform::UrlResponse{status, {}, std::move(text)});
    }
    bool fail(platform::UrlError error) {
        return end([&](const auto& waiting) { return waiting.fail(detail::urlError(std::move(error))); });
    }
    bool fail(platform::UrlError::Code code, const std::string& description = "The request failed.") {
        return fail(platform::UrlError(code, description));
    }

    /// Returns whether its call has ended, by an answer, an error or a cancellation.
    bool isEnded() const {
        const std::lock_guard lock(mutex_);
        return isEnded_;
    }
    bool wasCancelled() const {
        const std::lock_guard lock(mutex_);
        return wasCancelled_;
    }
    /// Returns the caller's own bytes, which it may have overwritten since; null if it has released them.
    std::shared_ptr<const std::vector<std::byte>> liveBody() const { return live_.lock(); }

    const int session; ///< index of its session in `Control::sessions()`
    const std::string method;
    const std::string url;
    const std::vector<platform::HttpHeader> headers;
    const std::optional<std::string> body; ///< a copy, made with the request
    const double timeoutSeconds;
    const std::optional<double> connectTimeoutSeconds;
    const std::shared_ptr<FakeBody> lines; ///< for an answer that is read line by line, else null

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
        if (lines)
            lines->close();
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
        waiting_; ///< guarded by `mutex_`, like the fields below
    bool isEnded_ = false;
    bool wasCancelled_ = false;
};

} // namespace sonvale::tests
