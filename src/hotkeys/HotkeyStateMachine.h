#pragma once

#include "hotkeys/HotkeyBinding.h"
#include "hotkeys/HotkeyEventType.h"
#include "platform/EventTap.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace sonvale::hotkeys {

/// Derives from the key events which action goes down or up, and which events are kept from the focused
/// application.
///
/// A hotkey of modifiers alone is also the beginning of other shortcuts, so its action waits for a delay that
/// the owner runs; further keys before its end turn it into another action or into none. Only `setBindings`
/// allocates. Not thread-safe.
///
/// A guard, off at first, is for desktops whose own shortcuts begin with the same modifiers (Alt+Tab, Alt+F4,
/// a menu's letter). While it is on, a press of modifiers alone that would record while it is held
/// - begins only when a modifier goes down, not when another one goes up;
/// - delivers nothing if another key goes down before the end of the delay, and `discarded` if one goes down
/// later. All keys count except modifiers and the program's own hotkeys, which keep their meaning;
/// - delivers nothing if it ends before the end of the delay, and `discarded` if it ends later but within
/// `minGuardedPress`. A press that begins during a dictation keeps its meaning, so that a tap ends it.
class HotkeyStateMachine {
public:
    /// The shortest press of modifiers alone that the guard accepts, in seconds from the moment when the
    /// modifier goes down.
    static constexpr double minGuardedPress = 0.3;

    /// The action of the owner for the timer of the delay.
    enum class Delay { leave, start, cancel };

    struct Delivery {
        HotkeyAction action = HotkeyAction::pushToTalk;
        HotkeyEventType type = HotkeyEventType::down;
        bool operator==(const Delivery&) const = default;
    };

    /// The result of one event.
    struct Decision {
        platform::KeyVerdict verdict = platform::KeyVerdict::pass;
        Delay delay = Delay::leave;

        /// The events for the listener, delivered together and in order.
        std::span<const Delivery> deliveries() const { return std::span(delivered).first(deliveryCount); }

        std::array<Delivery, 2> delivered{};
        std::size_t deliveryCount = 0;
    };

    /// Replaces the active hotkeys by the enabled bindings. Forgets a press in progress without an `up`.
    void setBindings(const HotkeyBindings& bindings);

    /// Forgets all bindings and a press in progress.
    void reset();

    /// Turns the guard on or off for later presses.
    void setGuard(bool isOn) { isGuardOn_ = isOn; }

    /// Sets whether a dictation runs. The guard treats a press that begins during a dictation differently.
    void setDictating(bool isDictating) { isDictating_ = isDictating; }
    bool isDictating() const { return isDictating_; }

    /// Decides about a key event other than `tapDisabled`. `now` is in seconds of a clock that never goes
    /// back.
    Decision handle(const platform::KeyEvent& event, double now);

    /// Handles the end of the delay: the waiting action, if any, goes down.
    Decision delayElapsed();

private:
    /// One hotkey in a form for comparisons with events.
    struct Shortcut {
        std::int64_t keyCode = 0;
        std::uint64_t modifiers = 0; ///< within `platform::modifier::mask`
    };

    Decision keyDown(std::int64_t keyCode, std::uint64_t flags);
    Decision keyUp(std::int64_t keyCode);
    Decision flagsChanged(std::uint64_t flags, double now);
    Decision flagsChangedWhileWaiting(std::uint64_t flags);
    Decision flagsChangedWhileHeld(std::uint64_t flags, double now);
    bool isTooShort(double now) const;

    std::optional<HotkeyAction> matchAction(std::int64_t keyCode, std::uint64_t flags) const;
    const std::vector<Shortcut>& shortcuts(HotkeyAction action) const;
    bool hasKey(HotkeyAction action, std::int64_t keyCode) const;
    /// Returns the modifiers of the action's first hotkey of modifiers alone.
    std::optional<std::uint64_t> modifiersAlone(HotkeyAction action) const;

    std::array<std::vector<Shortcut>, allHotkeyActions.size()>
        listened_; ///< for each action; empty if disabled
    std::optional<HotkeyAction> pressed_;
    std::optional<HotkeyAction> waiting_;

    bool isGuardOn_ = false;
    bool isDictating_ = false;
    std::uint64_t flags_ = 0; ///< after the last change
    // State of the last press of modifiers alone.
    bool isGuarded_ = false;     ///< whether the guard applies to it
    bool isHeldByGuard_ = false; ///< whether `pressed_` is held by it and the guard applies
    double pressBegan_ = 0;
};

} // namespace sonvale::hotkeys
