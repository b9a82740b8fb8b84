#pragma once

#include "adapters/x11/HeldKeys.h"
#include "adapters/x11/SyntheticKeyLedger.h"
#include "adapters/x11/X11KeyGrabs.h"
#include "adapters/x11/X11KeySender.h"
#include "adapters/x11/X11KeyboardMap.h"
#include "adapters/x11/X11Keyboards.h"

#include "platform/EventTap.h"

#include <bitset>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::adapters::x11 {

/// Listening itself: turns what the server reports into events of the port and keeps from the applications
/// what the callback swallows.
///
/// Keys are observed as XInput 2 raw events, which come for every key, under other programs' grabs too.
/// Belongs to the tap's thread, `interrupt()` excepted.
class X11KeyListener {
public:
    /// Null when the server refuses.
    static std::unique_ptr<X11KeyListener> open(const std::string& displayName, const runtime::Clock& clock,
                                                SyntheticKeyLedger& ledger,
                                                platform::EventTap::Callback callback,
                                                std::function<void(platform::KeyCombination)> onTaken);
    ~X11KeyListener();

    void setSwallowable(const std::vector<platform::KeyCombination>& combinations);

    /// Deals with everything that has come. False when the connection is gone.
    bool processEvents();

    std::optional<double> nextDue() const { return grabs_.nextDue(); }
    /// Does what is due; false when nothing is.
    bool runDue() { return grabs_.runDue(); }

    /// Sleeps until something has come from the server, until the other descriptor can be read, or until
    /// `nextDue`. Call it when `processEvents` and `runDue` have nothing left to do.
    void waitForInput(int otherDescriptor);

    /// As `EventTap::maskHeldKeys`.
    void maskHeldKeys();

    /// The system has ended the listening: tells the callback.
    void reportDisabled();

    /// Makes waits inside the listener end and `processEvents` return false. From any thread.
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
    void keyWentDown(std::uint16_t keyboard, xcb_keycode_t keycode);
    void keyWentUp(std::uint16_t keyboard, xcb_keycode_t keycode);
    bool isOwn(std::uint16_t keyboard, KeyStroke stroke);
    void grabWasMet(xcb_keycode_t keycode);
    void tapMaskKey(std::uint16_t keyboard);
    void keyboardsChanged();
    void mapChanged();
    std::uint64_t flagsInServer() const;
    platform::KeyVerdict tell(platform::KeyEvent::Type type, xcb_keycode_t keycode);

    std::unique_ptr<X11Connection> connection_;
    const X11KeyboardExtensions extensions_;
    X11Keyboards keyboards_;
    X11KeyboardMap map_;
    SyntheticKeyLedger& ledger_;
    platform::EventTap::Callback callback_;
    X11KeyGrabs grabs_;
    X11KeySender sender_;

    HeldKeys held_;                 ///< by the user
    std::bitset<256> downInServer_; ///< whoever pressed them
    std::map<xcb_keycode_t, Verdict> verdicts_;
};

} // namespace sonvale::adapters::x11
