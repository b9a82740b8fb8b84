#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace sonvale::platform {

/// Modifier bits of key events, in the form of macOS event flags. Left and right keys have the same bit.
namespace modifier {
inline constexpr std::uint64_t shift = 0x20000;
inline constexpr std::uint64_t control = 0x40000;
inline constexpr std::uint64_t option = 0x80000;
inline constexpr std::uint64_t command = 0x100000;
inline constexpr std::uint64_t mask = shift | control | option | command;
} // namespace modifier

/// One event of the keyboard. Key codes are macOS virtual key codes, translated by physical position.
struct KeyEvent {
    enum class Type {
        keyDown,      ///< a press, or a repeat if the system reports repeats
        keyUp,        ///<
        flagsChanged, ///< a modifier key went down or up
        tapDisabled,  ///< the system has stopped the tap; the event has no key
    };
    Type type = Type::keyDown;
    int keyCode = 0;         ///< -1 for a key without a macOS code
    std::uint64_t flags = 0; ///< the modifiers that the user holds after the event
};

enum class KeyVerdict { pass, swallow };

/// A key with modifiers. A listener may swallow it.
struct KeyCombination {
    int keyCode = 0;
    std::uint64_t modifiers = 0;
    bool operator==(const KeyCombination&) const = default;
};

/// A listener to every key of the session, which can keep single keys from the focused application.
///
/// One tap has one thread of its own, named "com.sonvale.hotkey". Its callback and the blocks of `perform()`
/// run there, one at a time. The other operations are called from the main actor, unless they say otherwise.
class EventTap {
public:
    /// Decides about one event. It runs inside the system's event path and must not block. `swallow` applies
    /// only to the combinations of `setSwallowable`; flags-changed events always pass.
    using Callback = std::function<KeyVerdict(const KeyEvent&)>;

    EventTap() = default;
    EventTap(const EventTap&) = delete;
    EventTap& operator=(const EventTap&) = delete;
    virtual ~EventTap() = default;

    /// Returns whether a listener can be made (on macOS: the Input Monitoring permission). May need some
    /// milliseconds. May be called from any thread, even while the tap is started, runs or is stopped.
    virtual bool probe() = 0;

    /// Starts to listen on the tap's thread. Returns false and changes nothing if the system refuses. Calling
    /// it on a running tap is a programming error.
    virtual bool start(Callback callback) = 0;

    /// Ends the listening. After it returns, no callback runs or will run. Drops the blocks of `perform` that
    /// have not run. Does nothing if the tap does not run.
    virtual void stop() = 0;

    /// Enables a tap that has reported `tapDisabled`. Called on the tap's thread.
    virtual void enable() = 0;

    /// Queues `block` for the tap's thread. Does nothing if the tap does not run. May be called from any
    /// thread.
    virtual void perform(std::function<void()> block) = 0;

    /// Replaces the combinations for which the callback can answer `swallow`. Takes effect within some
    /// milliseconds. May be called from any thread.
    virtual void setSwallowable(std::vector<KeyCombination> combinations) = 0;

    /// Marks the held keys as used, by pressing a key that means nothing to any program. Then the release of
    /// held modifiers is no longer a press of these modifiers alone, which opens menus in many programs and
    /// desktops, and a held key stops repeating. The callback does not receive that key. Called on the tap's
    /// thread, also inside the callback. Does nothing on systems that do not need it.
    virtual void maskHeldKeys() {}

    /// Sets the observer of combinations that this tap cannot swallow because another program holds them. It
    /// is called on the tap's thread, at most once per combination between two calls of `setSwallowable`.
    /// Must be set before `start`.
    virtual void setOnTaken(std::function<void(KeyCombination)> onTaken) = 0;
};

} // namespace sonvale::platform
