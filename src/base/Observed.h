#pragma once

#include <functional>
#include <map>
#include <memory>
#include <utility>

namespace sonvale::base {

/// Ends an observation when it is destroyed. It may outlive the observed value.
class Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::function<void()> end)
        : end_(std::move(end)) {}
    Subscription(Subscription&& other) noexcept
        : end_(std::exchange(other.end_, nullptr)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            reset();
            end_ = std::exchange(other.end_, nullptr);
        }
        return *this;
    }
    ~Subscription() { reset(); }

    /// Ends the observation now; a second call does nothing.
    void reset() {
        if (auto end = std::exchange(end_, nullptr))
            end();
    }

private:
    std::function<void()> end_;
};

/// A value that notifies its observers of changes. Setting an equal value does not notify.
///
/// Belongs to one actor: every call and every notification happens there. From inside a notification an
/// observer may end its own or another subscription, and may set the value again.
template <class T>
class Observed {
public:
    Observed() = default;
    explicit Observed(T value)
        : value_(std::move(value)) {}
    Observed(const Observed&) = delete;
    Observed& operator=(const Observed&) = delete;

    const T& get() const { return value_; }
    const T& operator*() const { return value_; }
    const T* operator->() const { return &value_; }

    /// Sets the value and notifies the observers if it differs. Returns whether it differed.
    bool set(T value) {
        if (value_ == value)
            return false;
        value_ = std::move(value);
        notify();
        return true;
    }

    Observed& operator=(T value) {
        set(std::move(value));
        return *this;
    }

    /// Calls `observer` with the new value after each change, until the subscription ends.
    [[nodiscard]] Subscription subscribe(std::function<void(const T&)> observer) {
        const auto id = observers_->next++;
        observers_->entries.emplace(id, std::make_shared<Observer>(std::move(observer)));
        return Subscription([weak = std::weak_ptr<Observers>(observers_), id] {
            if (const auto observers = weak.lock())
                observers->entries.erase(id);
        });
    }

private:
    using Observer = std::function<void(const T&)>;
    struct Observers {
        std::map<unsigned long, std::shared_ptr<Observer>> entries;
        unsigned long next = 0;
    };

    void notify() {
        // Iterates over a copy, because a notification may add or end subscriptions. Skips ended ones.
        const auto observers = observers_;
        const auto round = observers->entries;
        for (const auto& [id, observer] : round) {
            if (observers->entries.contains(id))
                (*observer)(value_);
        }
    }

    T value_{};
    std::shared_ptr<Observers> observers_ = std::make_shared<Observers>();
};

} // namespace sonvale::base
