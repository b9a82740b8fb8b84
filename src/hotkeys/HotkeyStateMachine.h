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
class HotkeyStateMachine {
public:
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

    /// Decides about a key event; not for `tapDisabled`.
    Decision handle(const platform::KeyEvent& event);

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
    Decision flagsChanged(std::uint64_t flags);
    Decision flagsChangedWhileWaiting(std::uint64_t flags);
    Decision flagsChangedWhileHeld(std::uint64_t flags);

    std::optional<HotkeyAction> matchAction(std::int64_t keyCode, std::uint64_t flags) const;
    const std::vector<Shortcut>& shortcuts(HotkeyAction action) const;
    bool hasKey(HotkeyAction action, std::int64_t keyCode) const;
    /// Modifiers of the action's first shortcut that is made of modifiers alone.
    std::optional<std::uint64_t> modifiersAlone(HotkeyAction action) const;

    std::array<std::vector<Shortcut>, allHotkeyActions.size()>
        listened_; ///< for each action, none when disabled
    std::optional<HotkeyAction> pressed_;
    std::optional<HotkeyAction> waiting_;
};

} // namespace sonvale::hotkeys
