#pragma once

#include <memory>
#include <string>

namespace sonvale::tests {

/// A window of the test that has the keyboard and counts the keys.
class KeyWindow {
public:
    /// `className` is the class of its WM_CLASS; none if it is empty.
    explicit KeyWindow(const std::string& displayName, const std::string& className = {});
    ~KeyWindow();
    KeyWindow(const KeyWindow&) = delete;
    KeyWindow& operator=(const KeyWindow&) = delete;

    /// Returns the presses of an X key code so far, including repeats.
    int presses(unsigned int keycode);
    int releases(unsigned int keycode);
    /// Returns the server's modifiers at the last press of an X key code.
    unsigned int stateOfLastPress(unsigned int keycode);

    /// Returns whether the window has the focus and no grab takes its keys.
    bool hasFocus() const;

private:
    void readEvents();

    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// A client that grabs a combination.
class ForeignGrab {
public:
    enum class Kind {
        core, ///< as most window managers do
        xi2,  ///< as programs with XInput 2 do
    };

    /// `modifiers` are the bits of the server.
    ForeignGrab(const std::string& displayName, Kind kind, unsigned int keycode, unsigned int modifiers);
    ~ForeignGrab();
    ForeignGrab(const ForeignGrab&) = delete;
    ForeignGrab& operator=(const ForeignGrab&) = delete;

    /// Grabs again, which gives a core grab precedence over all others.
    void renew();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace sonvale::tests
