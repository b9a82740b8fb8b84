#pragma once

#include "adapters/x11/X11KeyboardMap.h"

#include "platform/EventTap.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

namespace sonvale::adapters::x11 {

/// The grabs of the combinations that the listener may swallow, and the struggle for them.
///
/// Window managers bind some of them (Alt+Space) with core grabs. Between those and ours the last one counts,
/// and they grab anew at every change of the keyboard; so do we then, several times, because they take their
/// time. Grabs are synchronous: the keyboard waits for the listener's word after each press of such a
/// combination, so that it can still be passed on. One thread.
class X11KeyGrabs {
public:
    /// `onTaken` as of `EventTap::setOnTaken`.
    X11KeyGrabs(X11Connection& connection, std::uint16_t keyboard,
                std::function<void(platform::KeyCombination)> onTaken);

    /// Replaces the combinations; those of modifiers alone are left out.
    void setCombinations(const std::vector<platform::KeyCombination>& combinations,
                         const X11KeyboardMap& map);

    /// The keyboard or its meanings have changed.
    void setMap(const X11KeyboardMap& map);

    /// The modifiers that are held from now on. When one of a combination goes down, somebody may have
    /// grabbed in between.
    void setHeldModifiers(std::uint64_t modifiers);

    /// A key has gone down while the server saw these modifiers. If it should meet a grab, its event has to
    /// follow.
    void keyWentDown(xcb_keycode_t keycode, std::uint64_t modifiers);
    /// The event of a grab has come.
    void grabWasMet(xcb_keycode_t keycode);

    /// When `runDue()` has something to do; absent as long as nothing happens.
    std::optional<double> nextDue() const;
    /// Does what is due; false when nothing is.
    bool runDue();

private:
    struct Grab {
        xcb_keycode_t keycode = 0;
        std::uint8_t modifiers = 0; ///< the server's
        bool operator==(const Grab&) const = default;
    };
    struct Entry {
        platform::KeyCombination combination;
        std::vector<Grab> grabs;
        bool isRefused = false; ///< the server said at the last attempt that another client has it
        bool wasMissed = false; ///< the last press went to somebody else
        bool isReported = false;
    };
    struct Awaited {
        xcb_keycode_t keycode;
        std::size_t entry;
        double until;
    };

    std::vector<Grab> grabsOf(const platform::KeyCombination& combination, const X11KeyboardMap& map) const;
    void winBack();
    bool isModifierHeld() const;
    void grabAll();
    void ungrab(const Entry& entry);
    void missed();
    void report(Entry& entry);

    X11Connection& connection_;
    std::uint16_t keyboard_;
    std::function<void(platform::KeyCombination)> onTaken_;
    std::vector<std::uint8_t> locks_{0};
    std::vector<Entry> entries_;

    std::uint64_t heldModifiers_ = 0;
    double winBackBegan_;
    double lastAttempt_ = 0;
    std::size_t nextAttempt_; ///< index in the table of delays; its size when no attempt is due
    std::optional<Awaited> awaited_;
};

} // namespace sonvale::adapters::x11
