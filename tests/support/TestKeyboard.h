#pragma once

#include <memory>
#include <string>

namespace sonvale::tests {

/// Somebody's hands on the keyboard of a private display. Keys are named by X keysyms (XK_a, XK_Alt_L...) or
/// by X key codes; throws for a sign that the keyboard does not have.
class TestKeyboard {
public:
    enum class Source {
        xtest,    ///< types as remote desktops and automation do
        hardware, ///< as the keyboard of the machine does
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

    /// Types the letters, figures, spaces and line ends of `text`, Shift where it takes that.
    void type(const std::string& text);

    /// Presses `keysym` while `modifier` is held for the moment.
    void chord(unsigned long modifier, unsigned long keysym);

    unsigned int keycodeOf(unsigned long keysym) const;

    /// Whether the server sees any key of the whole keyboard down, whoever pressed it.
    bool isAnyKeyDown() const;
    /// Modifiers, as the server sees them now, in the bits of its core state.
    unsigned int modifiers() const;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::tests
