#pragma once

#include "base/Observed.h"
#include "hotkeys/HotkeyBinding.h"
#include "hotkeys/HotkeyEventType.h"
#include "platform/EventTap.h"
#include "runtime/Actor.h"
#include "runtime/Clock.h"

#include <functional>
#include <memory>

namespace sonvale::hotkeys {

/// Listens to all keys of the session and reports which action goes down or up.
///
/// Belongs to the main actor: created, called and destroyed there. It decides about each event on the tap's
/// own thread without waiting. The clock and the tap must outlive it.
class HotkeyManager {
public:
    /// Receives the presses on the main actor, in the order of the events. The `down` and `up` of a quick tap
    /// follow each other directly.
    using OnAction = std::function<void(HotkeyAction, HotkeyEventType)>;

    /// Time in seconds that modifiers must be held alone before their action goes down.
    static constexpr double modifierDelaySeconds = 0.15;

    HotkeyManager(runtime::Actor main, runtime::Clock& clock, platform::EventTap& tap);
    HotkeyManager(const HotkeyManager&) = delete;
    HotkeyManager& operator=(const HotkeyManager&) = delete;
    /// Stops listening. Delivers nothing more; `isEnabled` becomes false in a later turn of the main actor.
    ~HotkeyManager();

    /// Starts listening. Returns true also if it already listens. Returns false without any change if the
    /// system refuses.
    bool start();

    /// Replaces the active hotkeys by the enabled `bindings`, between two events. Forgets a press in
    /// progress: its `up` is never delivered. May be called before `start()`.
    void updateBindings(const HotkeyBindings& bindings);

    /// Turns the guard of hotkeys of modifiers alone on or off, between two events; see `HotkeyStateMachine`.
    /// The guard is off at first. May be called before `start()`.
    void setModifierGuard(bool isOn);

    /// Sets whether a dictation runs, between two events. A tap of modifiers then ends it, also with the
    /// guard. May be called before `start()`.
    void setDictating(bool isDictating);

    /// Sets the one receiver; an empty one drops the presses. It is kept until this object is destroyed, so
    /// it should hold its owner weakly.
    void setOnAction(OnAction onAction);

    /// Returns whether it listens, for display. The value follows `start()` by a turn of the main actor.
    const base::Observed<bool>& isEnabled() const;
    base::Observed<bool>& isEnabled();

private:
    class Listener;
    struct Receiver;

    /// Changes the listener's state between two events.
    void change(std::function<void(Listener&)> change);

    runtime::Actor main_;
    platform::EventTap& tap_;
    std::shared_ptr<Receiver> receiver_;
    std::shared_ptr<Listener> listener_;
    bool isListening_ = false;
};

} // namespace sonvale::hotkeys
