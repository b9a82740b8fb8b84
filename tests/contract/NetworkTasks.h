#pragma once

#include "platform/UrlSession.h"
#include "runtime/TaskPool.h"
#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>
#include <strings.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// Returns whether the answer has the header; the case of the name does not count.
inline bool hasHeader(const platform::UrlResponse& response, const std::string& name,
                      const std::string& value) {
    return std::ranges::any_of(response.headers, [&](const platform::HttpHeader& header) {
        return ::strcasecmp(header.name.c_str(), name.c_str()) == 0 && header.value == value;
    });
}

/// Real threads for the tasks of a test. All tasks end with this object.
class NetworkTasks {
public:
    NetworkTasks() = default;
    NetworkTasks(const NetworkTasks&) = delete;
    NetworkTasks& operator=(const NetworkTasks&) = delete;
    ~NetworkTasks() {
        registry_->cancelAll();
        EXPECT_TRUE(registry_->waitUntilEmpty(timeoutSeconds)) << "a task did not end";
        pool_.join();
    }

    template <class T>
    runtime::TaskHandle<T> start(runtime::Task<T> task) {
        return runtime::spawn(pool_.actor(), std::move(task));
    }

    /// Returns the actor of `startInOrder`.
    const runtime::Actor& serialActor() const { return serial_; }

    /// Starts the tasks in the order of the calls.
    template <class T>
    runtime::TaskHandle<T> startInOrder(runtime::Task<T> task) {
        return runtime::spawn(serial_, std::move(task));
    }

    /// As `start`, but the task is cancelled before it begins.
    template <class T>
    runtime::TaskHandle<T> startCancelled(runtime::Task<T> task) {
        auto gate = std::make_shared<Gate>();
        auto handle = start(gated<T>(gate, std::move(task)));
        EXPECT_TRUE(eventually(timeoutSeconds, [&] { return gate->isClosed.load(); }));
        handle.cancel();
        gate->continuation->resume();
        return handle;
    }

    template <class T>
    T finish(const runtime::TaskHandle<T>& handle) {
        if (!eventually(timeoutSeconds, [&] { return handle.isDone(); }))
            throw std::runtime_error("the task does not end");
        auto outcome = handle.state()->outcome;
        return runtime::detail::take<T>(std::move(outcome));
    }
    template <class T>
    T finish(runtime::Task<T> task) {
        return finish(start(std::move(task)));
    }

    /// Returns the code of the error that ends the task; nullopt if it succeeds.
    template <class T>
    std::optional<platform::UrlError::Code> failure(const runtime::TaskHandle<T>& handle) {
        try {
            finish(handle);
            return std::nullopt;
        } catch (const platform::UrlError& error) {
            EXPECT_STRNE(error.what(), "");
            return error.code();
        }
    }
    template <class T>
    std::optional<platform::UrlError::Code> failure(runtime::Task<T> task) {
        return failure(start(std::move(task)));
    }

    static constexpr double timeoutSeconds = 30;

private:
    struct Gate {
        std::optional<runtime::Continuation<>> continuation; ///< destroyed after `isClosed`
        std::atomic<bool> isClosed = false;
    };

    template <class T>
    static runtime::Task<T> gated(std::shared_ptr<Gate> gate, runtime::Task<T> task) {
        co_await runtime::suspend<void>([gate](runtime::Continuation<> continuation) {
            gate->continuation.emplace(std::move(continuation));
            gate->isClosed = true;
        });
        co_return co_await std::move(task);
    }

    const std::shared_ptr<runtime::TaskRegistry> registry_ = std::make_shared<runtime::TaskRegistry>();
    runtime::TaskPool pool_{2, registry_};
    const runtime::Actor serial_ = pool_.makeSerialActor("in order");
};

/// Returns up to this many lines of an answer.
inline runtime::Task<std::vector<std::string>> linesOf(std::shared_ptr<platform::UrlLines> lines,
                                                       std::size_t most = SIZE_MAX) {
    std::vector<std::string> all;
    while (all.size() < most) {
        auto line = co_await lines->next();
        if (!line)
            break;
        all.push_back(*std::move(line));
    }
    co_return all;
}

inline std::shared_ptr<const std::vector<std::byte>> makeBody(const std::string& text) {
    const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
    return std::make_shared<const std::vector<std::byte>>(bytes, bytes + text.size());
}

inline platform::UrlRequest requestTo(std::string url, std::string method = "GET") {
    platform::UrlRequest request;
    request.url = std::move(url);
    request.method = std::move(method);
    return request;
}

} // namespace sonvale::tests
