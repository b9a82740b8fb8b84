#include "hotkeys/HotkeyStateMachine.h"

#include <algorithm>
#include <utility>

namespace sonvale::hotkeys {

namespace {

using platform::KeyEvent;
using platform::KeyVerdict;
using Decision = HotkeyStateMachine::Decision;
using Delay = HotkeyStateMachine::Delay;

/// Returns whether an action's key is swallowed. The cancel hotkey is usually Escape, which must also reach
/// the focused application.
KeyVerdict verdictFor(HotkeyAction action) {
    return action == HotkeyAction::cancel ? KeyVerdict::pass : KeyVerdict::swallow;
}

Decision deliver(HotkeyAction action, HotkeyEventType type, KeyVerdict verdict, Delay delay = Delay::leave) {
    return {.verdict = verdict, .delay = delay, .delivered = {{{action, type}}}, .deliveryCount = 1};
}

/// Returns whether an action records while its hotkey is held.
bool recordsWhileHeld(HotkeyAction action) {
    return action == HotkeyAction::pushToTalk || action == HotkeyAction::commandMode;
}

bool contains(std::uint64_t flags, std::uint64_t modifiers) {
    return (flags & modifiers) == modifiers;
}

} // namespace

void HotkeyStateMachine::setBindings(const HotkeyBindings& bindings) {
    reset();
    for (const auto& [key, binding] : bindings) {
        if (!binding.isEnabled)
            continue;
        auto& shortcuts = listened_.at(static_cast<std::size_t>(binding.action));
        shortcuts.clear();
        for (const auto& config : binding.configs)
            shortcuts.push_back({config.keyCode, config.modifiers & platform::modifier::mask});
    }
}

void HotkeyStateMachine::reset() {
    listened_ = {};
    pressed_.reset();
    waiting_.reset();
}

Decision HotkeyStateMachine::handle(const KeyEvent& event, double now) {
    const auto flags = event.flags & platform::modifier::mask;
    switch (event.type) {
    case KeyEvent::Type::keyDown:
        return keyDown(event.keyCode, flags);
    case KeyEvent::Type::keyUp:
        return keyUp(event.keyCode);
    case KeyEvent::Type::flagsChanged:
        return flagsChanged(flags, now);
    case KeyEvent::Type::tapDisabled:
        break;
    }
    return {};
}

Decision HotkeyStateMachine::delayElapsed() {
    if (!waiting_)
        return {};
    pressed_ = std::exchange(waiting_, std::nullopt);
    isHeldByGuard_ = isGuarded_;
    return deliver(*pressed_, HotkeyEventType::down, KeyVerdict::pass);
}

Decision HotkeyStateMachine::keyDown(std::int64_t keyCode, std::uint64_t flags) {
    // A key without a code of its own has -1, which means "modifiers only" in a hotkey.
    const auto match = keyCode < 0 ? std::nullopt : matchAction(keyCode, flags);

    if (waiting_) {
        const auto waited = *std::exchange(waiting_, std::nullopt);
        if (isGuardOn_ && !match && recordsWhileHeld(waited))
            return {.delay = Delay::cancel};
        isHeldByGuard_ = false;
        pressed_ = match.value_or(waited);
        return deliver(*pressed_, HotkeyEventType::down, match ? verdictFor(*match) : KeyVerdict::pass,
                       Delay::cancel);
    }

    if (pressed_) {
        if (isHeldByGuard_ && !match)
            return deliver(*std::exchange(pressed_, std::nullopt), HotkeyEventType::discarded,
                           KeyVerdict::pass);
        // The same key again is a repeat. It is swallowed even if the press itself was not.
        return {.verdict = hasKey(*pressed_, keyCode) ? KeyVerdict::swallow : KeyVerdict::pass};
    }

    if (!match)
        return {};
    isHeldByGuard_ = false;
    pressed_ = match;
    return deliver(*match, HotkeyEventType::down, verdictFor(*match));
}

Decision HotkeyStateMachine::keyUp(std::int64_t keyCode) {
    if (!pressed_ || !hasKey(*pressed_, keyCode))
        return {};
    const auto released = *std::exchange(pressed_, std::nullopt);
    return deliver(released, HotkeyEventType::up, verdictFor(released));
}

Decision HotkeyStateMachine::flagsChanged(std::uint64_t flags, double now) {
    const bool hasGrown = (flags & ~std::exchange(flags_, flags)) != 0;
    if (pressed_)
        return flagsChangedWhileHeld(flags, now);
    if (waiting_)
        return flagsChangedWhileWaiting(flags);

    const auto match = matchAction(HotkeyConfiguration::modifiersOnly, flags);
    if (!match)
        return {};
    const bool isGuarded = isGuardOn_ && recordsWhileHeld(*match);
    // After Alt+Shift+Tab, Shift usually goes up first.
    if (isGuarded && !hasGrown)
        return {};
    waiting_ = match;
    isGuarded_ = isGuarded && !isDictating_;
    pressBegan_ = now;
    return {.delay = Delay::start};
}

Decision HotkeyStateMachine::flagsChangedWhileWaiting(std::uint64_t flags) {
    const auto required = modifiersAlone(*waiting_).value_or(0);
    if (required != 0 && contains(flags, required)) {
        if (flags == required)
            return {};
        // Another modifier was added: the chord belongs to another shortcut.
        waiting_.reset();
        return {.delay = Delay::cancel};
    }

    // A release before the end of the delay is a quick tap.
    const auto tapped = *std::exchange(waiting_, std::nullopt);
    if (isGuarded_)
        return {.delay = Delay::cancel};
    return {.delay = Delay::cancel,
            .delivered = {{{tapped, HotkeyEventType::down}, {tapped, HotkeyEventType::up}}},
            .deliveryCount = 2};
}

Decision HotkeyStateMachine::flagsChangedWhileHeld(std::uint64_t flags, double now) {
    if (const auto required = modifiersAlone(*pressed_)) {
        if (*required != 0 && contains(flags, *required)) {
            if (flags == *required)
                return {};
            pressed_.reset();
            return deliver(HotkeyAction::cancel, HotkeyEventType::down, KeyVerdict::pass);
        }
    } else {
        // If the modifier is released before the key, the press is over. A hotkey without modifiers needs the
        // key.
        const auto stillHeld = [flags](const Shortcut& shortcut) {
            return contains(flags, shortcut.modifiers);
        };
        if (std::ranges::any_of(shortcuts(*pressed_), stillHeld))
            return {};
    }

    const auto type = isTooShort(now) ? HotkeyEventType::discarded : HotkeyEventType::up;
    return deliver(*std::exchange(pressed_, std::nullopt), type, KeyVerdict::pass);
}

bool HotkeyStateMachine::isTooShort(double now) const {
    return isHeldByGuard_ && now - pressBegan_ < minGuardedPress;
}

std::optional<HotkeyAction> HotkeyStateMachine::matchAction(std::int64_t keyCode, std::uint64_t flags) const {
    const auto isPressed = [keyCode, flags](const Shortcut& shortcut) {
        return shortcut.keyCode == keyCode && shortcut.modifiers == flags;
    };
    for (const auto action : allHotkeyActions) {
        if (std::ranges::any_of(shortcuts(action), isPressed))
            return action;
    }
    return std::nullopt;
}

const std::vector<HotkeyStateMachine::Shortcut>& HotkeyStateMachine::shortcuts(HotkeyAction action) const {
    return listened_[static_cast<std::size_t>(action)];
}

bool HotkeyStateMachine::hasKey(HotkeyAction action, std::int64_t keyCode) const {
    const auto isOnKey = [keyCode](const Shortcut& shortcut) { return shortcut.keyCode == keyCode; };
    return keyCode >= 0 && std::ranges::any_of(shortcuts(action), isOnKey);
}

std::optional<std::uint64_t> HotkeyStateMachine::modifiersAlone(HotkeyAction action) const {
    const auto& candidates = shortcuts(action);
    const auto entry = std::ranges::find(candidates, HotkeyConfiguration::modifiersOnly, &Shortcut::keyCode);
    return entry == candidates.end() ? std::nullopt : std::optional(entry->modifiers);
}

} // namespace sonvale::hotkeys
