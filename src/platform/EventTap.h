#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace sonvale::platform {

/// Modifier bits of key events, in the form of macOS event flags. Left and right keys are the same.
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
        keyDown,      ///< a press, or a repeat of one where the system reports repeats
        keyUp,        ///<
        flagsChanged, ///< a modifier key went down or up
        tapDisabled,  ///< the system stopped the tap; it has no key
    };
    Type type = Type::keyDown;
    int keyCode = 0;         ///< -1 for a key that has no macOS code
    std::uint64_t flags = 0; ///< modifiers after the event, of the keys that the user holds
};

enum class KeyVerdict { pass, swallow };

/// A key with modifiers that a listener may answer with `swallow`.
struct KeyCombination {
    int keyCode = 0;
    std::uint64_t modifiers = 0;
    bool operator==(const KeyCombination&) const = default;
};

/// A listener on every key of the session that may keep single keys from the focused application.
///
/// One tap has one thread of its own, named "com.sonvale.hotkey", on which its callback and the blocks of
/// `perform()` run, one at a time. The other operations are called from the main actor, unless they say
/// otherwise.
class EventTap {
public:
    /// Decides about one event. It is inside the system's event path: it must not block. `swallow` is
    /// honoured for the combinations of `setSwallowable` only; flags-changed events always pass.
    using Callback = std::function<KeyVerdict(const KeyEvent&)>;

    EventTap() = default;
    EventTap(const EventTap&) = delete;
    EventTap& operator=(const EventTap&) = delete;
    virtual ~EventTap() = default;

    /// Whether a listener can be made at all (on macOS the Input Monitoring grant). May take some
    /// milliseconds. From any thread, also while the tap is started, runs or is stopped.
    virtual bool probe() = 0;

    /// Starts listening on the tap's thread. False, with nothing changed, when the system refuses. Calling it
    /// on a running tap is a programming error.
    virtual bool start(Callback callback) = 0;

    /// Ends listening; when it returns no callback runs or will run. Blocks of `perform` that have not run
    /// are dropped. Nothing when not running.
    virtual void stop() = 0;

    /// Takes a tap that reported `tapDisabled` into use again. On the tap's thread.
    virtual void enable() = 0;

    /// Queues `block` for the tap's thread. Nothing when not running. From any thread.
    virtual void perform(std::function<void()> block) = 0;

    /// Names the combinations for which the callback can answer `swallow`, replacing the former ones. From
    /// any thread; takes effect within some milliseconds.
    virtual void setSwallowable(std::vector<KeyCombination> combinations) = 0;

    /// Makes the keys that are held count as used, by pressing a key that means nothing to any program. The
    /// release of held modifiers is then no press of these modifiers alone, which opens menus in many
    /// programs and desktops, and a held key stops repeating. The callback does not receive that key. On the
    /// tap's thread, also inside the callback. Does nothing on systems that have no need of it.
    virtual void maskHeldKeys() {}

    /// Called on the tap's thread, at most once for each combination between two calls of `setSwallowable`,
    /// when another program keeps a combination so that this one cannot swallow it. Set before `start`.
    virtual void setOnTaken(std::function<void(KeyCombination)> onTaken) = 0;
};

} // namespace sonvale::platform
