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

/// Listens to every key of the session and tells which action goes down or up.
///
/// It belongs to the main actor: made, called and destroyed there. The decision about each event is made on
/// the tap's own thread without waiting for anybody. The clock and the tap must outlive it.
class HotkeyManager {
public:
    /// Receives the presses, on the main actor, in the order of the events. The `down` and `up` of a quick
    /// tap come directly after each other.
    using OnAction = std::function<void(HotkeyAction, HotkeyEventType)>;

    /// How long modifiers have to be held alone before their action goes down.
    static constexpr double modifierDelaySeconds = 0.15;

    HotkeyManager(runtime::Actor main, runtime::Clock& clock, platform::EventTap& tap);
    HotkeyManager(const HotkeyManager&) = delete;
    HotkeyManager& operator=(const HotkeyManager&) = delete;
    /// Ends listening. Nothing is delivered any more; `isEnabled` turns false in a later turn of the main
    /// actor.
    ~HotkeyManager();

    /// Starts listening; true as well when it listens already. False, with nothing changed, when the system
    /// refuses.
    bool start();

    /// Replaces what is listened for by the enabled ones of `bindings`, between two events. A press in
    /// progress is forgotten: its `up` never comes. May be called before `start()`.
    void updateBindings(const HotkeyBindings& bindings);

    /// Turns the guard of hotkeys that are modifiers alone on or off, between two events; see
    /// `HotkeyStateMachine`. Off at first. May be called before `start()`.
    void setModifierGuard(bool isOn);

    /// Notes whether a dictation runs, between two events. A tap of modifiers then ends it, with the guard
    /// too. May be called before `start()`.
    void setDictating(bool isDictating);

    /// Sets the one receiver; an empty one drops the presses. It is kept until this object goes: let it hold
    /// its owner weakly.
    void setOnAction(OnAction onAction);

    /// Whether it listens, for display: it follows `start()` by a turn of the main actor.
    const base::Observed<bool>& isEnabled() const;
    base::Observed<bool>& isEnabled();

private:
    class Listener;
    struct Receiver;

    /// Changes what the listener knows, between two events.
    void change(std::function<void(Listener&)> change);

    runtime::Actor main_;
    platform::EventTap& tap_;
    std::shared_ptr<Receiver> receiver_;
    std::shared_ptr<Listener> listener_;
    bool isListening_ = false;
};

} // namespace sonvale::hotkeys
