#pragma once

#include <memory>
#include <string>

namespace sonvale::tests {

/// A window of a test's own that has the keyboard and counts what arrives.
class KeyWindow {
public:
    /// `className` is that of its WM_CLASS; none if it is empty.
    explicit KeyWindow(const std::string& displayName, const std::string& className = {});
    ~KeyWindow();
    KeyWindow(const KeyWindow&) = delete;
    KeyWindow& operator=(const KeyWindow&) = delete;

    /// Presses of an X key code so far, repeats included.
    int presses(unsigned int keycode);
    int releases(unsigned int keycode);
    /// The server's modifiers of the last press of an X key code.
    unsigned int stateOfLastPress(unsigned int keycode);

    /// Whether the window has the focus, and keeps nothing from it.
    bool hasFocus() const;

private:
    void readEvents();

    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// A client that holds a combination for itself.
class ForeignGrab {
public:
    enum class Kind {
        core, ///< as most window managers have it
        xi2,  ///< as programs with XInput 2 have it
    };

    /// `modifiers` of the server.
    ForeignGrab(const std::string& displayName, Kind kind, unsigned int keycode, unsigned int modifiers);
    ~ForeignGrab();
    ForeignGrab(const ForeignGrab&) = delete;
    ForeignGrab& operator=(const ForeignGrab&) = delete;

    /// Grabs once more, which puts a core grab before all others.
    void renew();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::tests
