#pragma once

#include "platform/UrlSession.h"

#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace sonvale::tests {

/// The body of an answer that is read line by line. The test gives its bytes. Any thread.
class FakeBody {
public:
    using Line = std::optional<std::string>;

    // The operations for tests. They do nothing after an end.

    void give(const std::string& bytes) {
        change([&] {
            for (const char byte : bytes)
                take(byte);
        });
    }
    /// Completes the answer.
    void end() {
        change([&] {
            if (!open_.empty())
                endLine();
            isEnded_ = true;
        });
    }
    /// Breaks the answer off.
    void fail(platform::UrlError error) {
        change([&] { breakOff(std::move(error)); });
    }
    void fail(platform::UrlError::Code code) { fail(platform::UrlError(code, "The request failed.")); }

    /// Returns whether the connection is open: it has not ended, and its reader has not closed it.
    bool isOpen() const {
        const std::lock_guard lock(mutex_);
        return !isEnded_;
    }
    /// Returns whether the reader has closed it before its end.
    bool wasClosed() const {
        const std::lock_guard lock(mutex_);
        return wasClosed_;
    }

    // The operations of the reader.

    void next(runtime::Continuation<Line> reader) {
        {
            const std::lock_guard lock(mutex_);
            reader_.emplace(std::move(reader));
        }
        change([] {});
    }
    void close() {
        {
            const std::lock_guard lock(mutex_);
            wasClosed_ = wasClosed_ || !isEnded_;
            lines_.clear();
            breakOff({platform::UrlError::Code::cancelled, "cancelled"});
        }
        change([] {});
    }

private:
    /// Applies the change, then answers the waiting reader if there is an answer.
    template <class Change>
    void change(Change what) {
        std::optional<runtime::Continuation<Line>> reader;
        Line line;
        std::optional<platform::UrlError> error;
        {
            const std::lock_guard lock(mutex_);
            if (!isEnded_)
                what();
            if (!reader_ || (lines_.empty() && !isEnded_))
                return;
            reader = std::exchange(reader_, std::nullopt);
            if (!lines_.empty()) {
                line = std::move(lines_.front());
                lines_.pop_front();
            } else {
                error = error_;
            }
        }
        if (error)
            reader->fail(std::make_exception_ptr(*std::move(error)));
        else
            reader->resume(std::move(line));
    }

    // The operations below need `mutex_` locked.

    void take(char byte) {
        const bool isSecondHalf = std::exchange(isBehindReturn_, byte == '\r') && byte == '\n';
        if (isEnded_ || isSecondHalf)
            return;
        if (byte == '\n' || byte == '\r') {
            endLine();
            return;
        }
        open_ += byte;
        if (open_.size() > platform::UrlLines::maxLineBytes)
            breakOff({platform::UrlError::Code::dataLengthExceedsMaximum, "The answer is too large."});
    }
    void endLine() { lines_.push_back(std::exchange(open_, {})); }
    void breakOff(platform::UrlError error) {
        open_.clear();
        isEnded_ = true;
        error_ = std::move(error);
    }

    mutable std::mutex mutex_;
    std::deque<std::string> lines_; ///< guarded by `mutex_`, like the fields below
    std::string open_;
    bool isBehindReturn_ = false;
    bool isEnded_ = false;
    bool wasClosed_ = false;
    std::optional<platform::UrlError> error_;
    std::optional<runtime::Continuation<Line>> reader_;
};

} // namespace sonvale::tests
