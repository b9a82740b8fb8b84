#include "hotkeys/HotkeyManager.h"

#include "hotkeys/HotkeyStateMachine.h"

#include <limits>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace sonvale::hotkeys {

namespace {

/// Returns the combinations that can be kept from the focused application. The combinations of `cancel`
/// always reach it.
std::vector<platform::KeyCombination> swallowable(const HotkeyBindings& bindings) {
    std::vector<platform::KeyCombination> combinations;
    for (const auto& [key, binding] : bindings) {
        if (!binding.isEnabled || binding.action == HotkeyAction::cancel)
            continue;
        for (const auto& config : binding.configs) {
            // There are no keys beyond this range; such a hotkey comes from a file that a user edited.
            if (config.keyCode >= 0 && std::in_range<int>(config.keyCode)) {
                combinations.push_back(
                    {static_cast<int>(config.keyCode), config.modifiers & platform::modifier::mask});
            }
        }
    }
    return combinations;
}

} // namespace

/// The part of the manager on the main actor.
struct HotkeyManager::Receiver {
    base::Observed<bool> isEnabled{false};
    OnAction onAction;
};

/// The part of the manager on the tap's thread.
class HotkeyManager::Listener : public std::enable_shared_from_this<Listener> {
public:
    Listener(runtime::Actor main, runtime::Clock& clock, platform::EventTap& tap,
             std::weak_ptr<Receiver> receiver)
        : main_(std::move(main))
        , clock_(clock)
        , tap_(&tap)
        , receiver_(std::move(receiver)) {}

    platform::KeyVerdict handle(const platform::KeyEvent& event) {
        if (event.type == platform::KeyEvent::Type::tapDisabled) {
            tap_->enable();
            return platform::KeyVerdict::pass;
        }
        const auto decision = machine_.handle(event, clock_.now());
        if (decision.delay != HotkeyStateMachine::Delay::leave)
            cancelDelay();
        if (decision.delay == HotkeyStateMachine::Delay::start)
            startDelay();
        if (needsMask(event, decision))
            tap_->maskHeldKeys();
        deliver(decision);
        return decision.verdict;
    }

    void setBindings(const HotkeyBindings& bindings) { machine_.setBindings(bindings); }
    void setGuard(bool isOn) { machine_.setGuard(isOn); }
    void setDictating(bool isDictating) { machine_.setDictating(isDictating); }

    /// Called after the tap has stopped. Only the timer may still run.
    void close() {
        cancelDelay();
        machine_.reset();
        const std::lock_guard lock(tapMutex_);
        tap_ = nullptr;
    }

private:
    void startDelay() {
        timer_ = clock_.schedule(modifierDelaySeconds, [weak = weak_from_this(), number = delayNumber_] {
            if (const auto self = weak.lock())
                self->passOnToTap(number);
        });
    }

    /// A timer that has already fired finds that its number is no longer current.
    void cancelDelay() {
        ++delayNumber_;
        if (const auto timer = std::exchange(timer_, std::nullopt))
            clock_.cancel(*timer);
    }

    /// Runs on the clock's thread. The end of the delay is handled between two key events, on their thread.
    void passOnToTap(unsigned number) {
        const std::lock_guard lock(tapMutex_);
        if (tap_ == nullptr)
            return;
        tap_->perform([weak = weak_from_this(), number] {
            const auto self = weak.lock();
            if (self && self->delayNumber_ == number)
                self->endDelay();
        });
    }

    void endDelay() {
        const auto decision = machine_.delayElapsed();
        // The text is pasted after the release of the modifiers, which must not move the keyboard to a menu.
        if (decision.deliveryCount > 0)
            tap_->maskHeldKeys();
        deliver(decision);
    }

    bool needsMask(const platform::KeyEvent& event, const HotkeyStateMachine::Decision& decision) const {
        // During a dictation a tap of the modifiers ends it, and its last text is pasted afterwards.
        if (decision.delay == HotkeyStateMachine::Delay::start)
            return machine_.isDictating();
        // The cancel key reaches the application, but its repeats must not. A tap that cannot swallow them
        // must end them.
        const HotkeyStateMachine::Delivery cancelDown{HotkeyAction::cancel, HotkeyEventType::down};
        return event.type == platform::KeyEvent::Type::keyDown && decision.deliveryCount > 0 &&
               decision.delivered.front() == cancelDown;
    }

    void deliver(const HotkeyStateMachine::Decision& decision) const {
        if (decision.deliveryCount == 0)
            return;
        main_.post([receiver = receiver_, decision] {
            for (const auto& [action, type] : decision.deliveries()) {
                // The receiver may destroy the manager, and itself, during the call.
                const auto alive = receiver.lock();
                if (const auto onAction = alive ? alive->onAction : OnAction())
                    onAction(action, type);
            }
        });
    }

    runtime::Actor main_;
    runtime::Clock& clock_;
    HotkeyStateMachine machine_;
    std::optional<runtime::Clock::TimerId> timer_;
    unsigned delayNumber_ = 0;

    // Written once at the end. The tap's own thread reads it without a lock, because it has ended by then.
    std::mutex tapMutex_;
    platform::EventTap* tap_;

    std::weak_ptr<Receiver> receiver_;
};

HotkeyManager::HotkeyManager(runtime::Actor main, runtime::Clock& clock, platform::EventTap& tap)
    : main_(std::move(main))
    , tap_(tap)
    , receiver_(std::make_shared<Receiver>())
    , listener_(std::make_shared<Listener>(main_, clock, tap, receiver_)) {}

HotkeyManager::~HotkeyManager() {
    if (isListening_)
        tap_.stop();
    listener_->close();
    receiver_->onAction = nullptr;
    // Held strongly, because observers of the flag may outlive this object.
    main_.post([receiver = receiver_] { receiver->isEnabled = false; });
}

bool HotkeyManager::start() {
    main_.assertCurrent();
    if (isListening_)
        return true;
    isListening_ = tap_.start(
        [listener = listener_](const platform::KeyEvent& event) { return listener->handle(event); });
    if (!isListening_)
        return false;
    main_.post([weak = std::weak_ptr(receiver_)] {
        if (const auto receiver = weak.lock())
            receiver->isEnabled = true;
    });
    return true;
}

void HotkeyManager::updateBindings(const HotkeyBindings& bindings) {
    main_.assertCurrent();
    tap_.setSwallowable(swallowable(bindings));
    change([bindings](Listener& listener) { listener.setBindings(bindings); });
}

void HotkeyManager::setModifierGuard(bool isOn) {
    main_.assertCurrent();
    change([isOn](Listener& listener) { listener.setGuard(isOn); });
}

void HotkeyManager::setDictating(bool isDictating) {
    main_.assertCurrent();
    change([isDictating](Listener& listener) { listener.setDictating(isDictating); });
}

void HotkeyManager::change(std::function<void(Listener&)> change) {
    if (!isListening_) {
        change(*listener_);
        return;
    }
    tap_.perform([weak = std::weak_ptr(listener_), change = std::move(change)] {
        if (const auto listener = weak.lock())
            change(*listener);
    });
}

void HotkeyManager::setOnAction(OnAction onAction) {
    receiver_->onAction = std::move(onAction);
}

const base::Observed<bool>& HotkeyManager::isEnabled() const {
    return receiver_->isEnabled;
}

base::Observed<bool>& HotkeyManager::isEnabled() {
    return receiver_->isEnabled;
}

} // namespace sonvale::hotkeys
