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

/// Tells from the stream of key events which action goes down or up, and which events are kept from the
/// focused application.
///
/// A shortcut of modifiers alone is also the first half of other shortcuts, so its action waits for a delay
/// that the owner runs; it becomes something else, or nothing, when more keys come before its end. Nothing
/// here allocates but `setBindings`. Not safe to use from two threads at once.
///
/// A guard, off at first, is for desktops whose own shortcuts begin with the same modifiers (Alt+Tab, Alt+F4,
/// a menu's letter). While it is on, a press of modifiers alone that would record while it is held
/// - begins only when a modifier goes down, not when another one goes up;
/// - delivers nothing if another key goes down before the delay is over, and `discarded` if one goes down
///   later. Every key counts but modifiers and the program's own hotkeys, which keep their meaning;
/// - delivers nothing if it ends before the delay is over, and `discarded` if it ends later but within
///   `minGuardedPress`. A press that begins during a dictation keeps its meaning, so that a tap ends it.
class HotkeyStateMachine {
public:
    /// The shortest press of modifiers alone that the guard lets through, in seconds, from the moment at
    /// which the modifier goes down.
    static constexpr double minGuardedPress = 0.3;

    /// What the owner has to do with the timer of the delay.
    enum class Delay { leave, start, cancel };

    struct Delivery {
        HotkeyAction action = HotkeyAction::pushToTalk;
        HotkeyEventType type = HotkeyEventType::down;
        bool operator==(const Delivery&) const = default;
    };

    /// The outcome of one event.
    struct Decision {
        platform::KeyVerdict verdict = platform::KeyVerdict::pass;
        Delay delay = Delay::leave;

        /// What goes to the listener, in order and in one piece.
        std::span<const Delivery> deliveries() const { return std::span(delivered).first(deliveryCount); }

        std::array<Delivery, 2> delivered{};
        std::size_t deliveryCount = 0;
    };

    /// Listens for the enabled bindings from now on. A press in progress is forgotten without an `up`.
    void setBindings(const HotkeyBindings& bindings);

    /// Forgets all bindings and any press in progress.
    void reset();

    /// Turns the guard on or off, from the next press on.
    void setGuard(bool isOn) { isGuardOn_ = isOn; }

    /// Whether a dictation runs. The guard treats a press that begins meanwhile differently.
    void setDictating(bool isDictating) { isDictating_ = isDictating; }
    bool isDictating() const { return isDictating_; }

    /// Decides about a key event; not for `tapDisabled`. `now` in seconds of a clock that does not go back.
    Decision handle(const platform::KeyEvent& event, double now);

    /// The delay has run to its end: the waiting action goes down, if one still waits.
    Decision delayElapsed();

private:
    /// One shortcut, ready to be compared with events.
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
    /// Modifiers of the action's first shortcut that is made of modifiers alone.
    std::optional<std::uint64_t> modifiersAlone(HotkeyAction action) const;

    std::array<std::vector<Shortcut>, allHotkeyActions.size()>
        listened_; ///< for each action, none when disabled
    std::optional<HotkeyAction> pressed_;
    std::optional<HotkeyAction> waiting_;

    bool isGuardOn_ = false;
    bool isDictating_ = false;
    std::uint64_t flags_ = 0; ///< after the last change
    // About the last press of modifiers alone.
    bool isGuarded_ = false;     ///< it is subject to the guard
    bool isHeldByGuard_ = false; ///< it is what `pressed_` is held by, and guarded
    double pressBegan_ = 0;
};

} // namespace sonvale::hotkeys
