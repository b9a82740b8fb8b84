#pragma once

#include "adapters/x11/keys/HeldKeys.h"
#include "adapters/x11/keys/SyntheticKeyLedger.h"
#include "adapters/x11/keys/X11KeyGrabs.h"
#include "adapters/x11/keys/X11KeySender.h"
#include "adapters/x11/keys/X11KeyboardMap.h"
#include "adapters/x11/keys/X11Keyboards.h"

#include "platform/EventTap.h"

#include <bitset>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::adapters::x11 {

/// The listener of the tap: turns the server's reports into events of the port, and keeps from the
/// applications what the callback swallows.
///
/// Observes keys as XInput 2 raw events, which the server sends for every key, even while other programs hold
/// grabs. Belongs to the tap's thread; only `interrupt()` may be called from another one.
class X11KeyListener {
public:
    /// Returns null if the server refuses.
    static std::unique_ptr<X11KeyListener> open(const std::string& displayName, const runtime::Clock& clock,
                                                SyntheticKeyLedger& ledger,
                                                platform::EventTap::Callback callback,
                                                std::function<void(platform::KeyCombination)> onTaken);
    ~X11KeyListener();

    void setSwallowable(const std::vector<platform::KeyCombination>& combinations);

    /// Handles everything that has arrived. Returns false if the connection has ended.
    bool processEvents();

    std::optional<double> nextDeadline() const { return grabs_.nextDeadline(); }
    /// Does the work whose time has come. Returns false if there is none.
    bool runDeadline() { return grabs_.runDeadline(); }

    /// Sleeps until something has come from the server, until the other descriptor can be read, or until
    /// `nextDeadline`. Call it if `processEvents` and `runDeadline` have nothing left to do.
    void waitForInput(int otherDescriptor);

    /// Does what `EventTap::maskHeldKeys` does.
    void maskHeldKeys();

    /// Reports to the callback that the system has ended the listening.
    void reportDisabled();

    /// Ends the waits inside the listener and makes `processEvents` return false. May be called from any
    /// thread.
    void interrupt() { connection_->disconnect(); }

private:
    struct Verdict {
        platform::KeyVerdict verdict;
        std::uint16_t keyboard;
    };

    X11KeyListener(std::unique_ptr<X11Connection> connection, const X11KeyboardExtensions& extensions,
                   X11Keyboards keyboards, X11KeyboardMap map, SyntheticKeyLedger& ledger,
                   platform::EventTap::Callback callback,
                   std::function<void(platform::KeyCombination)> onTaken);
    void selectEvents();
    void readHeldKeys();
    void handle(const xcb_generic_event_t& event);
    void handleInput(const xcb_ge_generic_event_t& event);
    void handlePress(std::uint16_t keyboard, xcb_keycode_t keycode);
    void handleRelease(std::uint16_t keyboard, xcb_keycode_t keycode);
    bool isOwn(std::uint16_t keyboard, KeyStroke stroke);
    void grabEventCame(xcb_keycode_t keycode);
    void tapMaskKey(std::uint16_t keyboard);
    void updateKeyboards();
    void updateMap();
    std::uint64_t flagsInServer() const;
    platform::KeyVerdict report(platform::KeyEvent::Type type, xcb_keycode_t keycode);

    std::unique_ptr<X11Connection> connection_;
    const X11KeyboardExtensions extensions_;
    X11Keyboards keyboards_;
    X11KeyboardMap map_;
    SyntheticKeyLedger& ledger_;
    platform::EventTap::Callback callback_;
    X11KeyGrabs grabs_;
    X11KeySender sender_;

    HeldKeys held_;                 ///< held by the user
    std::bitset<256> downInServer_; ///< pressed by the user or by a program
    std::map<xcb_keycode_t, Verdict> verdicts_;
};

} // namespace sonvale::adapters::x11
