#include "adapters/x11/selections/X11Pasteboard.h"

#include "adapters/posix/BrokenPipeGuard.h"
#include "adapters/posix/WakeUp.h"
#include "adapters/x11/selections/X11Clipboard.h"

#include <pthread.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

namespace sonvale::adapters::x11 {

namespace {

/// An answer to a question about the contents. The program's own contents are copied on the caller's thread:
/// the copy of much data would block the thread that serves other programs.
template <class T>
struct Reading {
    X11SelectionServer::ContentsPointer own;
    std::optional<T> other;
};

} // namespace

/// The thread of the clipboard, and the orders that it runs between serving other programs.
class X11Pasteboard::Worker {
public:
    Worker(const runtime::Clock& clock, const std::string& displayName) {
        {
            const posix::BrokenPipeGuard guard;
            clipboard_ = std::make_unique<X11Clipboard>(clock, displayName);
        }
        thread_ = std::thread([this] { run(); });
    }

    ~Worker() {
        perform([](X11Clipboard& clipboard) {
            clipboard.handOver();
            return true;
        });
        {
            const std::lock_guard lock(mutex_);
            isEnding_ = true;
        }
        wakeUp_.signal();
        // Otherwise the thread would block while it sends to a server that has stopped reading.
        if (ended_.get_future().wait_for(maxEndTime) == std::future_status::timeout)
            clipboard_->disconnect();
        thread_.join();
    }

    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Runs `order` on the thread. Returns nullopt if it takes too long, which happens only if the server
    /// hangs.
    template <class Order>
    auto perform(Order order) -> std::optional<decltype(order(std::declval<X11Clipboard&>()))> {
        using Result = decltype(order(std::declval<X11Clipboard&>()));
        return ask<Result>(maxOrderTime,
                           [order = std::move(order)](X11Clipboard& clipboard, const auto& answer) mutable {
                               answer(order(clipboard));
                           });
    }

    /// As `perform`, but for an order that may answer after it has returned.
    template <class Result, class Order>
    std::optional<Result> ask(std::chrono::milliseconds limit, Order order) {
        struct Answer {
            std::mutex mutex;
            std::condition_variable given;
            std::optional<Result> result; ///< guarded by `mutex`
        };
        const auto answer = std::make_shared<Answer>();
        post([order = std::move(order), answer](X11Clipboard& clipboard) mutable {
            order(clipboard, std::function<void(Result)>([answer](Result result) {
                      {
                          const std::lock_guard lock(answer->mutex);
                          answer->result = std::move(result);
                      }
                      answer->given.notify_all();
                  }));
        });
        std::unique_lock lock(answer->mutex);
        answer->given.wait_for(lock, limit, [&] { return answer->result.has_value(); });
        return std::move(answer->result);
    }

    /// Runs `order` on the thread and does not wait for it.
    void post(std::function<void(X11Clipboard&)> order) {
        {
            const std::lock_guard lock(mutex_);
            orders_.push_back(std::move(order));
        }
        wakeUp_.signal();
    }

    static constexpr std::chrono::milliseconds maxOrderTime{2500};

private:
    static constexpr std::chrono::milliseconds maxEndTime{500};

    void run() {
        pthread_setname_np(pthread_self(), "clipboard");
        const posix::BrokenPipeGuard guard;
        while (runOrders())
            clipboard_->serveAndWait(wakeUp_.descriptor());
        ended_.set_value();
    }

    /// Returns false if the thread must end.
    bool runOrders() {
        wakeUp_.clear();
        std::unique_lock lock(mutex_);
        while (!orders_.empty()) {
            const auto order = std::move(orders_.front());
            orders_.pop_front();
            lock.unlock();
            order(*clipboard_);
            lock.lock();
        }
        return !isEnding_;
    }

    std::unique_ptr<X11Clipboard> clipboard_;
    const posix::WakeUp wakeUp_;
    std::mutex mutex_;
    std::deque<std::function<void(X11Clipboard&)>> orders_; ///< guarded by `mutex_`
    bool isEnding_ = false;                                 ///< guarded by `mutex_`
    std::promise<void> ended_;
    std::thread thread_;
};

X11Pasteboard::X11Pasteboard(const runtime::Clock& clock, const std::string& displayName)
    : worker_(std::make_unique<Worker>(clock, displayName)) {}

X11Pasteboard::~X11Pasteboard() = default;

std::int64_t X11Pasteboard::changeCount() {
    if (const auto count = worker_->perform([](X11Clipboard& clipboard) { return clipboard.changeCount(); }))
        lastCount_ = *count;
    return lastCount_;
}

void X11Pasteboard::prefetch() {
    worker_->post([](X11Clipboard& clipboard) { clipboard.prefetch(); });
}

void X11Pasteboard::dropPrefetch() {
    worker_->post([](X11Clipboard& clipboard) { clipboard.dropPrefetch(); });
}

std::optional<std::vector<platform::PasteboardItem>> X11Pasteboard::items() {
    using Items = Reading<std::vector<platform::PasteboardItem>>;
    const auto limit =
        Worker::maxOrderTime + std::chrono::seconds(static_cast<int>(X11Clipboard::itemsSeconds));
    auto reading =
        worker_->ask<Items>(limit, [](X11Clipboard& clipboard, const std::function<void(Items)>& answer) {
            if (auto own = clipboard.ownContents())
                answer({std::move(own), std::nullopt});
            else
                clipboard.readItems([answer](auto items) { answer({nullptr, std::move(items)}); });
        });
    if (!reading)
        return std::nullopt;
    return reading->own ? reading->own->copy() : std::move(reading->other);
}

void X11Pasteboard::clearContents() {
    worker_->perform([](X11Clipboard& clipboard) {
        clipboard.clearContents();
        return true;
    });
}

void X11Pasteboard::setString(const std::string& text) {
    auto contents = X11SelectionContents::fromText(text);
    worker_->perform([contents = std::move(contents)](X11Clipboard& clipboard) mutable {
        clipboard.writeText(std::move(contents));
        return true;
    });
}

void X11Pasteboard::writeItems(std::vector<platform::PasteboardItem> items) {
    auto contents = X11SelectionContents::fromItems(std::move(items));
    worker_->perform([contents = std::move(contents)](X11Clipboard& clipboard) mutable {
        clipboard.writeItems(std::move(contents));
        return true;
    });
}

std::optional<std::string> X11Pasteboard::string() {
    auto reading = worker_->perform([](X11Clipboard& clipboard) {
        Reading<std::string> r{clipboard.ownContents(), std::nullopt};
        if (!r.own)
            r.other = clipboard.readText();
        return r;
    });
    if (!reading)
        return std::nullopt;
    return reading->own ? reading->own->text() : std::move(reading->other);
}

void X11Pasteboard::offerPrimary() {
    worker_->perform([](X11Clipboard& clipboard) {
        clipboard.offerPrimary();
        return true;
    });
}

} // namespace sonvale::adapters::x11
