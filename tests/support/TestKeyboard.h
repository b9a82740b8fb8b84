#pragma once

#include <memory>
#include <string>

namespace sonvale::tests {

/// A user at the keyboard of a private display. Keys are named by X keysyms (XK_a, XK_Alt_L...) or by X key
/// codes. Throws if the keyboard does not have the symbol.
class TestKeyboard {
public:
    enum class Source {
        xtest,    ///< types like remote desktops and automation
        hardware, ///< types like the keyboard of the machine
    };

    TestKeyboard(const std::string& displayName, Source source);
    ~TestKeyboard();
    TestKeyboard(const TestKeyboard&) = delete;
    TestKeyboard& operator=(const TestKeyboard&) = delete;

    void down(unsigned long keysym);
    void up(unsigned long keysym);
    void tap(unsigned long keysym);

    void downKeycode(unsigned int keycode);
    void upKeycode(unsigned int keycode);

    /// Types the letters, digits, spaces and line ends of `text`, with Shift where needed.
    void type(const std::string& text);

    /// Presses `keysym` while it holds `modifier`.
    void chord(unsigned long modifier, unsigned long keysym);

    unsigned int keycodeOf(unsigned long keysym) const;

    /// Returns whether any key of the whole keyboard is down for the server, pressed by the user or by a
    /// program.
    bool isAnyKeyDown() const;
    /// Returns the present modifiers in the server, in the bits of its core state.
    unsigned int modifiers() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::tests
