#pragma once

#include "platform/Pasteboard.h"

#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// A pasteboard in memory.
class FakePasteboard final : public platform::Pasteboard {
public:
    using Items = std::vector<platform::PasteboardItem>;
    enum class Call { changeCount, items, clearContents, setString, writeItems, string };

    /// The type of plain text.
    static constexpr const char* plainText = "public.utf8-plain-text";

    /// The operations for tests. Any thread.
    class Control {
    public:
        /// Changes the contents as another program does.
        void copyElsewhere(Items items) {
            const std::lock_guard lock(mutex_);
            items_ = std::move(items);
            ++changeCount_;
        }
        void copyElsewhere(const std::string& text) { copyElsewhere({textItem(text)}); }

        /// Returns what another program would paste.
        Items contents() const {
            const std::lock_guard lock(mutex_);
            return items_;
        }
        std::optional<std::string> text() const {
            const std::lock_guard lock(mutex_);
            return textOf(items_);
        }

        /// Makes the system unavailable: reading returns nullopt, writing does nothing.
        void setUnavailable(bool isUnavailable) {
            const std::lock_guard lock(mutex_);
            isUnavailable_ = isUnavailable;
        }

        /// Returns all calls of the port so far, in order.
        std::vector<Call> calls() const {
            const std::lock_guard lock(mutex_);
            return calls_;
        }

        /// Returns how many calls have started or dropped a prefetch.
        int prefetches() const {
            const std::lock_guard lock(mutex_);
            return prefetches_;
        }
        int drops() const {
            const std::lock_guard lock(mutex_);
            return drops_;
        }

        /// Sets a function that is called at the end of each call of the port except those two, on its
        /// thread.
        void setOnCall(std::function<void(Call)> onCall) {
            const std::lock_guard lock(mutex_);
            onCall_ = std::move(onCall);
        }

    private:
        friend class FakePasteboard;

        template <class Work>
        auto perform(Call call, Work work) {
            std::function<void(Call)> onCall;
            std::unique_lock lock(mutex_);
            calls_.push_back(call);
            onCall = onCall_;
            auto result = work();
            lock.unlock();
            if (onCall)
                onCall(call);
            return result;
        }

        static std::optional<std::string> textOf(const Items& items) {
            for (const auto& item : items) {
                for (const auto& form : item.representations) {
                    if (form.type == plainText)
                        return std::string(reinterpret_cast<const char*>(form.data.data()), form.data.size());
                }
            }
            return std::nullopt;
        }

        mutable std::mutex mutex_;
        Items items_;
        std::int64_t changeCount_ = 1;
        bool isUnavailable_ = false;
        std::vector<Call> calls_;
        int prefetches_ = 0;
        int drops_ = 0;
        std::function<void(Call)> onCall_;
    };

    Control& control() { return control_; }

    static platform::PasteboardItem textItem(const std::string& text) {
        const auto* data = reinterpret_cast<const std::byte*>(text.data());
        platform::PasteboardItem item;
        item.representations.push_back({plainText, {data, data + text.size()}, 8, {}});
        return item;
    }

    std::int64_t changeCount() override {
        return control_.perform(Call::changeCount, [this] { return control_.changeCount_; });
    }

    void prefetch() override {
        const std::lock_guard lock(control_.mutex_);
        ++control_.prefetches_;
    }

    void dropPrefetch() override {
        const std::lock_guard lock(control_.mutex_);
        ++control_.drops_;
    }

    std::optional<Items> items() override {
        return control_.perform(Call::items, [this] {
            return control_.isUnavailable_ ? std::nullopt : std::optional<Items>(control_.items_);
        });
    }

    void clearContents() override {
        change(Call::clearContents, [this] {
            control_.items_.clear();
            ++control_.changeCount_;
        });
    }

    void setString(const std::string& text) override {
        change(Call::setString, [this, &text] { control_.items_ = {textItem(text)}; });
    }

    void writeItems(Items items) override {
        change(Call::writeItems, [this, &items] { control_.items_ = std::move(items); });
    }

    std::optional<std::string> string() override {
        return control_.perform(Call::string, [this] {
            return control_.isUnavailable_ ? std::nullopt : Control::textOf(control_.items_);
        });
    }

private:
    template <class Work>
    void change(Call call, Work work) {
        control_.perform(call, [this, &work] {
            if (!control_.isUnavailable_)
                work();
            return true;
        });
    }

    Control control_;
};

} // namespace sonvale::tests
