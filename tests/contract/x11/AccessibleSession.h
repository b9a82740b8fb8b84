#pragma once

#include "adapters/x11/X11AccessibilityTree.h"

#include "tests/support/Accessibility.h"
#include "tests/support/Editors.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/SlowedClock.h"
#include "tests/support/TestKeyboard.h"

#include <X11/keysym.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A display with a window manager, a D-Bus session, an editor in front that supports assistive technology,
/// and the adapter, which has fifty times the time that it has in the program.
class AccessibleSession {
public:
    /// Starts the editor with this text.
    void open(Editor::Program program, const std::string& text, bool isAccessible = true,
              const std::string& command = {}) {
        editor_.reset();
        auto environment = environment_;
        environment["NO_AT_BRIDGE"] = isAccessible ? "0" : "1";
        editor_ = std::make_unique<Editor>(Editor::Options{display(), program, text, environment, command});
    }

    void selectAll() { keyboard_->chord(XK_Control_L, XK_a); }

    /// Selects all until the adapter reports this: an editor may read its file after its window has appeared.
    bool selectsAll(const std::string& text) {
        return eventually(seconds, [&] {
            selectAll();
            return eventually(1, [&] { return tree_.selectedText() == text; });
        });
    }

    /// Waits until the adapter reports this, and returns whether it does.
    bool waitForText(const std::optional<std::string>& text) {
        return eventually(seconds, [&] { return tree_.selectedText() == text; });
    }

    /// Gives the adapter the time that it has in the program.
    void useProgramTimes() { clock_.setTimes(1); }
    void goSlowly() { clock_.setTimes(slowness); }

    /// Calls a method of a program of the session. Returns the exit status of dbus-send.
    int call(std::vector<std::string> words) const {
        words.insert(words.begin(), {"dbus-send", "--session", "--print-reply"});
        return run(std::move(words), environment_);
    }

    void turnOnForAll() const { turnOnAccessibility(environment_); }

    /// Ends the display, and with it everything in the session.
    void endDisplay() {
        editor_.reset();
        keyboard_.reset();
        display_.reset();
    }

    const std::string& display() const { return display_->name(); }
    const std::map<std::string, std::string>& environment() const { return environment_; }
    TestKeyboard& keyboard() { return *keyboard_; }
    Editor& editor() { return *editor_; }
    adapters::x11::X11AccessibilityTree& tree() { return tree_; }

private:
    static constexpr double slowness = 50;
    static constexpr double seconds = 30;

    std::map<std::string, std::string> common() const {
        return {{"DISPLAY", display()}, {"XDG_RUNTIME_DIR", directory_.path()}, {"LANG", "C.UTF-8"}};
    }
    std::map<std::string, std::string> withBus() const {
        auto environment = common();
        environment["DBUS_SESSION_BUS_ADDRESS"] = bus_.address();
        return environment;
    }

    TemporaryDirectory directory_;
    std::unique_ptr<PrivateDisplay> display_ = std::make_unique<PrivateDisplay>(WindowManager::openbox);
    PrivateBus bus_{common()};
    const std::map<std::string, std::string> environment_ = withBus();
    SlowedClock clock_{slowness};
    std::unique_ptr<TestKeyboard> keyboard_ =
        std::make_unique<TestKeyboard>(display(), TestKeyboard::Source::hardware);
    std::unique_ptr<Editor> editor_;
    adapters::x11::X11AccessibilityTree tree_{clock_, display(), bus_.address()};
};

} // namespace sonvale::tests
