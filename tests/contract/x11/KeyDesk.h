#pragma once

#include "adapters/x11/keys/X11EventTap.h"
#include "adapters/x11/keys/X11SyntheticInput.h"

#include "runtime/SystemClock.h"
#include "tests/support/KeyWindow.h"
#include "tests/support/MacKeyCodes.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/TapRecorder.h"
#include "tests/support/TestKeyboard.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace sonvale::tests {

inline constexpr platform::KeyCombination optionSpace{mac_key::space, platform::modifier::option};

/// The tap and the synthetic keys as in the program, on a display with one window.
struct KeyDesk {
    /// `windowClass` is the class of the window's program.
    explicit KeyDesk(WindowManager windowManager = WindowManager::none, const std::string& windowClass = {})
        : display(windowManager)
        , window(display.name(), windowClass) {
        tap.setOnTaken(recorder.onTaken());
    }
    ~KeyDesk() { tap.stop(); }

    bool start() { return tap.start(recorder.callback()); }

    void swallowOptionSpace() {
        tap.setSwallowable({optionSpace});
        recorder.swallow(optionSpace);
    }

    bool isReported(platform::KeyEvent event) {
        return eventually(5, [&] { return recorder.has(event); });
    }

    /// Waits until all typed keys so far have been reported.
    void waitForReports(TestKeyboard& keyboard) {
        recorder.clear();
        keyboard.tap(XK_F9);
        ASSERT_TRUE(eventually(5, [&] {
            const auto events = recorder.events();
            return !events.empty() && events.back().type == platform::KeyEvent::Type::keyUp &&
                   events.back().keyCode == 101;
        }));
    }

    PrivateDisplay display;
    runtime::SystemClock clock;
    std::shared_ptr<adapters::x11::SyntheticKeyLedger> ledger =
        std::make_shared<adapters::x11::SyntheticKeyLedger>();
    TapRecorder recorder;
    adapters::x11::X11EventTap tap{clock, ledger, display.name()};
    adapters::x11::X11SyntheticInput input{clock, ledger, {}, display.name()};
    TestKeyboard xtest{display.name(), TestKeyboard::Source::xtest};
    TestKeyboard hardware{display.name(), TestKeyboard::Source::hardware};
    KeyWindow window;
};

} // namespace sonvale::tests
