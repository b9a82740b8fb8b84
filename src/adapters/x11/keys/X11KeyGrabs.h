#pragma once

#include "adapters/x11/keys/X11KeyboardMap.h"

#include "platform/EventTap.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace sonvale::adapters::x11 {

/// The grabs of the combinations that the listener may swallow, and the attempts to keep them.
///
/// Window managers bind some of them (Alt+Space) with core grabs. If two clients grab the same combination,
/// the later grab counts, and window managers grab again at every change of the keyboard. This class then
/// grabs again too, several times, because window managers need some time. The grabs are synchronous: after
/// each press of such a combination the keyboard is frozen until the listener decides, so that the press can
/// still be passed on. One thread.
class X11KeyGrabs {
public:
    /// `onTaken` as in `EventTap::setOnTaken`.
    X11KeyGrabs(X11Connection& connection, std::uint16_t keyboard,
                std::function<void(platform::KeyCombination)> onTaken);

    /// Replaces the combinations. Ignores those that have only modifiers.
    void setCombinations(const std::vector<platform::KeyCombination>& combinations,
                         const X11KeyboardMap& map);

    /// Updates the grabs after a change of the keyboard or of its map.
    void setMap(const X11KeyboardMap& map);

    /// Sets the modifiers that are held from now on. When a modifier of a combination goes down, grabs again,
    /// because another client may have grabbed meanwhile.
    void setHeldModifiers(std::uint64_t modifiers);

    /// Reports that a key has gone down while the server saw these modifiers. If they are a grabbed
    /// combination, the event of the grab must follow.
    void keyPressed(xcb_keycode_t keycode, std::uint64_t modifiers);
    /// Reports the event of a grab.
    void grabEventCame(xcb_keycode_t keycode);

    /// Returns when `runDeadline()` must run next; nullopt if it need not.
    std::optional<double> nextDeadline() const;
    /// Does the work whose time has come. Returns false if there is none.
    bool runDeadline();

private:
    struct Grab {
        xcb_keycode_t keycode = 0;
        std::uint8_t modifiers = 0; ///< the server's
        bool operator==(const Grab&) const = default;
    };
    struct Entry {
        platform::KeyCombination combination;
        std::vector<Grab> grabs;
        bool isRefused = false; ///< another client had it at the last attempt
        bool wasMissed = false; ///< the last press went to another client
        bool isReported = false;
    };
    struct Awaited {
        xcb_keycode_t keycode;
        std::size_t entry;
        double until;
    };

    std::vector<Grab> grabsOf(const platform::KeyCombination& combination, const X11KeyboardMap& map) const;
    void startRegrabbing();
    bool isModifierHeld() const;
    void grabAll();
    void ungrab(const Entry& entry);
    void handleMiss();
    void report(Entry& entry);

    X11Connection& connection_;
    std::uint16_t keyboard_;
    std::function<void(platform::KeyCombination)> onTaken_;
    std::vector<std::uint8_t> locks_{0};
    std::vector<Entry> entries_;

    std::uint64_t heldModifiers_ = 0;
    double regrabbingSince_;
    double lastAttempt_ = 0;
    std::size_t nextAttempt_; ///< index in the table of delays; its size if no attempt is planned
    std::optional<Awaited> awaited_;
};

} // namespace sonvale::adapters::x11
