#include "hotkeys/HotkeyManager.h"

#include "hotkeys/HotkeyStateMachine.h"

#include <limits>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace sonvale::hotkeys {

namespace {

/// The combinations that may be kept from the focused application. Those of `cancel` always reach it.
std::vector<platform::KeyCombination> swallowable(const HotkeyBindings& bindings) {
    std::vector<platform::KeyCombination> combinations;
    for (const auto& [key, binding] : bindings) {
        if (!binding.isEnabled || binding.action == HotkeyAction::cancel)
            continue;
        for (const auto& config : binding.configs) {
            // Beyond this range there are no keys; such a shortcut came from a file that was edited by hand.
            if (config.keyCode >= 0 && std::in_range<int>(config.keyCode)) {
                combinations.push_back(
                    {static_cast<int>(config.keyCode), config.modifiers & platform::modifier::mask});
            }
        }
    }
    return combinations;
}

} // namespace

/// What the manager has on the main actor; only touched there.
struct HotkeyManager::Receiver {
    base::Observed<bool> isEnabled{false};
    OnAction onAction;
};

/// What the manager has on the tap's thread.
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

    /// Called once the tap has stopped, so that nothing else is under way here but perhaps the timer.
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

    /// A timer that has fired already finds that its number is no longer the current one.
    void cancelDelay() {
        ++delayNumber_;
        if (const auto timer = std::exchange(timer_, std::nullopt))
            clock_.cancel(*timer);
    }

    /// On the clock's thread. The end of the delay is handled between two key events, on their thread.
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
        // The text is pasted after the modifiers' release, which must not have moved the keyboard to a menu.
        if (decision.deliveryCount > 0)
            tap_->maskHeldKeys();
        deliver(decision);
    }

    bool needsMask(const platform::KeyEvent& event, const HotkeyStateMachine::Decision& decision) const {
        // During a dictation a tap of the modifiers ends it, and its last text is pasted after that.
        if (decision.delay == HotkeyStateMachine::Delay::start)
            return machine_.isDictating();
        // The cancel key reaches the application, and its repeats must not. A tap that is not asked about
        // them has to end them.
        const HotkeyStateMachine::Delivery cancelDown{HotkeyAction::cancel, HotkeyEventType::down};
        return event.type == platform::KeyEvent::Type::keyDown && decision.deliveryCount > 0 &&
               decision.delivered.front() == cancelDown;
    }

    void deliver(const HotkeyStateMachine::Decision& decision) const {
        if (decision.deliveryCount == 0)
            return;
        main_.post([receiver = receiver_, decision] {
            for (const auto& [action, type] : decision.deliveries()) {
                // The receiver may end the manager, and with it itself, while it is called.
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

    // Written once at the end. The tap's own thread needs no lock to read it: it has ended by then.
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
    // Held strongly, because those who watch the flag may outlive this object.
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
